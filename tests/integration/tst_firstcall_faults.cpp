// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs inside the emulator: a call over TLS in which something goes wrong, and the call after it.
#include "account/facaderecorder.h"
#include "integration/emulatedservice.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>

#include <QElapsedTimer>
#include <QTest>

#include <memory>

using namespace KelTest;
using KelAccount::KelAccounts;
using KelRestHandler::NetworkReplyContainer;

namespace {

constexpr int guardMilliseconds = 60000;
const auto freeName = "isUserIdAvailableResponse(0, true, [])"_s;

QString failed(int status)
{
    return "isUserIdAvailableResponse(%1, false, [])"_s.arg(status);
}

} // namespace

class TestFirstCallFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(EmulatedService::isThere(), "run this with kelaccount-emulator run -- PROGRAM");
        mAccounts->initialize("demo-key"_s, "demo-secret"_s, 2, "service"_s, {});
        QCOMPARE(mRecorder.lines(), QStringList("initializeResponse(0)"_s));
    }

    void cleanupTestCase()
    {
        mAccounts.reset();
        QVERIFY(EmulatedService::waitForNetworkThreads());
    }

    void init()
    {
        NetworkReplyContainer::setGuardMilliseconds(guardMilliseconds);
        mRecorder.clear();
    }

    void cleanup()
    {
        EmulatedService::ask("POST", "/accept");
        EmulatedService::ask("DELETE", "/faults");
    }

    void aFaultIsOneAnswerAndTheNextCallWorks_data()
    {
        columns<QByteArray, QString>("faults", "line");
        const auto row = [](const char* faults, const QString& line) {
            QTest::newRow(faults) << QByteArray(faults) << line;
        };
        row("delay=150", freeName);
        // A request goes out once, whatever becomes of its connection.
        row("close-before-headers", failed(402));
        row("close-in-headers", failed(402));
        row("close-after-headers", failed(402));
        row("cut-body", failed(402));
        row("wrong-length", failed(402));
        // What is no document is no error either; the network saw none.
        row("short-length", freeName);
        row("not-xml", freeName);
        row("huge-body=1000000", freeName);
        // Beyond the 8 MiB that are held in memory.
        row("huge-body=9000000", failed(423));
        row("wrong-host", failed(406));
    }

    void aFaultIsOneAnswerAndTheNextCallWorks()
    {
        const auto [faults, line] = fetch<QByteArray, QString>("faults", "line");
        QVERIFY(EmulatedService::orderFaults(faults));
        QVERIFY(isAnsweredWith(line));
        QCOMPARE(EmulatedService::faultsLeft(), QByteArray());
        QVERIFY(isAnsweredWith(freeName));
    }

    void anHttpStatusIsOneAnswerAndTheNextCallWorks_data()
    {
        columns<int, int>("httpStatus", "status");
        // The network library's error for each, and the status that the error stands for.
        const QList<QPair<int, int>> rows = {
            {400, 419},  {401, 504},  {403, 413},  {404, 415},  {405, 414},  {407, 412},
            {409, 1004}, {410, 1004}, {418, 419},  {429, 422},  {499, 422},  {500, 1004},
            {501, 1004}, {502, 1004}, {503, 1004}, {504, 1004}, {599, 1004},
        };
        for (const auto& row : rows)
            QTest::addRow("%d", row.first) << row.first << row.second;
    }

    void anHttpStatusIsOneAnswerAndTheNextCallWorks()
    {
        const auto [httpStatus, status] = fetch<int, int>("httpStatus", "status");
        QVERIFY(EmulatedService::orderFaults("status=" + QByteArray::number(httpStatus)));
        QVERIFY(isAnsweredWith(failed(status)));
        QCOMPARE(EmulatedService::faultsLeft(), QByteArray());
        QVERIFY(isAnsweredWith(freeName));
    }

    void aServiceThatNeverAnswersIsATimeOut()
    {
        constexpr int shortGuard = 300;
        NetworkReplyContainer::setGuardMilliseconds(shortGuard);
        QVERIFY(EmulatedService::orderFaults("hang"));
        QElapsedTimer clock;
        clock.start();
        QVERIFY(isAnsweredWith(failed(404)));
        QVERIFY(clock.elapsed() >= shortGuard);
        NetworkReplyContainer::setGuardMilliseconds(guardMilliseconds);
        QVERIFY(isAnsweredWith(freeName));
    }

    void callsThatTimeOutAndCallsThatDoNotAreAnsweredOnceEach()
    {
        NetworkReplyContainer::setGuardMilliseconds(2000);
        QVERIFY(EmulatedService::orderFaults("hang\nnone\nhang\ndelay=50"));
        for (int i = 0; i < 4; ++i)
            mAccounts->isUserIdAvailable("bob"_s);
        QVERIFY(mRecorder.waitFor(4));
        QTest::qWait(100);
        QStringList lines = mRecorder.lines();
        lines.sort();
        QCOMPARE(lines, QStringList({freeName, freeName, failed(404), failed(404)}));
    }

    void aRefusingProxyIsOneAnswerUntilItAcceptsAgain()
    {
        QVERIFY(isAnsweredWith(freeName));
        QCOMPARE(EmulatedService::ask("POST", "/refuse").status, 200);
        // On the way to a TLS server, Qt reports a proxy that refuses as an unknown failure.
        QVERIFY(isAnsweredWith(failed(420)));
        QVERIFY(isAnsweredWith(failed(420)));
        QCOMPARE(EmulatedService::ask("POST", "/accept").status, 200);
        QVERIFY(isAnsweredWith(freeName));
    }

    void aFacadeMayBeDeletedDuringAFault_data()
    {
        rowsNamed("fault", {"none", "delay=30", "hang", "close-in-headers", "cut-body",
                            "huge-body=2000000", "wrong-host"});
    }

    void aFacadeMayBeDeletedDuringAFault()
    {
        QFETCH(QByteArray, fault);
        for (const int lifeMilliseconds : {0, 5, 15, 25}) {
            QVERIFY(EmulatedService::orderFaults(fault));
            auto accounts = std::make_unique<KelAccounts>();
            accounts->initialize("demo-key"_s, "demo-secret"_s, 2, "service"_s, {});
            const FacadeRecorder recorder(accounts.get());
            accounts->isUserIdAvailable("bob"_s);
            QTest::qWait(lifeMilliseconds);
            accounts.reset();
            const QStringList before = recorder.lines();
            QVERIFY(before.size() <= 1);
            QTest::qWait(40);
            QCOMPARE(recorder.lines(), before);
            EmulatedService::ask("DELETE", "/faults");
        }
        QVERIFY(isAnsweredWith(freeName));
    }

private:
    // Calls, and sees that this one line answers.
    bool isAnsweredWith(const QString& line)
    {
        mRecorder.clear();
        mAccounts->isUserIdAvailable("bob"_s);
        const bool inside = !mRecorder.lines().isEmpty();
        const bool came = mRecorder.waitFor(1, 20000);
        // Long enough for a second answer to the same call.
        QTest::qWait(10);
        if (!inside && came && mRecorder.lines() == QStringList(line))
            return true;
        qWarning("answered: %s", qPrintable(mRecorder.lines().join("; "_s)));
        return false;
    }

    std::unique_ptr<KelAccounts> mAccounts = std::make_unique<KelAccounts>();
    FacadeRecorder mRecorder{mAccounts.get()};
};

QTEST_GUILESS_MAIN(TestFirstCallFaults)
#include "tst_firstcall_faults.moc"
