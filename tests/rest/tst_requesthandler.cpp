// SPDX-License-Identifier: LGPL-2.1-or-later
#include "devicesetup.h"
#include "operations/answers.h"
#include "operations/recordedanswers.h"
#include "rest/operations/downloadprofilerequest.h"
#include "rest/request/timestampmanager.h"
#include "rest/transport/networkreplycontainer.h"
#include "signedrequests.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/patience.h"
#include "support/scriptedserver.h"

#include <QChildEvent>
#include <QEventLoop>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <vector>

using namespace KelRestHandler;
using operations::Operation;
using operations::Send;
using operations::Values;

namespace {

constexpr int handlerPatience = 5000;

using HandedOut = std::vector<std::unique_ptr<OAuthRequest>>;

// Notices requests that are given a parent: those that the handler keeps, and nobody else sees.
class KeptRequests : public QObject
{
public:
    KeptRequests() { QCoreApplication::instance()->installEventFilter(this); }

    QList<QPointer<OAuthRequest>> seen;

    int alive() const
    {
        int count = 0;
        for (const auto& request : seen)
            count += request ? 1 : 0;
        return count;
    }

    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        if (event->type() == QEvent::ChildAdded) {
            QObject* const child = static_cast<QChildEvent*>(event)->child();
            if (auto* const request = dynamic_cast<OAuthRequest*>(child))
                seen.append(request);
        }
        return false;
    }
};

QString documentIn(const QByteArray& form)
{
    const QByteArray field = "XMLContent=";
    return form.startsWith(field)
               ? QString::fromUtf8(QByteArray::fromPercentEncoding(form.mid(field.size())))
               : QString::fromUtf8(form);
}

const auto unsendable = "C A value cannot stand in the address of its request; nothing is sent"_s;

QStringList inOrder(QStringList list)
{
    list.sort();
    return list;
}

} // namespace

