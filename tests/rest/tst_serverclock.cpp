// SPDX-License-Identifier: LGPL-2.1-or-later
// Whose word on the time is taken.
#include "rest/operations/retrieveemailidavailabilityrequest.h"
#include "rest/request/timestampmanager.h"
#include "rest/transport/networkhandler.h"
#include "support/fixedsigner.h"
#include "support/literals.h"
#include "support/scriptedserver.h"
#include "support/testauthority.h"
#include "support/tunnelproxy.h"

#include <QNetworkProxy>
#include <QSignalSpy>
#include <QTest>

using namespace KelRestHandler;

namespace {

constexpr int patience = 10000;
constexpr int anHour = 3600;

QByteArray dateHeader(int offset)
{
    const QDateTime time = QDateTime::currentDateTimeUtc().addSecs(offset);
    return "Date: " + QLocale::c().toString(time, "ddd, dd MMM yyyy HH:mm:ss"_s).toLatin1() +
           " GMT\r\n";
}

} // namespace

class TestServerClock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { clock()->setServerTimeDifference(0); }
    void cleanup() { QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy)); }

    void aServersTimeIsTakenFromInsideTls_data()
    {
        QTest::addColumn<int>("httpStatus");
        for (const int status : {200, 401, 404, 503})
            QTest::addRow("%d", status) << status;
    }
    void aServersTimeIsTakenFromInsideTls()
    {
        QFETCH(int, httpStatus);
        ScriptedServer server(mAuthority.serverFor("x", "IP:127.0.0.1"));
        // The second reply comes over the connection of the first.
        for (const int offset : {anHour, -anHour}) {
            server.expect(Reaction::reply(httpStatus, "", dateHeader(offset)));
            QVERIFY(ask(server.base()));
            QVERIFY(isAbout(server.base(), offset));
        }
        QCOMPARE(server.connections(), 1);
        QCOMPARE(server.problems(), QStringList());
    }

    void theTimesOfTwoServersDoNotMix()
    {
        ScriptedServer first(mAuthority.serverFor("x", "IP:127.0.0.1"));
        ScriptedServer second(mAuthority.serverFor("x", "IP:127.0.0.1"));
        first.expect(Reaction::reply(200, "", dateHeader(anHour)));
        second.expect(Reaction::reply(200, "", dateHeader(-anHour)));
        QVERIFY(ask(first.base()));
        QVERIFY(isAbout(second.base(), 0));
        QVERIFY(ask(second.base()));
        QVERIFY(isAbout(first.base(), anHour));
        QVERIFY(isAbout(second.base(), -anHour));
    }

    void withoutTlsNoTimeIsTaken()
    {
        ScriptedServer server;
        server.expect(Reaction::reply(200, "", dateHeader(anHour)));
        QVERIFY(ask(server.base()));
        QCOMPARE(server.problems(), QStringList());
        QVERIFY(isAbout(server.base(), 0));
    }

    void aServerThatIsNotTheOneAskedTellsNoTime()
    {
        ScriptedServer server(mAuthority.serverFor("127.0.0.1", "DNS:other.example"));
        QVERIFY(ask(server.base()));
        QCOMPARE(server.requests().size(), 0);
        QVERIFY(isAbout(server.base(), 0));
    }

    void aProxysRefusalTellsNoTime_data()
    {
        QTest::addColumn<QByteArray>("statusLine");
        for (const char* line : {"200 OK", "403 No", "407 Who", "502 No", "503 No"})
            QTest::newRow(line) << "HTTP/1.1 "_ba + line + "\r\n";
    }
    void aProxysRefusalTellsNoTime()
    {
        QFETCH(QByteArray, statusLine);
        TunnelProxy proxy(0);
        // After "200 OK" this is no handshake.
        proxy.refuseWith(statusLine + dateHeader(anHour) + "Content-Length: 2\r\n\r\nno");
        QNetworkProxy::setApplicationProxy(
            QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1"_s, proxy.port()));
        const auto base = "https://service.example/rest/1.0/"_s;
        QVERIFY(ask(base));
        QVERIFY(isAbout(base, 0));
    }

private:
    static TimeStampManager* clock() { return TimeStampManager::getTimeStampManager(); }

    static bool isAbout(const QString& base, int offset)
    {
        clock()->selectServer(TimeStampManager::serverOf(QUrl(base)));
        const qint64 stamp = clock()->timeStamp().toLongLong();
        return qAbs(stamp - QDateTime::currentSecsSinceEpoch() - offset) <= 5;
    }

    bool ask(const QString& base)
    {
        QSignalSpy spy(&mHandler, &NetworkHandler::emailIdAvailabilityResponse);
        return mHandler.sendOwnedRequest(std::make_unique<RetrieveEmailIdAvailabilityRequest>(
                                             mSigner, "bob@mail.example"_s, "tag"_ba, "key"_s, base,
                                             RetrieveEmailIdAvailability),
                                         RetrieveEmailIdAvailability) == 0 &&
               spy.wait(patience);
    }

    TestAuthority mAuthority;
    FixedSigner mSigner;
    NetworkHandler mHandler{nullptr};
};

QTEST_GUILESS_MAIN(TestServerClock)
#include "tst_serverclock.moc"
