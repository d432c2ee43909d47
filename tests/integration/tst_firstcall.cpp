// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs inside the emulator: the calls that need no sign-on session, over TLS; what comes back, what
// goes wrong, and the call after it.
#include "account/facaderecorder.h"
#include "device/testtagserver.h"
#include "integration/emulatedservice.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkProxy>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QUrl>

#include <functional>
#include <memory>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace KelTest;
using KelAccount::KelAccounts;
using KelRestHandler::NetworkReplyContainer;

namespace {

constexpr int guardMilliseconds = 60000;
const auto freeName = "isUserIdAvailableResponse(0, true, [])"_s;
const auto failedName = "isUserIdAvailableResponse(%1, false, [])"_s;

// An option of every connected TCP socket of this process, by its peer's port.
QMultiMap<quint16, bool> delayOff()
{
    QMultiMap<quint16, bool> sockets;
    const QStringList descriptors = QDir("/proc/self/fd"_s).entryList(QDir::Files | QDir::System);
    for (const QString& name : descriptors) {
        const int descriptor = name.toInt();
        sockaddr_in peer = {};
        socklen_t length = sizeof peer;
        if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &length) != 0 ||
            peer.sin_family != AF_INET)
            continue;
        int value = 0;
        socklen_t valueLength = sizeof value;
        if (getsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &value, &valueLength) == 0)
            sockets.insert(ntohs(peer.sin_port), value != 0);
    }
    return sockets;
}

quint16 portIn(const char* variable)
{
    return quint16(QUrl(qEnvironmentVariable(variable)).port(0));
}

std::unique_ptr<KelAccounts> initialized(const QString& key = "demo-key"_s,
                                         const QString& secret = "demo-secret"_s, int server = 2)
{
    auto accounts = std::make_unique<KelAccounts>();
    accounts->initialize(key, secret, server, "service"_s, {});
    return accounts;
}

void askForBob(KelAccounts& accounts)
{
    accounts.isUserIdAvailable("bob"_s);
}

// A device without SIM and without service tag, and a user who has a name and nothing else.
// Statuses are those of the error codes that the emulator answers with.
const struct Call
{
    const char* name;
    std::function<void(KelAccounts&)> call;
    const char* line; ///< the signal, or the beginning of it
} calls[] = {
    {"user name", askForBob, "isUserIdAvailableResponse(0, true, [])"},
    {"pre-account", [](KelAccounts& a) { a.detectPreAccount(); },
     "detectPreAccountResponse(507, pre-account '' '' '' 0)"},
    {"consent variant", [](KelAccounts& a) { a.queryMarketingVariant(); },
     "marketingVariantResponse(0, 3)"},
    {"questions", [](KelAccounts& a) { a.retrieveSecurityQuestionList("en"_s); },
     "securityQuestionListResponse(0, {1: "},
    {"terms", [](KelAccounts& a) { a.retrieveTermsOfService("shop"_s, "fi"_s, "FI"_s, 1); },
     "termsOfServiceResponse(0, {privacyPolicyUrl: https://"},
    {"terms of nobody",
     [](KelAccounts& a) { a.retrieveTermsOfService("a b"_s, "fi"_s, "FI"_s, 1); },
     "termsOfServiceResponse(507, {})"},
    {"recovery without captcha",
     [](KelAccounts& a) { a.requestPasswordReset("alice"_s, QString(), false, QString()); },
     "requestPasswordResetResponse(513)"},
    {"recovery with a wrong captcha",
     [](KelAccounts& a) { a.requestPasswordReset("alice"_s, "guessed"_s, false, QString()); },
     "requestPasswordResetResponse(517)"},
    {"question of nobody",
     [](KelAccounts& a) { a.retrievePasswordResetSecQuestion("nobody"_s, "en"_s); },
     "retrievePasswordResetSecQuestionResponse(519, {"},
    {"reset of nobody",
     [](KelAccounts& a) { a.resetPasswordUsingSecurityQuestion("nobody"_s, "t"_s, "p"_s, "a"_s); },
     "resetPasswordUsingSecurityQuestionResponse(519)"},
};