class TestRequestHandler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        NetworkReplyContainer::setGuardMilliseconds(60000);
        TimeStampManager::getTimeStampManager()->setServerTimeDifference(0);
        mValues = {};
        devicesetup::withoutModem(mValues);
        mProvider = {};
        mProvider.token = mValues.token;
        mProvider.timeStamp = operations::timeStamp;
    }

    void anOperationGoesOutAsItsRowSaysAndIsAnswered_data() { operations::sendRows(); }
    void anOperationGoesOutAsItsRowSaysAndIsAnswered()
    {
        QFETCH(int, send);
        const Send& row = operations::sends().at(send);
        const Operation& operation = operations::of(row.number);
        ScriptedServer server;
        server.expect(Reaction::reply(200, wiredata::body(operation.success).toUtf8(),
                                      "Date: Tue, 15 Nov 1994 08:12:31 GMT\r\n"));
        RESTRequestHandler handler;
        const RecordedAnswers answers(handler);
        const KeptRequests kept;
        OAuthRequest* request = nullptr;
        const MessageLog log;
        QCOMPARE(row.run({handler, mProvider, mValues, server.base(), &request}), 0);
        const std::unique_ptr<OAuthRequest> owner(request);
        QCOMPARE(request != nullptr, row.handsOut);
        QCOMPARE(kept.seen.size(), row.handsOut ? 0 : 1);
        const OAuthRequest* const made = request ? request : kept.seen.first().data();
        QCOMPARE(static_cast<int>(made->getRequestType()), row.number);
        const int requestId = made->getRequestId();

        QTRY_COMPARE_WITH_TIMEOUT(server.requests().size(), 1, handlerPatience);
        const WireRequest& seen = server.requests().first();
        QCOMPARE(seen.method, "POST"_ba);
        QCOMPARE(seen.header("rest-verb"), QByteArray(operation.verb));
        QCOMPARE(seen.target, "/rest/1.0/"_ba + operation.addressWith(mValues).toUtf8());
        QCOMPARE(operations::withoutChance(documentIn(seen.body), mValues.password),
                 operation.documentWith(mValues));
        QCOMPARE(seen.header("Accept-Language"), operation.languageWith(mValues).toUtf8());
        QCOMPARE(seen.header("Authorization").contains("oauth_token=\"token-77"),
                 bool(operation.traits & operations::WithToken));

        QTRY_COMPARE_WITH_TIMEOUT(answers.lines(), linesOf(operation, requestId), handlerPatience);
        if (operation.isAnswered()) {
            QCOMPARE(log.all(), QStringList());
        } else {
            QTRY_VERIFY_WITH_TIMEOUT(
                log.hasCritical("NetworkResponseProcessor::processResponseFromServer: "
                                "Unacceptable.. Returning"),
                handlerPatience);
        }
        // What was kept dies with its reply, and there is no second answer.
        QTRY_COMPARE_WITH_TIMEOUT(kept.alive(), 0, handlerPatience);
        QTest::qWait(20);
        QCOMPARE(answers.lines(), linesOf(operation, requestId));
        QCOMPARE(server.problems(), QStringList());
    }

    void theOperationsWithValuesInTheirAddressesAreKnown()
    {
        for (const Send& row : operations::sends()) {
            const bool expected = operations::formsOf(operations::of(row.number).address)
                                      .first()
                                      .contains(QLatin1Char('{'));
            QCOMPARE(!fieldsInAddress(row).isEmpty(), expected);
        }
    }

    void aValueThatWouldChangeTheAddressIsNotSent_data() { operations::sendRows(); }
    void aValueThatWouldChangeTheAddressIsNotSent()
    {
        QFETCH(int, send);
        const Send& row = operations::sends().at(send);
        const QStringList breakingPaths = {
            "a/b"_s, "/"_s,       "a/../b"_s,  "a?x=1"_s,         "a#x"_s, "al%69ce"_s, "a\nb"_s,
            "\t"_s,  "a\u007f"_s, "a\u0085"_s, QString(QChar(0)), "."_s,   ".."_s,
        };
        const QStringList breakingQueries = {"a&b"_s, "a=b"_s};
        ScriptedServer server;
        RESTRequestHandler handler;
        const RecordedAnswers answers(handler);
        for (const auto field : fieldsInAddress(row)) {
            if (field == &Values::token)
                continue; // the service's own, and no user's
            const bool inQuery = field == &Values::language || field == &Values::country;
            for (const QString& value : inQuery ? breakingPaths + breakingQueries : breakingPaths) {
                OAuthRequest* request = nullptr;
                const MessageLog log;
                QCOMPARE(sendWith(row, field, value, handler, server, &request), -1);
                QVERIFY(!request);
                QCOMPARE(log.all(), QStringList(unsendable));
            }
        }
        QTest::qWait(20);
        QCOMPARE(server.connections(), 0);
        QCOMPARE(answers.names(), QStringList());
    }

    void anyOtherValueIsSentAsItIs_data() { operations::sendRows(); }
    void anyOtherValueIsSentAsItIs()
    {
        QFETCH(int, send);
        const Send& row = operations::sends().at(send);
        // Bytes on the wire: percent-encoded only where HTTP asks for it.
        const QList<QPair<QString, QByteArray>> users = {
            {"..."_s, "..."},
            {".alice"_s, ".alice"},
            {"a b+c@d.example"_s, "a%20b+c@d.example"},
            {"j\u00f6rg"_s, "j%C3%B6rg"},
            {"+358401234567"_s, "+358401234567"},
            {"a;b:c,d!e*f'(g)$~_-"_s, "a;b:c,d!e*f'(g)$~_-"},
        };
        const QList<QPair<QString, QByteArray>> services = {{"ab/cd+ef=="_s, "/tokens/ab/cd+ef=="}};
        ScriptedServer server;
        server.answerBy([](const WireRequest&) { return Reaction::reply(200, ""); });
        RESTRequestHandler handler;
        HandedOut handedOut;
        const MessageLog log;
        int sent = 0;
        for (const auto field : fieldsInAddress(row)) {
            const auto& values = field == &Values::token ? services : users;
            for (const auto& value : values) {
                OAuthRequest* request = nullptr;
                QCOMPARE(sendWith(row, field, value.first, handler, server, &request), 0);
                handedOut.emplace_back(request);
            }
            sent += values.size();
            QTRY_COMPARE_WITH_TIMEOUT(server.requests().size(), sent, handlerPatience);
            for (const auto& value : values) {
                const auto& requests = server.requests();
                QVERIFY2(std::any_of(requests.end() - values.size(), requests.end(),
                                     [&](const WireRequest& request) {
                                         return request.target.contains(value.second);
                                     }),
                         value.second.constData());
            }
        }
    }

    void aDomainInWideCharactersStaysOneSegment()
    {
        // Converting a domain makes plain characters of their wide forms, but none of these.
        const QStringList domains = {"b\uff0f..\uff0fc"_s, "b\uff1fc"_s, "b\uff03c"_s,
                                     "b\uff05c"_s};
        ScriptedServer server;
        server.answerBy([](const WireRequest&) { return Reaction::reply(200, ""); });
        RESTRequestHandler handler;
        for (const QString& domain : domains) {
            QCOMPARE(handler.sendresetPasswordRequest(mProvider, "a@"_s + domain, {}, {}, true, {},
                                                      {}, operations::consumerKey, server.base()),
                     0);
        }
        QTRY_COMPARE_WITH_TIMEOUT(server.requests().size(), domains.size(), handlerPatience);
        for (const WireRequest& request : server.requests()) {
            QVERIFY(request.target.startsWith("/rest/1.0/simplifiedpasswordrecovery/a@"));
            QVERIFY(request.target.endsWith("/send"));
            QCOMPARE(request.target.count('/'), 5);
            QVERIFY(!request.target.contains('?') && !request.target.contains('#'));
        }
    }

    void withoutAnOutParameterNothingIsMade_data()
    {
        operations::sendRows([](const Send& row) { return row.handsOut; });
    }
    void withoutAnOutParameterNothingIsMade()
    {
        QFETCH(int, send);
        const Send& row = operations::sends().at(send);
        devicesetup::withSim(mValues);
        ScriptedServer server;
        RESTRequestHandler handler;
        const RecordedAnswers answers(handler);
        const int before = HttpRequest(QString(), SignIn).getRequestId();
        const MessageLog log;
        QCOMPARE(row.run({handler, mProvider, mValues, server.base(), nullptr}), -1);
        QCOMPARE(HttpRequest(QString(), SignIn).getRequestId(), before + 1);
        QCOMPARE(mProvider.calls, QStringList());
        QCOMPARE(KelTest::FakeModem::readings(), 0);
        QCOMPARE(log.all(), QStringList());
        QTest::qWait(20);
        QCOMPARE(server.connections(), 0);
        QCOMPARE(answers.names(), QStringList());
    }

    void theHandlerMayDieWithEverythingUnderWay()
    {
        ScriptedServer server;
        server.answerBy([](const WireRequest&) { return Reaction::silence(); });
        const KeptRequests kept;
        HandedOut handedOut;
        QList<QPointer<OAuthRequest>> watched;
        {
            RESTRequestHandler handler;
            handedOut = sendAll(handler, server);
            for (const auto& request : handedOut)
                watched.append(request.get());
            // Six connections of the network library are open, the others wait for them.
            QTRY_VERIFY_WITH_TIMEOUT(server.requests().size() >= 6, handlerPatience);
            const int sent = operations::sends().size();
            QCOMPARE(kept.seen.size() + watched.size(), sent);
            QCOMPARE(kept.alive() + watched.size(), sent);
        }
        QCOMPARE(kept.alive(), 0);
        QVERIFY(!watched.isEmpty());
        for (const auto& request : watched) {
            QVERIFY(request);
            QVERIFY(!request->getUrl().isEmpty());
        }
        QTest::qWait(20); // the network library's thread may still be busy with them
    }

    void aRequestThatWasHandedOutSurvivesAndCanBeSentByAnother()
    {
        ScriptedServer server;
        server.expect(Reaction::reply(401, wiredata::body("error/code-and-text").toUtf8()));
        server.expect(Reaction::reply(200, wiredata::body("profiledownload/everything").toUtf8()));
        OAuthRequest* request = nullptr;
        {
            RESTRequestHandler handler;
            QSignalSpy spy(&handler, &RESTRequestHandler::downloadProfileResponse);
            QCOMPARE(handler.sendDownloadProfileRequest(mProvider, mValues.accountId,
                                                        operations::consumerKey, server.base(),
                                                        &request),
                     0);
            QVERIFY(spy.wait(handlerPatience));
            QCOMPARE(spy.first().at(0).value<DownloadProfileResponse>().status, 510);
        }
        const std::unique_ptr<OAuthRequest> owner(request);
        RESTRequestHandler other;
        QSignalSpy spy(&other, &RESTRequestHandler::downloadProfileResponse);
        QCOMPARE(other.resendRequest(request), 0);
        QVERIFY(spy.wait(handlerPatience));
        const auto answer = spy.first().at(0).value<DownloadProfileResponse>();
        QCOMPARE(answer.status, 0);
        QCOMPARE(answer.userName, "somebody"_s);
        QCOMPARE(answer.requestId, request->getRequestId());
    }

    void resendingSendsTheSameAgain_data()
    {
        operations::sendRows([](const Send& row) { return row.handsOut; });
    }
    void resendingSendsTheSameAgain()
    {
        QFETCH(int, send);
        const Send& row = operations::sends().at(send);
        ScriptedServer server;
        server.expect(Reaction::reply(200, ""));
        server.expect(Reaction::reply(200, ""));
        RESTRequestHandler handler;
        OAuthRequest* request = nullptr;
        const MessageLog log;
        QCOMPARE(row.run({handler, mProvider, mValues, server.base(), &request}), 0);
        const std::unique_ptr<OAuthRequest> owner(request);
        const int callsForTheFirst = mProvider.calls.size();
        QTRY_COMPARE_WITH_TIMEOUT(server.requests().size(), 1, handlerPatience);
        QCOMPARE(handler.resendRequest(request), 0);
        QTRY_COMPARE_WITH_TIMEOUT(server.requests().size(), 2, handlerPatience);
        QCOMPARE(request->RetryCount(), 0);
        QCOMPARE(mProvider.calls.size(), callsForTheFirst); // it is not signed anew
        const WireRequest& first = server.requests().first();
        const WireRequest& second = server.requests().last();
        QCOMPARE(second.target, first.target);
        QCOMPARE(second.headers, first.headers);
        QCOMPARE(second.body, first.body);
    }

    void whatCannotBeSentIsNotSentAgainEither()
    {
        ScriptedServer server;
        RESTRequestHandler handler;
        DownloadProfileRequest elsewhere(mProvider, "1/../2"_s, operations::consumerKey,
                                         server.base(), DownloadProfile);
        DownloadProfileRequest unknown(mProvider, mValues.accountId, operations::consumerKey,
                                       server.base(),
                                       static_cast<NetRequestType>(operations::unknown));
        const MessageLog log;
        for (OAuthRequest* const request :
             {static_cast<OAuthRequest*>(nullptr), static_cast<OAuthRequest*>(&elsewhere),
              static_cast<OAuthRequest*>(&unknown)})
            QCOMPARE(handler.resendRequest(request), -1);
        QCOMPARE(log.all(),
                 QStringList({unsendable, "C sendNetWorkRequest: invalid request type"_s}));
        QTest::qWait(20);
        QCOMPARE(server.connections(), 0);
    }

    void manyRequestsAtOnceGetTheirOwnAnswers()
    {
        ScriptedServer server;
        RESTRequestHandler handler;
        const RecordedAnswers answers(handler);
        const KeptRequests kept;
        QStringList expected;
        const MessageLog log;
        for (const Send& row : operations::sends()) {
            server.expect(Reaction::reply(200, ""));
            expected += operations::of(row.number).signalNames();
        }
        const HandedOut handedOut = sendAll(handler, server);
        QTRY_COMPARE_WITH_TIMEOUT(inOrder(answers.names()), inOrder(expected), handlerPatience);
        QTRY_COMPARE_WITH_TIMEOUT(kept.alive(), 0, handlerPatience);
        QCOMPARE(server.problems(), QStringList());
    }

    void aReceiverThatTakesItsTimeGetsNoSecondAnswer()
    {
        ScriptedServer server;
        bool isAnswered = false;
        // On a busy machine the guard may come before the reply; then the next has more time.
        for (int guardMs = 100; !isAnswered; guardMs *= 2) {
            QVERIFY(guardMs < handlerPatience);
            NetworkReplyContainer::setGuardMilliseconds(guardMs);
            server.expect(
                Reaction::reply(200, wiredata::body("usernameavailability/none").toUtf8()));
            RESTRequestHandler handler;
            const RecordedAnswers answers(handler);
            // An application may show a dialogue from its slot and wait for the user.
            connect(&handler, &RESTRequestHandler::userNameAvailabilityResponse, this, [guardMs] {
                QEventLoop dialogue;
                QTimer::singleShot(4 * guardMs, &dialogue, &QEventLoop::quit);
                dialogue.exec();
            });
            OAuthRequest* request = nullptr;
            QCOMPARE(handler.sendisUserIdAvailRequest(mProvider, mValues.userName,
                                                      operations::consumerKey, server.base(),
                                                      &request),
                     0);
            const std::unique_ptr<OAuthRequest> owner(request);
            QTRY_VERIFY_WITH_TIMEOUT(!answers.names().isEmpty(), handlerPatience);
            QTest::qWait(6 * guardMs);
            QCOMPARE(answers.names(), QStringList("userNameAvailabilityResponse"_s));
            isAnswered = answers.lines().contains("status: 0"_s);
        }
    }

    void aRegistrationsReceiverMayDeleteTheHandlerInTheFirstOfItsTwoAnswers()
    {
        ScriptedServer server;
        server.expect(
            Reaction::reply(200, wiredata::body("registration/account-and-token").toUtf8()));
        auto* const handler = new RESTRequestHandler;
        const RecordedAnswers answers(*handler);
        const KeptRequests kept;
        connect(handler, &RESTRequestHandler::registerAccountResponse, this,
                [handler] { delete handler; });
        QCOMPARE(handler->sendRegisterAccountRequest(mProvider, mValues.registration,
                                                     mValues.captchaId, mValues.serviceTag,
                                                     operations::consumerKey, server.base()),
                 0);
        QTRY_COMPARE_WITH_TIMEOUT(answers.names(), QStringList("registerAccountResponse"_s),
                                  handlerPatience);
        QTest::qWait(20);
        QCOMPARE(answers.names().size(), 1);
        QCOMPARE(kept.alive(), 0);
    }

