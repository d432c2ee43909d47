// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace QtMobility {

/// Where the files that describe the device are looked for, with "/" at the end. Defined in a file
/// of its own, so that a test links its own folder instead.
QString platformRoot();

} // namespace QtMobility
