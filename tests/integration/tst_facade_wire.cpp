// SPDX-License-Identifier: LGPL-2.1-or-later
// The whole library between an application's calls and the bytes on the wire; also in an
// application that deletes its facade in a slot, or shows a message box there: an event loop inside
// the library's signal, which may last longer than the guard.
#include "account/facaderecorder.h"
#include "device/testtagserver.h"
#include "integration/standinservice.h"
#include "platform/fakemodem.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/patience.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>

#include <QEventLoop>
#include <QLoggingCategory>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace KelTest;
using KelAccount::KelAccounts;
using KelRestHandler::NetworkReplyContainer;

namespace {

// No answer that comes takes so long; one that does not come is waited for briefly.
constexpr int longGuard = 2000;
constexpr int shortGuard = 30;

std::unique_ptr<KelAccounts> initialized()
{
    auto accounts = std::make_unique<KelAccounts>();
    accounts->initialize("the key"_s, "planted-consumer-secret"_s, 2, "service"_s, {});
    return accounts;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

QString signalOf(const QString& line)
{
    return line.section(QLatin1Char('('), 0, 0);
}

QStringList signalsOf(const QStringList& lines)
{
    QStringList names;
    for (const QString& line : lines)
        names.append(signalOf(line));
    return names;
}

// The status of each: the first value behind the name.
QList<int> statusesOf(const QStringList& lines)
{
    QList<int> statuses;
    for (const QString& line : lines) {
        QString values = line.mid(signalOf(line).size() + 1);
        values.chop(1);
        statuses.append(values.section(QLatin1Char(','), 0, 0).toInt());
    }
    return statuses;
}

QStringList linesOfAll()
{
    QStringList lines;
    for (const ServedOperation& one : servedOperations())
        lines += one.lines;
    return lines;
}

const struct
{
    const char* name;
    Disturbance disturbance;
    int status;
} disturbances[] = {
    {"delayed", Disturbance::Delay, 0},
    {"never answered", Disturbance::Hang, 404},
    {"closed", Disturbance::Close, 402},
    {"closed in the headers", Disturbance::CloseInHeaders, 402},
    {"closed in the body", Disturbance::CloseInBody, 402},
    // Without a document the status of the network decides.
    {"no XML", Disturbance::NotXml, 0},
    {"HTTP 500", Disturbance::Status500, 1004},
};

} // namespace

class TestFacadeWire : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        FakeModem::reset();
        QVERIFY(mTags.isReady());
    }

    void init()
    {
        NetworkReplyContainer::setGuardMilliseconds(longGuard);
        mService = std::make_unique<StandInService>();
        mAccounts = initialized();
        mRecorder = std::make_unique<FacadeRecorder>(mAccounts.get());
        mInTheLoop.clear();
        mHasBegun = false;
        mIsOver = false;
    }

    void cleanup()
    {
        mRecorder.reset();
        mAccounts.reset();
        QCOMPARE(mService->problems(), QStringList());
        mService.reset();
    }

    void anOperationIsAnsweredWithWhatTheServiceSays_data() { addRows(servedOperations()); }
    void anOperationIsAnsweredWithWhatTheServiceSays()
    {
        call();
        QCOMPARE(mRecorder->lines(), QStringList());
        QVERIFY(mRecorder->waitFor(operation().lines.size()));
        QTest::qWait(5);
        QCOMPARE(mRecorder->lines(), operation().lines);
        QCOMPARE(mService->requests().size(), 1);
    }

    void theAnswerToASecurityAnswerIsWordedInEnglish()
    {
        mAccounts->resetPasswordUsingSecurityQuestion("bob"_s, "t"_s, "p"_s, "a"_s);
        mAccounts->retrievePasswordResetSecQuestion("bob"_s, "de"_s);
        QVERIFY(mRecorder->waitFor(2));
        for (const WireRequest& request : mService->requests()) {
            const bool reset = request.target.endsWith("/change");
            QCOMPARE(request.header("Accept-Language"), QByteArray(reset ? "en" : "de"));
        }
    }

    void allOperationsAtOnceAreAnsweredOnceEach()
    {
        const auto second = initialized();
        const FacadeRecorder secondRecorder(second.get());
        constexpr int rounds = 3;
        QStringList expected;
        for (int round = 0; round < rounds; ++round) {
            callAll(*mAccounts);
            callAll(*second);
            expected += linesOfAll();
        }
        QVERIFY(mRecorder->waitFor(expected.size()));
        QVERIFY(secondRecorder.waitFor(expected.size()));
        QTest::qWait(20);
        QCOMPARE(sorted(mRecorder->lines()), sorted(expected));
        QCOMPARE(sorted(secondRecorder.lines()), sorted(expected));
    }

    void aDisturbedRequestIsAnsweredOnceAndTheNextIsWell_data()
    {
        const auto add = rows<int, int>("row", "disturbed");
        for (int i = 0; i < servedOperations().size(); ++i) {
            for (int j = 0; j < int(std::size(disturbances)); ++j)
                add(servedOperations()[i].name + ", "_ba + disturbances[j].name, i, j);
        }
    }
    void aDisturbedRequestIsAnsweredOnceAndTheNextIsWell()
    {
        QFETCH(int, disturbed);
        const int status = disturbances[disturbed].status;
        const QStringList& lines = operation().lines;
        NetworkReplyContainer::setGuardMilliseconds(150);
        disturb(disturbances[disturbed].disturbance);
        call();
        QVERIFY(mRecorder->waitFor(lines.size()));
        QTest::qWait(5);
        QCOMPARE(signalsOf(mRecorder->lines()), signalsOf(lines));
        // A captcha's failure shows in its picture alone.
        const bool captcha = lines.size() == 2;
        for (int seen : statusesOf(mRecorder->lines()))
            QCOMPARE(seen, captcha ? 0 : status);
        if (captcha && status != 0)
            QCOMPARE(mRecorder->lines().first(), "captchaImageResponse(0, no picture)"_s);

        disturb(Disturbance::None);
        mRecorder->clear();
        NetworkReplyContainer::setGuardMilliseconds(longGuard);
        call();
        QVERIFY(mRecorder->waitFor(lines.size()));
        QCOMPARE(mRecorder->lines(), lines);
    }

    void aFacadeDeletedWithCallsUnderWayIsSilent_data()
    {
        const auto row = rows<int>("waitMs");
        row("at once", 0);
        row("requests on their way", 3);
        row("answers on their way", 10);
    }
    void aFacadeDeletedWithCallsUnderWayIsSilent()
    {
        QFETCH(int, waitMs);
        disturb(Disturbance::Delay);
        callAll(*mAccounts);
        QTest::qWait(waitMs);
        mAccounts.reset();
        const QStringList before = mRecorder->lines();
        QTest::qWait(60);
        QCOMPARE(mRecorder->lines(), before);
        QVERIFY(before.size() < servedOperations().size());
    }

    void aFacadeDeletedFromItsSignalIsSilentAfterwards_data() { addRows(servedOperations()); }
    void aFacadeDeletedFromItsSignalIsSilentAfterwards()
    {
        mRecorder->afterwards = [&](const QString&) { mAccounts.reset(); };
        call();
        call();
        QVERIFY(mRecorder->waitFor(1));
        QTest::qWait(30);
        QCOMPARE(mRecorder->lines(), operation().lines.mid(0, 1));
    }

    void aFacadeDeletedFromTheSecondCaptchaSignalIsSilentAfterwards()
    {
        mRecorder->afterwards = [&](const QString& signal) {
            if (signal == "retrieveCaptchaImageResponse"_s)
                mAccounts.reset();
        };
        mAccounts->retrieveCaptchaImage(120, 40);
        mAccounts->retrieveCaptchaImage(120, 40);
        QVERIFY(mRecorder->waitFor(2));
        QTest::qWait(30);
        QCOMPARE(mRecorder->lines().size(), 2);
    }

    void aFacadeDeletedFromATimeOutIsSilentAfterwards()
    {
        NetworkReplyContainer::setGuardMilliseconds(40);
        disturb(Disturbance::Hang);
        mRecorder->afterwards = [&](const QString&) { mAccounts.reset(); };
        mAccounts->queryMarketingVariant();
        mAccounts->detectPreAccount();
        mAccounts->isUserIdAvailable("bob"_s);
        QVERIFY(mRecorder->waitFor(1));
        QTest::qWait(80);
        QCOMPARE(statusesOf(mRecorder->lines()), QList<int>({404}));
    }

    void oneFacadeMayEndWhileTheOtherGoesOn()
    {
        disturb(Disturbance::Delay);
        const auto second = initialized();
        FacadeRecorder secondRecorder(second.get());
        secondRecorder.afterwards = [&](const QString&) { mAccounts.reset(); };
        second->queryMarketingVariant();
        QTest::qWait(5);
        callAll(*mAccounts);
        QVERIFY(secondRecorder.waitFor(1));
        second->detectPreAccount();
        QVERIFY(secondRecorder.waitFor(2));
        QCOMPARE(signalsOf(secondRecorder.lines()),
                 QStringList({"marketingVariantResponse"_s, "detectPreAccountResponse"_s}));
        QVERIFY(!mAccounts);
    }

    void nothingPlantedIsInTheLog_data() { addRows(disturbances); }
    void nothingPlantedIsInTheLog()
    {
        NetworkReplyContainer::setGuardMilliseconds(150);
        disturb(currentRow(disturbances).disturbance);
        QLoggingCategory::setFilterRules("*=true"_s);
        QStringList logged;
        {
            const MessageLog log;
            // Proof that everything is let through.
            qCDebug(QLoggingCategory("kelaccount.rest"), "first line");
            const auto accounts = initialized();
            const FacadeRecorder recorder(accounts.get());
            callAll(*accounts);
            QVERIFY(recorder.waitFor(linesOfAll().size()));
            logged = log.all();
        }
        QLoggingCategory::setFilterRules(QString());
        QVERIFY(logged.contains("D first line"_s));
        const QStringList found = logged.filter("planted"_s);
        QVERIFY2(found.isEmpty(), qPrintable(found.join(QLatin1Char('\n'))));
    }

    void everySlotMayRunALoop()
    {
        int over = 0;
        mRecorder->afterwards = [&over](const QString&) {
            QEventLoop messageBox;
            QTimer::singleShot(longGuard + shortGuard, &messageBox, &QEventLoop::quit);
            messageBox.exec();
            ++over;
        };
        callAll(*mAccounts);
        QTRY_COMPARE_WITH_TIMEOUT(over, linesOfAll().size(), 20 * longGuard);
        QCOMPARE(sorted(mRecorder->lines()), sorted(linesOfAll()));
    }

    void aCallFromOrBeforeTheLoopIsAnsweredInIt_data() { addRows(servedOperations()); }
    void aCallFromOrBeforeTheLoopIsAnsweredInIt()
    {
        const QStringList& lines = operation().lines;
        for (const bool isFrom : {true, false}) {
            init();
            inTheFirstSlot(1 + lines.size(), [=] {
                if (isFrom)
                    call();
            });
            call();
            if (!isFrom)
                call();
            QTRY_VERIFY(mIsOver);
            QCOMPARE(sorted(mInTheLoop), sorted(lines.mid(0, 1) + lines));
            QTRY_COMPARE(sorted(mRecorder->lines()), sorted(lines + lines));
        }
    }

    void aGuardThatExpiresInTheLoopAnswersOnce_data() { addRows(servedOperations()); }
    void aGuardThatExpiresInTheLoopAnswersOnce()
    {
        const QStringList& lines = operation().lines;
        inTheFirstSlot(1 + lines.size(), [&] {
            disturb(Disturbance::Hang);
            NetworkReplyContainer::setGuardMilliseconds(shortGuard);
            call();
        });
        call();
        QTRY_VERIFY(mIsOver);
        QCOMPARE(mInTheLoop.size(), 1 + lines.size());
        // No answer in time; a captcha says so by the picture.
        QVERIFY2(mInTheLoop.at(1).contains("(404"_s) || mInTheLoop.at(1).contains("no picture"_s),
                 qPrintable(mInTheLoop.at(1)));
        QTRY_COMPARE(mRecorder->lines().size(), 2 * lines.size());
    }

    void theFacadeMayGoInTheLoop_data() { addRows(servedOperations()); }
    void theFacadeMayGoInTheLoop()
    {
        inTheFirstSlot(1, [this] { mAccounts.reset(); });
        call();
        call();
        QTRY_VERIFY(mIsOver);
        QVERIFY(!mAccounts);
        const QStringList said = mRecorder->lines();
        QTest::qWait(2 * shortGuard);
        QCOMPARE(mRecorder->lines(), said);
    }

