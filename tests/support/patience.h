// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QTest>

namespace KelTest {

/// Milliseconds that a test waits for what must come. Qt's own five seconds are not enough where
/// many tests run at once on few cores. Less than a request's guard, which would end a wait as
/// well.
constexpr int onABusyMachine = 30000;

} // namespace KelTest

#undef QTRY_VERIFY
#define QTRY_VERIFY(expression) QTRY_VERIFY_WITH_TIMEOUT((expression), KelTest::onABusyMachine)

#undef QTRY_VERIFY2
#define QTRY_VERIFY2(expression, message)                                                          \
    QTRY_VERIFY2_WITH_TIMEOUT((expression), message, KelTest::onABusyMachine)

#undef QTRY_COMPARE
#define QTRY_COMPARE(expression, expected)                                                         \
    QTRY_COMPARE_WITH_TIMEOUT((expression), expected, KelTest::onABusyMachine)
