// SPDX-License-Identifier: LGPL-2.1-or-later
// Counts requests on the wire when the service ends the connection instead of answering.
#include "devicesetup.h"
#include "operations/operations.h"
#include "operations/recordedanswers.h"
#include "rest/operations/retrieveemailidavailabilityrequest.h"
#include "rest/transport/networkhandler.h"
#include "rest/transport/networkreplycontainer.h"
#include "rest/transport/serviceconnections.h"
#include "signedrequests.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"
#include "support/scriptedserver.h"
#include "support/testauthority.h"
#include "support/tunnelproxy.h"

#include <QElapsedTimer>
#include <QNetworkProxy>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

using namespace KelRestHandler;
using operations::Send;

namespace {

constexpr int patience = 10000;

const char* const silentOperation =
    "NetworkResponseProcessor::processResponseFromServer: Unacceptable.. Returning";

Reaction ending(const QByteArray& bytes, Reaction::End end)
{
    Reaction reaction;
    reaction.bytes = bytes;
    reaction.end = end;
    return reaction;
}

// How the service ends a connection with a request in it.
struct Ending
{
    const char* name;
    Reaction reaction;
};

QVector<Ending> endings()
{
    const QByteArray head = "HTTP/1.1 200 OK\r\nDate: Tue, 15 Nov 1994 08:12:31 GMT\r\n";
    const QByteArray length = "Content-Length: 80\r\n\r\n";
    return {
        {"closed before the head", ending("", Reaction::End::Close)},
        {"reset before the head", ending("", Reaction::End::Reset)},
        {"closed within the head", ending(head, Reaction::End::Close)},
        {"reset within the head", ending(head, Reaction::End::Reset)},
        {"closed after the head", ending(head + length, Reaction::End::Close)},
        {"reset after the head", ending(head + length, Reaction::End::Reset)},
        {"closed within the body", ending(head + length + "<?xml", Reaction::End::Close)},
    };
}

// The service, without TLS or behind it and a proxy.
struct Service
{
    explicit Service(bool tunnelled)
        : authority(tunnelled ? std::make_unique<TestAuthority>() : nullptr),
          server(tunnelled ? authority->serverFor("service.example", "DNS:service.example")
                           : QSslConfiguration()),
          proxy(tunnelled ? std::make_unique<TunnelProxy>(server.port()) : nullptr)
    {
        if (proxy) {
            QNetworkProxy::setApplicationProxy(
                QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1"_s, proxy->port()));
        }
    }
    ~Service() { QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy)); }

    QString base() const { return proxy ? "https://service.example/rest/1.0/"_s : server.base(); }

    std::unique_ptr<TestAuthority> authority;
    ScriptedServer server;
    std::unique_ptr<TunnelProxy> proxy;
};

} // namespace

