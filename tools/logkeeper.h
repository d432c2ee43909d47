// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QStringList>

/// Keeps what the library complains about from now on; with `show`, or when the environment has
/// rules for the log, it is shown as well, and so is everything less important. Once a process.
void keepLog(bool show);

/// What was kept since the last call of this, the first complaint first.
QStringList takeComplaints();
