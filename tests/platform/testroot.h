// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>

/// Replaces platformRoot() with a temporary folder.
namespace KelTest::TestRoot {

void clear();
/// Makes the folders on the way. Aborts the test program when it cannot.
void write(const char* path, const QByteArray& contents);

} // namespace KelTest::TestRoot