// What becomes of a call, by the order given to the emulator. Status 0: the answer is as ever.
const struct
{
    const char* fault;
    int status;
    bool withEveryCall = false;
} faults[] = {
    {"delay=150", 0},
    // A request goes out once, whatever becomes of its connection.
    {"close-before-headers", 402, true},
    {"close-in-headers", 402, true},
    {"close-after-headers", 402},
    {"cut-body", 402, true},
    {"wrong-length", 402},
    // What is no document is no error either; the network saw none.
    {"short-length", 0},
    {"not-xml", 0},
    {"huge-body=1000000", 0},
    // Beyond the 8 MiB that are held in memory.
    {"huge-body=9000000", 423},
    {"wrong-host", 406, true},
    // The network library's error for each, and the status that the error stands for.
    {"status=400", 419},
    {"status=401", 504},
    {"status=403", 413, true},
    {"status=404", 415},
    {"status=405", 414},
    {"status=407", 412},
    {"status=409", 1004},
    {"status=410", 1004},
    {"status=418", 419},
    {"status=429", 422},
    {"status=499", 422},
    {"status=500", 1004, true},
    {"status=501", 1004},
    {"status=502", 1004},
    {"status=503", 1004},
    {"status=504", 1004},
    {"status=599", 1004},
};

} // namespace

