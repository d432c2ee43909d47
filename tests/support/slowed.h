// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QtGlobal>

namespace KelTest {

/// Milliseconds that a test waits, where a checker has everything take so many times longer.
inline int slowed(int milliseconds)
{
    static const int times = qMax(1, qEnvironmentVariableIntValue("KELACCOUNT_TEST_PATIENCE"));
    return times * milliseconds;
}

} // namespace KelTest