class TestSentOnce : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mValues = {};
        devicesetup::withoutModem(mValues);
        mProvider = {};
        mProvider.token = mValues.token;
        ServiceConnections::setIdleMilliseconds(ServiceConnections::idleMilliseconds);
    }

    void everyEndingIsOneRequestAndOneAnswer_data()
    {
        columns<bool, bool, bool, int>("tunnelled", "kept", "withBody", "index");
        const auto all = endings();
        for (int i = 0; i < all.size(); ++i) {
            for (int way = 0; way < 8; ++way) {
                const bool tunnelled = (way & 4) != 0;
                const bool kept = (way & 2) != 0;
                const bool withBody = (way & 1) != 0;
                QTest::addRow("%s, %s, %s, %s", all.at(i).name, tunnelled ? "tunnelled" : "plain",
                              kept ? "kept" : "fresh", withBody ? "with a body" : "empty")
                    << tunnelled << kept << withBody << i;
            }
        }
    }
    void everyEndingIsOneRequestAndOneAnswer()
    {
        const auto [tunnelled, kept, withBody, index] =
            fetch<bool, bool, bool, int>("tunnelled", "kept", "withBody", "index");
        Service service(tunnelled);
        RESTRequestHandler handler;
        QVERIFY(!kept || prepareConnection(handler, service));
        service.server.expect(endings().at(index).reaction);

        const int status =
            withBody ? askForEmail(handler, service.base()) : askForName(handler, service.base());
        QCOMPARE(status, 402);
        QCOMPARE(service.server.problems(), QStringList());
        QCOMPARE(service.server.requests().size(), kept ? 2 : 1);
        QCOMPARE(service.server.requests().last().body.isEmpty(), !withBody);
        QCOMPARE(service.server.requests().last().header("Content-Length"),
                 QByteArray::number(service.server.requests().last().body.size()));
        QCOMPARE(service.server.connections(), 1);
    }

    void everyOperationGoesOutOnce_data()
    {
        columns<int, bool, bool>("index", "tunnelled", "kept");
        QSet<int> types;
        for (int i = 0; i < operations::sends().size(); ++i) {
            const Send& row = operations::sends().at(i);
            types.insert(row.number);
            for (const bool tunnelled : {false, true}) {
                for (const bool kept : {false, true}) {
                    QTest::addRow("%s, %s, %s", qPrintable(row.name()),
                                  tunnelled ? "tunnelled" : "plain", kept ? "kept" : "fresh")
                        << i << tunnelled << kept;
                }
            }
        }
        QCOMPARE(types.size(), lastNetRequestType - firstNetRequestType + 1);
    }
    void everyOperationGoesOutOnce()
    {
        const auto [index, tunnelled, kept] = fetch<int, bool, bool>("index", "tunnelled", "kept");
        const Send& row = operations::sends().at(index);
        Service service(tunnelled);
        RESTRequestHandler handler;
        QVERIFY(!kept || prepareConnection(handler, service));
        service.server.expect(ending("", Reaction::End::Close));

        const RecordedAnswers answers(handler);
        const MessageLog log;
        OAuthRequest* request = nullptr;
        QCOMPARE(row.run({handler, mProvider, mValues, service.base(), &request}), 0);
        const std::unique_ptr<OAuthRequest> owner(request);
        // The five without a signal are at an end when their reply was rejected.
        QTRY_VERIFY_WITH_TIMEOUT(!answers.names().isEmpty() || log.hasCritical(silentOperation),
                                 patience);
        QCOMPARE(service.server.problems(), QStringList());
        QCOMPARE(service.server.requests().size(), kept ? 2 : 1);
    }

    void aNextCallWorks()
    {
        Service service(true);
        RESTRequestHandler handler;
        service.server.expect(ending("", Reaction::End::Close));
        service.server.expect(Reaction::reply(200, ""));
        QCOMPARE(askForName(handler, service.base()), 402);
        QCOMPARE(askForName(handler, service.base()), 0);
        QCOMPARE(service.server.problems(), QStringList());
    }

    void aRedirectIsNotTakenForALostConnection_data()
    {
        QTest::addColumn<int>("httpStatus");
        for (const int status : {301, 302, 303, 305, 307, 308})
            QTest::addRow("%d", status) << status;
    }
    void aRedirectIsNotTakenForALostConnection()
    {
        QFETCH(int, httpStatus);
        Service service(false);
        RESTRequestHandler handler;
        service.server.expect(Reaction::reply(
            httpStatus, "", "Location: " + service.base().toLatin1() + "elsewhere\r\n"));
        constexpr int connectionLost = 402;
        QVERIFY(askForName(handler, service.base()) != connectionLost);
        QCOMPARE(service.server.problems(), QStringList());
        QCOMPARE(service.server.requests().size(), 1);
    }

    void noOtherAuthenticationIsTried_data()
    {
        columns<int, QByteArray, bool>("httpStatus", "challenge", "tunnelled");
        for (const char* challenge :
             {"NTLM", "Negotiate", "Negotiate\r\nWWW-Authenticate: NTLM", "Basic realm=\"a\"",
              "Digest realm=\"a\", nonce=\"b\", qop=\"auth\"", "OAuth realm=\"a\"", "Unheard of"}) {
            for (const int status : {401, 407}) {
                for (const bool tunnelled : {false, true}) {
                    const QByteArray name = QByteArray(challenge).replace("\r\n", ", ");
                    QTest::addRow("%d %s%s", status, name.constData(),
                                  tunnelled ? ", tunnelled" : "")
                        << status << QByteArray(challenge) << tunnelled;
                }
            }
        }
    }
    void noOtherAuthenticationIsTried()
    {
        QFETCH(int, httpStatus);
        QFETCH(QByteArray, challenge);
        QFETCH(bool, tunnelled);
        if (httpStatus == 407)
            challenge.replace("WWW-", "Proxy-");
        const QByteArray header = httpStatus == 407 ? "Proxy-Authenticate: " : "WWW-Authenticate: ";
        Service service(tunnelled);
        RESTRequestHandler handler;
        service.server.expect(Reaction::reply(httpStatus, "", header + challenge + "\r\n"));
        QCOMPARE(askForName(handler, service.base()), httpStatus == 401 ? 504 : 412);
        QCOMPARE(service.server.problems(), QStringList());
        QCOMPARE(service.server.requests().size(), 1);
        QVERIFY(
            service.server.requests().first().header("Authorization").startsWith("OAuth realm="));

        // Nor does the next request come without its signature.
        service.server.expect(Reaction::reply(200, ""));
        QCOMPARE(askForName(handler, service.base()), 0);
        QVERIFY(
            service.server.requests().last().header("Authorization").startsWith("OAuth realm="));
    }

    void anUnauthorizedRepliesDocumentDecides()
    {
        Service service(false);
        RESTRequestHandler handler;
        service.server.expect(Reaction::reply(
            401,
            "<?xml version=\"1.0\"?><errorResponse><errorCode>accountLocked</errorCode>"
            "</errorResponse>",
            "WWW-Authenticate: NTLM\r\n"));
        QCOMPARE(askForName(handler, service.base()), 510);
    }

    void theProxysCredentialsAreUsedStill()
    {
        Service service(true);
        const QByteArray credentials = "user:pass"_ba.toBase64();
        service.proxy->demand("Basic " + credentials);
        RESTRequestHandler handler;
        QCOMPARE(askForName(handler, service.base()), 412);
        QCOMPARE(service.server.requests().size(), 0);

        QNetworkProxy proxy = QNetworkProxy::applicationProxy();
        proxy.setUser("user"_s);
        proxy.setPassword("pass"_s);
        QNetworkProxy::setApplicationProxy(proxy);
        service.server.expect(Reaction::reply(200, ""));
        QCOMPARE(askForName(handler, service.base()), 0);
        QCOMPARE(service.server.problems(), QStringList());
        QCOMPARE(service.server.requests().first().headerCount("Proxy-Authorization"), 0);
    }

    void aConnectionIsKeptForTheNextRequest_data() { addWays(); }
    void aConnectionIsKeptForTheNextRequest()
    {
        QFETCH(bool, tunnelled);
        Service service(tunnelled);
        RESTRequestHandler handler;
        for (int i = 0; i < 3; ++i)
            QVERIFY(prepareConnection(handler, service));
        QCOMPARE(service.server.connections(), 1);
    }

    void aConnectionThatWasIdleTooLongIsNotUsedAgain_data() { addWays(); }
    void aConnectionThatWasIdleTooLongIsNotUsedAgain()
    {
        QFETCH(bool, tunnelled);
        constexpr int limit = 100;
        ServiceConnections::setIdleMilliseconds(limit);
        Service service(tunnelled);
        RESTRequestHandler handler;
        QVERIFY(prepareConnection(handler, service));
        QTest::qWait(limit + 50);
        QVERIFY(prepareConnection(handler, service));
        QCOMPARE(service.server.connections(), 2);
        QCOMPARE(service.server.usedConnections(), 2);
    }

    // Two at once make a second connection; it is idle while the first is used.
    void anIdleConnectionBesideABusyOneIsNotUsedEither()
    {
        constexpr int limit = 1000;
        ServiceConnections::setIdleMilliseconds(limit);
        Service service(true);
        RESTRequestHandler handler;
        service.server.answerBy([](const WireRequest&) {
            Reaction reaction = Reaction::reply(200, "");
            reaction.delayMilliseconds = limit / 4;
            return reaction;
        });
        QVERIFY(askAtOnce(handler, service.base(), 2));
        QCOMPARE(service.server.connections(), 2);
        for (int i = 0; i < 5; ++i)
            QVERIFY(askAtOnce(handler, service.base(), 1));
        QCOMPARE(service.server.connections(), 2);
        QVERIFY(askAtOnce(handler, service.base(), 2));
        QCOMPARE(service.server.connections(), 3);
    }

    // The end has arrived at this machine, whether the network library has noticed or not.
    void aConnectionThatTheServiceHasEndedIsNotUsedAgain()
    {
        const TestAuthority authority;
        ScriptedServer server(authority.serverFor("x", "IP:127.0.0.1"));
        server.answerBy([](const WireRequest&) { return Reaction::reply(200, ""); });
        RESTRequestHandler handler;
        constexpr int rounds = 20;
        for (int i = 0; i < rounds; ++i) {
            QCOMPARE(askForName(handler, server.base()), 0);
            server.closeConnections();
            QTRY_COMPARE_WITH_TIMEOUT(server.openConnections(), 0, patience);
        }
        QCOMPARE(server.requests().size(), rounds);
    }

    void noConnectionIsMadeWithoutARequestForIt_data()
    {
        QTest::addColumn<int>("atOnce");
        for (const int count : {1, 2, 6})
            QTest::addRow("%d at once", count) << count;
    }
    void noConnectionIsMadeWithoutARequestForIt()
    {
        QFETCH(int, atOnce);
        Service service(true);
        RESTRequestHandler handler;
        service.server.answerBy([](const WireRequest&) { return Reaction::reply(200, ""); });
        for (int round = 0; round < 5; ++round)
            QVERIFY(askAtOnce(handler, service.base(), atOnce));
        QCOMPARE(service.server.connections(), atOnce);
        QCOMPARE(service.server.usedConnections(), atOnce);
    }

    void manyAtOnceAreAllAnswered()
    {
        Service service(true);
        RESTRequestHandler handler;
        service.server.answerBy([](const WireRequest&) { return Reaction::reply(200, ""); });
        for (int round = 0; round < 3; ++round)
            QVERIFY(askAtOnce(handler, service.base(), 20));
        QCOMPARE(service.server.requests().size(), 60);
        QCOMPARE(service.server.connections(), ServiceConnections::maximumManagers);
        QCOMPARE(service.server.usedConnections(), service.server.connections());
    }

    // What waits for the six before it has the same guard.
    void whatWaitsIsAnsweredInTime()
    {
        constexpr int guard = 300;
        NetworkReplyContainer::setGuardMilliseconds(guard);
        Service service(false);
        RESTRequestHandler handler;
        service.server.answerBy([](const WireRequest&) { return ending("", Reaction::End::Hang); });
        QSignalSpy spy(&handler, &RESTRequestHandler::emailIdAvailabilityResponse);
        QElapsedTimer clock;
        clock.start();
        const int count = 2 * ServiceConnections::maximumManagers;
        for (int i = 0; i < count; ++i) {
            QCOMPARE(handler.sendisEmailAddAvailableRequest(
                         mProvider, mValues.emailAddress, mValues.serviceTag,
                         operations::consumerKey, service.base()),
                     0);
        }
        QTRY_COMPARE_WITH_TIMEOUT(service.server.requests().size(),
                                  ServiceConnections::maximumManagers, patience);
        QVERIFY(spy.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(spy.count(), count, patience);
        QVERIFY(clock.elapsed() >= guard);
        for (const auto& answer : qAsConst(spy))
            QCOMPARE(answer.at(0).toInt(), 404);
        QCOMPARE(spy.count(), count);
        NetworkReplyContainer::setGuardMilliseconds(60000);
    }

    void whatWaitsComesAlongToAnotherThread()
    {
        Service service(false);
        service.server.answerBy([](const WireRequest&) { return Reaction::reply(200, ""); });
        QThread thread;
        auto* const handler = new NetworkHandler(nullptr);
        QList<int> answers;
        connect(handler, &NetworkHandler::emailIdAvailabilityResponse, this,
                [&answers](int status) { answers.append(status); });
        handler->moveToThread(&thread);
        thread.start();
        constexpr int count = 3 * ServiceConnections::maximumManagers;
        const auto sendAll = [&] {
            for (int i = 0; i < count; ++i) {
                handler->sendOwnedRequest(std::make_unique<RetrieveEmailIdAvailabilityRequest>(
                                              mProvider, mValues.emailAddress, mValues.serviceTag,
                                              operations::consumerKey, service.base(),
                                              RetrieveEmailIdAvailability),
                                          RetrieveEmailIdAvailability);
            }
        };
        QMetaObject::invokeMethod(handler, sendAll, Qt::QueuedConnection);
        QTRY_COMPARE_WITH_TIMEOUT(answers.size(), count, patience);
        connect(&thread, &QThread::finished, handler, &QObject::deleteLater);
        thread.quit();
        QVERIFY(thread.wait(patience));
        QCOMPARE(answers.count(0), count);
    }

    void whatWaitsDiesWithTheHandler()
    {
        Service service(false);
        service.server.answerBy([](const WireRequest&) { return ending("", Reaction::End::Hang); });
        {
            RESTRequestHandler handler;
            for (int i = 0; i < 3 * ServiceConnections::maximumManagers; ++i) {
                QCOMPARE(handler.sendisEmailAddAvailableRequest(
                             mProvider, mValues.emailAddress, mValues.serviceTag,
                             operations::consumerKey, service.base()),
                         0);
            }
            QTRY_COMPARE_WITH_TIMEOUT(service.server.requests().size(),
                                      ServiceConnections::maximumManagers, patience);
        }
        QCOMPARE(service.server.requests().size(), ServiceConnections::maximumManagers);
    }

private:
    static void addWays()
    {
        QTest::addColumn<bool>("tunnelled");
        QTest::newRow("plain") << false;
        QTest::newRow("tunnelled") << true;
    }

    bool askAtOnce(RESTRequestHandler& handler, const QString& base, int count)
    {
        QSignalSpy spy(&handler, &RESTRequestHandler::emailIdAvailabilityResponse);
        for (int i = 0; i < count; ++i) {
            handler.sendisEmailAddAvailableRequest(
                mProvider, mValues.emailAddress, mValues.serviceTag, operations::consumerKey, base);
        }
        if (!QTest::qWaitFor([&] { return spy.count() == count; }, patience))
            return false;
        return std::all_of(spy.begin(), spy.end(),
                           [](const auto& answer) { return answer.at(0).toInt() == 0; });
    }

    int askForName(RESTRequestHandler& handler, const QString& base)
    {
        QSignalSpy spy(&handler, &RESTRequestHandler::userNameAvailabilityResponse);
        OAuthRequest* request = nullptr;
        if (handler.sendisUserIdAvailRequest(mProvider, mValues.userName, operations::consumerKey,
                                             base, &request) != 0)
            return -1;
        const std::unique_ptr<OAuthRequest> owner(request);
        if (!spy.wait(patience) || spy.count() != 1)
            return -2;
        return spy.first().at(0).value<UserNameAvailabilityResponse>().status;
    }

    int askForEmail(RESTRequestHandler& handler, const QString& base)
    {
        QSignalSpy spy(&handler, &RESTRequestHandler::emailIdAvailabilityResponse);
        if (handler.sendisEmailAddAvailableRequest(mProvider, mValues.emailAddress,
                                                   mValues.serviceTag, operations::consumerKey,
                                                   base) != 0)
            return -1;
        return spy.wait(patience) && spy.count() == 1 ? spy.first().at(0).toInt() : -2;
    }

    bool prepareConnection(RESTRequestHandler& handler, Service& service)
    {
        service.server.expect(Reaction::reply(200, ""));
        return askForName(handler, service.base()) == 0;
    }

    RecordingProvider mProvider;
    operations::Values mValues;
};

QTEST_GUILESS_MAIN(TestSentOnce)
#include "tst_sentonce.moc"