private:
    // Those of the operation's arguments that its address has, as the operation itself says.
    QVector<QString Values::*> fieldsInAddress(const Send& row)
    {
        const Operation& operation = operations::of(row.number);
        const auto addressWith = [&](const Values& values) {
            mProvider.token = values.token;
            return operation.make(mProvider, "https://host.example/"_s, values)->getRestURL();
        };
        QVector<QString Values::*> fields;
        for (const auto field : Values::texts()) {
            Values marked = mValues;
            marked.*field = "marked"_s;
            if (addressWith(marked) != addressWith(mValues))
                fields.append(field);
        }
        return fields;
    }

    HandedOut sendAll(RESTRequestHandler& handler, const ScriptedServer& server)
    {
        HandedOut handedOut;
        for (const Send& row : operations::sends()) {
            OAuthRequest* request = nullptr;
            if (row.run({handler, mProvider, mValues, server.base(), &request}) != 0)
                qFatal("%s is not sent", qPrintable(row.name()));
            if (request)
                handedOut.emplace_back(request);
        }
        return handedOut;
    }

    int sendWith(const Send& row, QString Values::*field, const QString& value,
                 RESTRequestHandler& handler, const ScriptedServer& server, OAuthRequest** request)
    {
        Values values = mValues;
        values.*field = value;
        mProvider.token = values.token;
        return row.run({handler, mProvider, values, server.base(), request});
    }

    // As in the dispatch table, but for the request that was really sent.
    static QStringList linesOf(const Operation& row, int requestId)
    {
        const QString time = row.number == SignIn ? operations::tokenTime : operations::headTime;
        const QString body = wiredata::body(row.success);
        QStringList lines = operations::answer(
            row, 0, body.isEmpty() ? operations::unfilled(row, 0) : row.record, time);
        lines.replaceInStrings("request: %1"_s.arg(operations::requestId),
                               "request: %1"_s.arg(requestId));
        return lines;
    }

    RecordingProvider mProvider;
    Values mValues;
};

QTEST_GUILESS_MAIN(TestRequestHandler)
#include "tst_requesthandler.moc"
