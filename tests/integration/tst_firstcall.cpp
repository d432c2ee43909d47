// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs inside the emulator: what goes over TLS to the service, and what comes back.
#include "account/facaderecorder.h"
#include "integration/emulatedservice.h"

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
    const QStringList descriptors =
        QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System);
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

std::unique_ptr<KelAccounts> initialized(const QString& key = QStringLiteral("demo-key"),
                                         const QString& secret = QStringLiteral("demo-secret"),
                                         int server = 2)
{
    auto accounts = std::make_unique<KelAccounts>();
    accounts->initialize(key, secret, server, QStringLiteral("service"), {});
    return accounts;
}

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
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
        accounts->isUserIdAvailable(text("bob"));
        QVERIFY(recorder.waitFor(1));
        QCOMPARE(recorder.lines().first(), text("isUserIdAvailableResponse(0, true, [])"));

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
        const auto accounts = initialized(text("demo-key"), text("demo-secret"), server);
        const FacadeRecorder recorder(accounts.get());
        accounts->isUserIdAvailable(text("bob"));
        QVERIFY(recorder.waitFor(1));
        QCOMPARE(recorder.lines().first(), text("isUserIdAvailableResponse(0, true, [])"));
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
        accounts->isUserIdAvailable(text("alice"));
        QVERIFY(recorder.waitFor(1));
        QVERIFY(!available);
        const QStringList names = suggestions;
        QCOMPARE(names.size(), 3);
        for (const QString& name : names) {
            recorder.clear();
            accounts->isUserIdAvailable(name);
            QVERIFY(recorder.waitFor(1));
            QCOMPARE(recorder.lines().first(), text("isUserIdAvailableResponse(0, true, [])"));
        }
    }

    void whatTheServiceRefusesHasItsStatus_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("secret");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("line");
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
        QFETCH(QString, key);
        QFETCH(QString, secret);
        QFETCH(QString, name);
        const auto accounts = initialized(key, secret);
        const FacadeRecorder recorder(accounts.get());
        accounts->isUserIdAvailable(name);
        QVERIFY(recorder.waitFor(1));
        QTEST(recorder.lines().first(), "line");
    }

    void strangeNamesAreAnsweredOnceAndTheNextCallWorks_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("control characters") << text("a\r\nrest-verb: DELETE\r\n\t\x01z");
        QTest::newRow("null character") << QString(QChar(0));
        QTest::newRow("not Latin") << text("борис");
        QTest::newRow("emoji") << text("\xF0\x9F\x98\x80");
        QTest::newRow("lone surrogate") << QString(QChar(0xD800));
        QTest::newRow("markup") << text("<a href=\"&\">");
        QTest::newRow("address pieces") << text("../../?x=1#y@[::1]:99%zz%");
        QTest::newRow("blank") << text(" ");
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
        QVERIFY2(!recorder.lines().first().contains(text("(0, true")),
                 qPrintable(recorder.lines().first()));
        recorder.clear();
        accounts->isUserIdAvailable(text("bob"));
        QVERIFY(recorder.waitFor(1));
        QTest::qWait(10);
        QCOMPARE(recorder.lines(), QStringList(text("isUserIdAvailableResponse(0, true, [])")));
    }

    void aHundredCallsAtOnceAreAnsweredOnceEach()
    {
        constexpr int calls = 100;
        const auto first = initialized();
        const auto second = initialized(text("demo-key"), text("demo-secret"), 4);
        const FacadeRecorder firstRecorder(first.get());
        const FacadeRecorder secondRecorder(second.get());
        for (int i = 0; i < calls; ++i) {
            first->isUserIdAvailable(QStringLiteral("user%1").arg(i));
            second->isUserIdAvailable(text("admin"));
        }
        QVERIFY(firstRecorder.waitFor(calls, 20000));
        QVERIFY(secondRecorder.waitFor(calls, 20000));
        QTest::qWait(20);
        QCOMPARE(firstRecorder.lines().size(), calls);
        QCOMPARE(firstRecorder.lines().count(text("isUserIdAvailableResponse(0, true, [])")),
                 calls);
        QCOMPARE(secondRecorder.lines().count(text("isUserIdAvailableResponse(512, false, [])")),
                 calls);
        const QJsonArray requests =
            QJsonDocument::fromJson(EmulatedService::ask("GET", "/requests").body).array();
        QCOMPARE(requests.size(), 2 * calls);
    }
};

QTEST_GUILESS_MAIN(TestFirstCall)
#include "tst_firstcall.moc"