private:
    static const ServedOperation& operation() { return currentRow(servedOperations()); }
    void call() { operation().call(*mAccounts); }
    static void callAll(KelAccounts& accounts)
    {
        for (const ServedOperation& one : servedOperations())
            one.call(accounts);
    }
    void disturb(Disturbance disturbance)
    {
        mService->disturb = [=](const WireRequest&) { return disturbance; };
    }

    /// In the slot of the first answer: a loop that begins with an action and ends when there are
    /// so many answers and, after that, time for one too many.
    void inTheFirstSlot(int answers, const std::function<void()>& action)
    {
        mRecorder->afterwards = [this, answers, action](const QString&) {
            if (mHasBegun)
                return;
            mHasBegun = true;
            QTimer::singleShot(0, this, action);
            const bool came = QTest::qWaitFor([&] { return mRecorder->lines().size() >= answers; },
                                              onABusyMachine);
            QTest::qWait(2 * shortGuard);
            mInTheLoop = mRecorder->lines();
            mIsOver = came;
        };
    }

    ThreadTagServer mTags{"\x01planted-service-tag"_ba};
    std::unique_ptr<StandInService> mService;
    std::unique_ptr<KelAccounts> mAccounts;
    std::unique_ptr<FacadeRecorder> mRecorder;
    QStringList mInTheLoop; ///< what the facade said by the end of it
    bool mHasBegun = false;
    bool mIsOver = false;
};

QTEST_MAIN(TestFacadeWire)
#include "tst_facade_wire.moc"
