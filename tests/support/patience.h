// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTest>
#include <QTimer>

namespace KelTest {

/// Milliseconds that a test waits for what must come. Qt's own five seconds are not enough where
/// many tests run at once on few cores. Less than a request's guard, which would end a wait as
/// well.
constexpr int onABusyMachine = 30000;

/// Waits for the next event, and for what is none a few milliseconds. Qt Test's own macros look
/// every 50 ms, which is most of the time that a test takes.
class Waiting
{
public:
    explicit Waiting(int milliseconds) : mMilliseconds(milliseconds), mDeadline(milliseconds)
    {
        mGlance.setTimerType(Qt::PreciseTimer);
        mGlance.start(betweenGlances);
    }

    /// False when the time is over.
    bool goOn()
    {
        if (mDeadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return true;
    }

    int waited() const { return mMilliseconds - static_cast<int>(mDeadline.remainingTime()); }

private:
    static constexpr int betweenGlances = 5;

    const int mMilliseconds;
    const QDeadlineTimer mDeadline;
    QTimer mGlance;
};

} // namespace KelTest

#undef QTRY_LOOP_IMPL
#define QTRY_LOOP_IMPL(expression, milliseconds, step)                                             \
    static_cast<void>(step);                                                                       \
    KelTest::Waiting waiting(milliseconds);                                                        \
    while (!(expression) && waiting.goOn()) {                                                      \
    }                                                                                              \
    [[maybe_unused]] const int qt_test_i = waiting.waited();

#undef QTRY_VERIFY
#define QTRY_VERIFY(expression) QTRY_VERIFY_WITH_TIMEOUT((expression), KelTest::onABusyMachine)

#undef QTRY_VERIFY2
#define QTRY_VERIFY2(expression, message)                                                          \
    QTRY_VERIFY2_WITH_TIMEOUT((expression), message, KelTest::onABusyMachine)

#undef QTRY_COMPARE
#define QTRY_COMPARE(expression, expected)                                                         \
    QTRY_COMPARE_WITH_TIMEOUT((expression), expected, KelTest::onABusyMachine)
