// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs inside the emulator: what goes over TLS to the service, and what comes back.
#include "account/facaderecorder.h"
#include "integration/emulatedservice.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkProxy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QUrl>

#include <memory>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace KelTest;
using KelAccount::KelAccounts;

namespace {

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

} // namespace

class TestFirstCall : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(EmulatedService::isThere(), "run this with kelaccount-emulator run -- PROGRAM");
    }

    void cleanupTestCase() { QVERIFY(EmulatedService::waitForNetworkThreads()); }

    void init() { EmulatedService::ask("DELETE", "/requests"); }

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

        const auto accounts = initialized();
        const FacadeRecorder recorder(accounts.get());
        accounts->isUserIdAvailable("bob"_s);
        QVERIFY(recorder.waitFor(1));
        QCOMPARE(recorder.lines().first(), "isUserIdAvailableResponse(0, true, [])"_s);

        QMultiMap<quint16, bool> expected;
        expected.insert(portIn("https_proxy"), true);
        expected.insert(server.serverPort(), false);
        expected.insert(ownSocket.localPort(), false);
        expected.insert(adminSocket.peerPort(), false);
        QCOMPARE(delayOff(), expected);
    }

    void theAddressesOfTheServersLeadThere_data()
    {
        QTest::addColumn<int>("server");
        for (const int server : {-1, 0, 1, 2, 3, 4, 5, 6})
            QTest::addRow("%d", server) << server;
    }

    void theAddressesOfTheServersLeadThere()
    {
        QFETCH(int, server);
        const auto accounts = initialized("demo-key"_s, "demo-secret"_s, server);
        const FacadeRecorder recorder(accounts.get());
        accounts->isUserIdAvailable("bob"_s);
        QVERIFY(recorder.waitFor(1));
        QCOMPARE(recorder.lines().first(), "isUserIdAvailableResponse(0, true, [])"_s);
    }

    void aTakenNameComesWithSuggestionsThatAreFree()
    {
        const auto accounts = initialized();
        QStringList suggestions;
        bool available = true;
        connect(accounts.get(), &KelAccounts::isUserIdAvailableResponse, this,
                [&](KelAccount::ErrorStatus, bool isAvailable, const QStringList& list) {
                    available = isAvailable;
                    suggestions = list;
                });
        FacadeRecorder recorder(accounts.get());
        accounts->isUserIdAvailable("alice"_s);
        QVERIFY(recorder.waitFor(1));
        QVERIFY(!available);
        const QStringList names = suggestions;
        QCOMPARE(names.size(), 3);
        for (const QString& name : names) {
            recorder.clear();
            accounts->isUserIdAvailable(name);
            QVERIFY(recorder.waitFor(1));
            QCOMPARE(recorder.lines().first(), "isUserIdAvailableResponse(0, true, [])"_s);
        }
    }

    void whatTheServiceRefusesHasItsStatus_data()
    {
        columns<QString, QString, QString, QString>("key", "secret", "name", "line");
        const auto row = [](const char* name, const char* key, const char* secret, const char* user,
                            const char* line) {
            QTest::newRow(name) << text(key) << text(secret) << text(user) << text(line);
        };
        row("reserved", "demo-key", "demo-secret", "admin",
            "isUserIdAvailableResponse(512, false, [])");
        row("ill-formed", "demo-key", "demo-secret", "a b",
            "isUserIdAvailableResponse(522, false, [])");
        row("wrong key", "other-key", "demo-secret", "bob",
            "isUserIdAvailableResponse(504, false, [])");
        row("wrong secret", "demo-key", "other-secret", "bob",
            "isUserIdAvailableResponse(504, false, [])");
    }

    void whatTheServiceRefusesHasItsStatus()
    {
        const auto [key, secret, name] = fetch<QString, QString, QString>("key", "secret", "name");
        const auto accounts = initialized(key, secret);
        const FacadeRecorder recorder(accounts.get());
        accounts->isUserIdAvailable(name);
        QVERIFY(recorder.waitFor(1));
        QTEST(recorder.lines().first(), "line");
    }

    void strangeNamesAreAnsweredOnceAndTheNextCallWorks_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("control characters") << "a\r\nrest-verb: DELETE\r\n\t\x01z"_s;
        QTest::newRow("null character") << QString(QChar(0));
        QTest::newRow("not Latin") << "борис"_s;
        QTest::newRow("emoji") << "\xF0\x9F\x98\x80"_s;
        QTest::newRow("lone surrogate") << QString(QChar(0xD800));
        QTest::newRow("markup") << "<a href=\"&\">"_s;
        QTest::newRow("address pieces") << "../../?x=1#y@[::1]:99%zz%"_s;
        QTest::newRow("blank") << " "_s;
        QTest::newRow("long") << QString(1024 * 1024, QLatin1Char('a'));
        QTest::newRow("long and wide") << QString(1024 * 1024, QChar(0x20AC));
    }

    void strangeNamesAreAnsweredOnceAndTheNextCallWorks()
    {
        QFETCH(QString, name);
        const auto accounts = initialized();
        FacadeRecorder recorder(accounts.get());
        accounts->isUserIdAvailable(name);
        QCOMPARE(recorder.lines(), QStringList());
        QVERIFY(recorder.waitFor(1, 20000));
        // Nobody has such a name, nor may anybody.
        QVERIFY2(!recorder.lines().first().contains("(0, true"_s),
                 qPrintable(recorder.lines().first()));
        recorder.clear();
        accounts->isUserIdAvailable("bob"_s);
        QVERIFY(recorder.waitFor(1));
        QTest::qWait(10);
        QCOMPARE(recorder.lines(), QStringList("isUserIdAvailableResponse(0, true, [])"_s));
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
        QCOMPARE(firstRecorder.lines().count("isUserIdAvailableResponse(0, true, [])"_s), calls);
        QCOMPARE(secondRecorder.lines().count("isUserIdAvailableResponse(512, false, [])"_s),
                 calls);
        const QJsonArray requests =
            QJsonDocument::fromJson(EmulatedService::ask("GET", "/requests").body).array();
        QCOMPARE(requests.size(), 2 * calls);
    }
};

QTEST_GUILESS_MAIN(TestFirstCall)
#include "tst_firstcall.moc"