class TestFirstCall : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(EmulatedService::isThere(), "run this with kelaccount-emulator run -- PROGRAM");
        QVERIFY(mTags.isReady());
    }

    void cleanupTestCase()
    {
        mRecorder.reset();
        mAccounts.reset();
        QVERIFY(EmulatedService::waitForNetworkThreads());
    }

    void init()
    {
        NetworkReplyContainer::setGuardMilliseconds(guardMilliseconds);
        EmulatedService::ask("DELETE", "/requests");
        use(initialized());
    }

    void cleanup()
    {
        EmulatedService::ask("POST", "/accept");
        EmulatedService::ask("DELETE", "/faults");
    }

    // First, as the first connection of the process is looked at.
    void onlyTheWayToTheServiceSendsSmallPiecesAtOnce()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        QTcpSocket ownSocket;
        ownSocket.setProxy(QNetworkProxy::NoProxy);
        ownSocket.connectToHost(QHostAddress::LocalHost, server.serverPort());
        QVERIFY(ownSocket.waitForConnected());
        QVERIFY(server.waitForNewConnection(5000));
        // The same address as the proxy's, and another port.
        QTcpSocket adminSocket;
        adminSocket.setProxy(QNetworkProxy::NoProxy);
        adminSocket.connectToHost(QHostAddress::LocalHost, portIn("KELACCOUNT_EMULATOR_ADMIN"));
        QVERIFY(adminSocket.waitForConnected());

        QCOMPARE(answerTo(askForBob), freeName);
        QMultiMap<quint16, bool> expected;
        expected.insert(portIn("https_proxy"), true);
        expected.insert(server.serverPort(), false);
        expected.insert(ownSocket.localPort(), false);
        expected.insert(adminSocket.peerPort(), false);
        QCOMPARE(delayOff(), expected);
    }

    void theAddressesOfTheServersLeadThere_data()
    {
        const auto row = rows<int>("server");
        for (const int server : {-1, 0, 1, 2, 3, 4, 5, 6})
            row(QByteArray::number(server), server);
    }
    void theAddressesOfTheServersLeadThere()
    {
        QFETCH(int, server);
        use(initialized("demo-key"_s, "demo-secret"_s, server));
        QCOMPARE(answerTo(askForBob), freeName);
    }

    void theServiceAnswers_data() { addRows(calls); }
    void theServiceAnswers()
    {
        const Call& row = currentRow(calls);
        const QString line = answerTo(row.call);
        QVERIFY2(line.startsWith(text(row.line)), qPrintable(line));
    }

    void aFaultIsOneAnswerAndTheNextCallWorks_data()
    {
        const auto row = rows<int, int>("call", "fault");
        for (int call = 0; call < int(std::size(calls)); ++call) {
            for (int fault = 0; fault < int(std::size(faults)); ++fault) {
                if (call == 0 || faults[fault].withEveryCall)
                    row(calls[call].name + ", "_ba + faults[fault].fault, call, fault);
            }
        }
    }
    void aFaultIsOneAnswerAndTheNextCallWorks()
    {
        QFETCH(int, call);
        QFETCH(int, fault);
        const QString good = text(calls[call].line);
        QVERIFY(EmulatedService::orderFaults(faults[fault].fault));
        const QString line = answerTo(calls[call].call);
        const int status = faults[fault].status;
        if (call == 0)
            QCOMPARE(line, status == 0 ? freeName : failedName.arg(status));
        else
            QVERIFY2(
                line.startsWith("%1(%2"_s.arg(good.section(QLatin1Char('('), 0, 0)).arg(status)),
                qPrintable(line));
        QCOMPARE(EmulatedService::faultsLeft(), QByteArray());
        const QString next = answerTo(calls[call].call);
        QVERIFY2(next.startsWith(good), qPrintable(next));
    }

    void aTakenNameComesWithSuggestionsThatAreFree()
    {
        const QString line =
            answerTo([](KelAccounts& accounts) { accounts.isUserIdAvailable("alice"_s); });
        static const QRegularExpression form(
            "^isUserIdAvailableResponse\\(0, false, \\[(.+), (.+), (.+)\\]\\)$"_s);
        const auto match = form.match(line);
        QVERIFY2(match.hasMatch(), qPrintable(line));
        for (int i = 1; i <= 3; ++i)
            QCOMPARE(answerTo([&](KelAccounts& a) { a.isUserIdAvailable(match.captured(i)); }),
                     freeName);
    }

    void whatTheServiceRefusesHasItsStatus_data()
    {
        const auto row = rows<QString, QString, QString, int>("key", "secret", "name", "status");
        row("reserved", "demo-key", "demo-secret", "admin", 512);
        row("ill-formed", "demo-key", "demo-secret", "a b", 522);
        row("wrong key", "other-key", "demo-secret", "bob", 504);
        row("wrong secret", "demo-key", "other-secret", "bob", 504);
    }
    void whatTheServiceRefusesHasItsStatus()
    {
        QFETCH(QString, name);
        QFETCH(int, status);
        const auto [key, secret] = fetch<QString, QString>("key", "secret");
        use(initialized(key, secret));
        QCOMPARE(answerTo([&](KelAccounts& a) { a.isUserIdAvailable(name); }),
                 failedName.arg(status));
    }

    void strangeNamesAreAnsweredOnceAndTheNextCallWorks_data()
    {
        const auto row = rows<QString>("name");
        row("control characters", "a\r\nrest-verb: DELETE\r\n\t\x01z");
        row("null character", QString(QChar(0)));
        row("not Latin", "борис");
        row("emoji", "\xF0\x9F\x98\x80");
        row("lone surrogate", QString(QChar(0xD800)));
        row("markup", "<a href=\"&\">");
        row("address pieces", "../../?x=1#y@[::1]:99%zz%");
        row("blank", " ");
        row("long", QString(1024 * 1024, QLatin1Char('a')));
        row("long and wide", QString(1024 * 1024, QChar(0x20AC)));
    }
    void strangeNamesAreAnsweredOnceAndTheNextCallWorks()
    {
        QFETCH(QString, name);
        const QString line = answerTo([&](KelAccounts& a) { a.isUserIdAvailable(name); });
        // Nobody has such a name, nor may anybody.
        QVERIFY2(line.startsWith("isUserIdAvailableResponse("_s) && !line.contains("(0, true"_s) &&
                     line.count("Response("_s) == 1,
                 qPrintable(line));
        QCOMPARE(answerTo(askForBob), freeName);
    }

    void aHundredCallsAtOnceAreAnsweredOnceEach()
    {
        constexpr int calls = 100;
        const auto first = initialized();
        const auto second = initialized("demo-key"_s, "demo-secret"_s, 4);
        const FacadeRecorder firstRecorder(first.get());
        const FacadeRecorder secondRecorder(second.get());
        for (int i = 0; i < calls; ++i) {
            first->isUserIdAvailable("user%1"_s.arg(i));
            second->isUserIdAvailable("admin"_s);
        }
        QVERIFY(firstRecorder.waitFor(calls, 20000));
        QVERIFY(secondRecorder.waitFor(calls, 20000));
        QTest::qWait(20);
        QCOMPARE(firstRecorder.lines().size(), calls);
        QCOMPARE(firstRecorder.lines().count(freeName), calls);
        QCOMPARE(secondRecorder.lines().count(failedName.arg(512)), calls);
        const QJsonArray requests =
            QJsonDocument::fromJson(EmulatedService::ask("GET", "/requests").body).array();
        QCOMPARE(requests.size(), 2 * calls);
    }

    void aServiceThatNeverAnswersIsATimeOut()
    {
        constexpr int shortGuard = 300;
        NetworkReplyContainer::setGuardMilliseconds(shortGuard);
        QVERIFY(EmulatedService::orderFaults("hang"));
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(answerTo(askForBob), failedName.arg(404));
        QVERIFY(clock.elapsed() >= shortGuard);
        NetworkReplyContainer::setGuardMilliseconds(guardMilliseconds);
        QCOMPARE(answerTo(askForBob), freeName);
    }

    void callsThatTimeOutAndCallsThatDoNotAreAnsweredOnceEach()
    {
        NetworkReplyContainer::setGuardMilliseconds(2000);
        QVERIFY(EmulatedService::orderFaults("hang\nnone\nhang\ndelay=50"));
        mRecorder->clear();
        for (int i = 0; i < 4; ++i)
            askForBob(*mAccounts);
        QVERIFY(mRecorder->waitFor(4));
        QTest::qWait(100);
        QStringList lines = mRecorder->lines();
        lines.sort();
        QCOMPARE(lines,
                 QStringList({freeName, freeName, failedName.arg(404), failedName.arg(404)}));
    }

    void aRefusingProxyIsOneAnswerUntilItAcceptsAgain()
    {
        QCOMPARE(answerTo(askForBob), freeName);
        QCOMPARE(EmulatedService::ask("POST", "/refuse").status, 200);
        // On the way to a TLS server, Qt reports a proxy that refuses as an unknown failure.
        QCOMPARE(answerTo(askForBob), failedName.arg(420));
        QCOMPARE(answerTo(askForBob), failedName.arg(420));
        QCOMPARE(EmulatedService::ask("POST", "/accept").status, 200);
        QCOMPARE(answerTo(askForBob), freeName);
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
            auto accounts = initialized();
            const FacadeRecorder recorder(accounts.get());
            askForBob(*accounts);
            QTest::qWait(lifeMilliseconds);
            accounts.reset();
            const QStringList before = recorder.lines();
            QVERIFY(before.size() <= 1);
            QTest::qWait(40);
            QCOMPARE(recorder.lines(), before);
            EmulatedService::ask("DELETE", "/faults");
        }
        QCOMPARE(answerTo(askForBob), freeName);
    }

private:
    void use(std::unique_ptr<KelAccounts> accounts)
    {
        mAccounts = std::move(accounts);
        mRecorder = std::make_unique<FacadeRecorder>(mAccounts.get());
    }

    // The line of the one signal that answers; with what is wrong, when it is not one.
    QString answerTo(const std::function<void(KelAccounts&)>& call)
    {
        mRecorder->clear();
        call(*mAccounts);
        const QString inside = mRecorder->lines().isEmpty() ? QString() : "inside the call: "_s;
        mRecorder->waitFor(1, 20000);
        // Long enough for a second answer to the same call.
        QTest::qWait(10);
        return inside + mRecorder->lines().join("; "_s);
    }

    // It has no tag for anybody, and says so at once.
    ThreadTagServer mTags{QByteArray("\0\0\0\0\x01", 5)};
    std::unique_ptr<KelAccounts> mAccounts;
    std::unique_ptr<FacadeRecorder> mRecorder;
};

QTEST_GUILESS_MAIN(TestFirstCall)
#include "tst_firstcall.moc"
