// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QtGlobal>

namespace Matrix {

/// Has the kernel forget how much memory this process has had at most, and gives what it has now,
/// in KiB.
qint64 forgetPeak();
/// The most since then.
qint64 peak();

} // namespace Matrix
