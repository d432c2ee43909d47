// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs inside an emulator whose clock differs from the device's by KELACCOUNT_TEST_SKEW seconds.
#include "account/facaderecorder.h"
#include "integration/emulatedservice.h"
#include "rest/request/timestampmanager.h"
#include "support/literals.h"

#include <kelaccount/kelaccounts.h>

#include <QDateTime>
#include <QTest>

using namespace KelTest;
using KelAccount::KelAccounts;
using KelRestHandler::TimeStampManager;

class TestFirstCallClock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(EmulatedService::isThere(), "run this with kelaccount-emulator run -- PROGRAM");
        bool given = false;
        mSkew = qEnvironmentVariableIntValue("KELACCOUNT_TEST_SKEW", &given);
        QVERIFY2(given, "set KELACCOUNT_TEST_SKEW to the emulator's --clock-skew");
    }

    void cleanupTestCase() { QVERIFY(EmulatedService::waitForNetworkThreads()); }

    void theFirstReplyCorrectsTheClock()
    {
        // The emulator's window, see docs/emulator.md.
        constexpr int window = 300;
        const bool inWindow = qAbs(mSkew) < window;
        KelAccounts accounts;
        accounts.initialize("demo-key"_s, "demo-secret"_s, 2, "service"_s, {});
        FacadeRecorder recorder(&accounts);
        QVERIFY(isAbout(0));

        accounts.isUserIdAvailable("bob"_s);
        QVERIFY(recorder.waitFor(1));
        QCOMPARE(recorder.lines().first(), inWindow
                                               ? "isUserIdAvailableResponse(0, true, [])"_s
                                               : "isUserIdAvailableResponse(504, false, [])"_s);
        QVERIFY(isAbout(mSkew));

        accounts.isUserIdAvailable("bob"_s);
        QVERIFY(recorder.waitFor(2));
        QCOMPARE(recorder.lines().last(), "isUserIdAvailableResponse(0, true, [])"_s);

        // Another server has a clock of its own; the first one's stays as it was learnt.
        KelAccounts another;
        another.initialize("demo-key"_s, "demo-secret"_s, 3, "service"_s, {});
        FacadeRecorder anotherRecorder(&another);
        another.isUserIdAvailable("bob"_s);
        QVERIFY(anotherRecorder.waitFor(1));
        QCOMPARE(anotherRecorder.lines(), QStringList(recorder.lines().first()));
        accounts.isUserIdAvailable("bob"_s);
        QVERIFY(recorder.waitFor(3));
        QCOMPARE(recorder.lines().last(), recorder.lines().at(1));
    }

private:
    // Whether requests are stamped with a time that differs by so much.
    static bool isAbout(int seconds)
    {
        const qint64 stamp = TimeStampManager::getTimeStampManager()->timeStamp().toLongLong();
        return qAbs(stamp - QDateTime::currentSecsSinceEpoch() - seconds) <= 2;
    }

    int mSkew = 0;
};

QTEST_GUILESS_MAIN(TestFirstCallClock)
#include "tst_firstcall_clock.moc"
