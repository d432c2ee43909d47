// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs the texts of scenarios/, each a row: how a service behaves and what is asked, and what comes
// of it on the wire and in the answers. The README there says how they are written.
#include "operations/wiredata.h"
#include "rest/request/clientidentification.h"
#include "rest/request/oauthrequest.h"
#include "rest/request/timestampmanager.h"
#include "rest/restrequesthandler.h"
#include "rest/service.h"
#include "rest/transport/networkreplycontainer.h"
#include "rest/transport/serviceconnections.h"
#include "support/fixedsigner.h"
#include "support/patience.h"
#include "support/scenarios.h"
#include "support/signalrecorder.h"
#include "support/testauthority.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QNetworkProxy>
#include <QPixmap>
#include <QTest>
#include <QTimer>

using namespace KelRestHandler;
using KelTest::onABusyMachine;

namespace {

const auto key = "the key"_s;

/// An answer and the request that it says it answers.
struct Answer
{
    int status;
    AnsweredRequest request;
    qint64 time; ///< ns, of the test's clock
};

/// Hears of every answer of a handler.
class Answers : public SignalRecorder
{
public:
    Answers(RESTRequestHandler& handler, const QElapsedTimer& clock)
        : SignalRecorder(&handler, ServiceSignals::staticMetaObject), mHandler(handler),
          mClock(clock)
    {
    }

    QList<Answer> heard;
    QEventLoop next; ///< ends at once with an answer

private:
    void record(const QMetaMethod& signal, void** arguments) override
    {
        const bool isNumber = signal.parameterTypes().constFirst() == "int";
        const int status = isNumber ? *static_cast<const int*>(arguments[0])
                                    : static_cast<const RESTResponseBase*>(arguments[0])->status;
        heard.append({status, mHandler.answering(), mClock.nsecsElapsed()});
        next.quit();
    }

    RESTRequestHandler& mHandler;
    const QElapsedTimer& mClock;
};

QByteArray bytesOf(QString text)
{
    return text.replace("\\r\\n"_s, "\r\n"_s).toUtf8();
}

QString dateIn(int seconds)
{
    return QLocale::c().toString(QDateTime::currentDateTimeUtc().addSecs(seconds),
                                 "ddd, dd MMM yyyy HH:mm:ss"_s) +
           " GMT"_s;
}

} // namespace

class TestTransportScenarios : public QObject, private KelTest::Scenarios
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mPatience = onABusyMachine;
        mClock.start();
        NetworkReplyContainer::setGuardMilliseconds(60000);
        ServiceConnections::setIdleMilliseconds(ServiceConnections::idleMilliseconds);
        ServiceConnections::setPreparingMilliseconds(ServiceConnections::preparingMilliseconds);
        TimeStampManager::getTimeStampManager()->setServerTimeDifference(0);
        ClientIdentification::setAddressReader([] {
            return QList<QHostAddress>{QHostAddress("127.0.0.1"_s), QHostAddress("fe80::1"_s),
                                       QHostAddress("10.0.0.5"_s), QHostAddress("192.168.1.2"_s)};
        });
        mValues = {
            {"free"_s, wiredata::body("usernameavailability/none")},
            {"ahead"_s, dateIn(3600)},
            {"behind"_s, dateIn(-3600)},
            {"error"_s, "<?xml version='1.0'?><e><errorCode>accountLocked</errorCode></e>"_s}};
    }

    void cleanup() { QCOMPARE(startAnew(), QString()); }

    void everyScenario_data() { scenarioRows(qEnvironmentVariable("KELACCOUNT_TEST_SCENARIOS")); }
    void everyScenario()
    {
        QFETCH(QStringList, lines);
        const QString problem = run(lines);
        QVERIFY2(problem.isEmpty(), qPrintable(problem.left(2000)));
    }

    void aScenarioThatDoesNotHoldFails_data()
    {
        rowsNamed("line", {"answered 404",
                           "answered 0 0",
                           "answered",
                           "answered 0@-1",
                           "requests 2",
                           "connections 0",
                           "used 2",
                           "open 9",
                           "tunnels 1",
                           "bytes 0",
                           "silent",
                           "clock 3600",
                           "took 1000000",
                           "line GET /",
                           "sent Accept-Language: fi",
                           "sent X-No: *",
                           "sent-body *",
                           "detail status 404",
                           "detail retry 5",
                           "refused name bob",
                           "ask nothing",
                           "think about it",
                           "service of another kind",
                           "sends it"});
    }
    void aScenarioThatDoesNotHoldFails()
    {
        QFETCH(QByteArray, line);
        QCOMPARE(run({"service plain"_s, "always 200"_s, "ask name bob"_s}), QString());
        QVERIFY(QTest::qWaitFor([this] { return mAnswers->heard.size() == 1; }, mPatience));
        mPatience = 100;
        QVERIFY(!run({QString::fromUtf8(line)}).isEmpty());
        startAnew(); // with whatever was left
    }

private:
    QString step(const QString& word, const QString& rest, const QString& more) override
    {
        const QString first = rest.section(QLatin1Char(' '), 0, 0);
        const QString other = rest.section(QLatin1Char(' '), 1);
        if (word == "let"_s)
            return keep(first, rest.section("= "_s, 1));
        if (word == "service"_s)
            return startService(first, other);
        if (word == "always"_s)
            return orderAlways(first, other, more);
        if (word == "proxy"_s)
            return changeProxy(first, other);
        if (word == "ask"_s || word == "refused"_s)
            return ask(first, other, word == "ask"_s);
        if (word == "prepare"_s)
            return prepare();
        if (word == "abandon"_s || rest == "ends"_s) {
            word == "abandon"_s ? mHandler->abandon(rest.toInt()) : endHandler();
            return {};
        }
        if (word == "answered"_s)
            return answered(rest.split(QLatin1Char(' ')));
        if (word == "guard"_s || word == "idle"_s || word == "preparing"_s)
            return shorten(word, rest.toInt());
        if (word == "wait"_s || word == "silent"_s) {
            QTest::qWait(rest.isEmpty() ? 50 : rest.toInt());
            return expect(word == "wait"_s || mAnswers->heard.isEmpty());
        }
        if (word == "clock"_s)
            return clockIsOff(rest.toInt());
        const QString problem = order(word, rest, more);
        return problem == "unknown"_s ? look(word, rest) : problem;
    }

    QString keep(const QString& name, const QString& value)
    {
        mValues[name] = value;
        return {};
    }

    // What the service does next.
    QString order(const QString& word, const QString& rest, const QString& more)
    {
        Reaction reaction;
        if (!read(word, rest, more, reaction))
            return "unknown"_s;
        mService->server.expect(reaction);
        return {};
    }

    QString orderAlways(const QString& first, const QString& other, const QString& more)
    {
        Reaction reaction;
        const bool isStatus = first.toInt() > 0;
        if (!read(isStatus ? "replies"_s : first, isStatus ? first : other, more, reaction))
            return "it cannot do that"_s;
        mService->server.answerBy([reaction](const WireRequest&) { return reaction; });
        return {};
    }

    static bool read(const QString& word, const QString& rest, const QString& more,
                     Reaction& result)
    {
        using End = Reaction::End;
        const QMap<QString, End> ends = {
            {"closing"_s, End::Close}, {"resetting"_s, End::Reset}, {"waiting"_s, End::KeepOpen}};
        const QString first = rest.section(QLatin1Char(' '), 0, 0);
        const QString other = rest.section(QLatin1Char(' '), 1);
        if (word == "late"_s) {
            result.delayMilliseconds = first.toInt();
            Reaction reply;
            if (!read("replies"_s, other, more, reply))
                return false;
            result.bytes = reply.bytes;
            return result.delayMilliseconds > 0;
        }
        if (word == "replies"_s) {
            const QByteArray headers = other.isEmpty() ? QByteArray() : bytesOf(other) + "\r\n";
            result = Reaction::reply(first.toInt(), more.toUtf8().replace('\n', ""), headers);
            return first.toInt() > 0;
        }
        result.end = word == "hangs"_s ? End::Hang : ends.value(first);
        result.bytes = bytesOf(other);
        return word == "hangs"_s || (word == "sends"_s && ends.contains(first));
    }

    QString startService(QString kind, const QString& names)
    {
        if (kind == "closes"_s) {
            mService->server.closeConnections();
            return {};
        }
        if (kind == "another"_s || kind == "back"_s) { // beside the one there is
            std::swap(mService, mFormer);
            if (kind == "another"_s)
                mService = std::make_unique<Service>(Service::Tls, certificate("IP:127.0.0.1"));
            return expect(mService && mFormer);
        }
        const QString problem = startAnew();
        const QMap<QString, Service::Way> ways = {{"plain"_s, Service::Plain},
                                                  {"gone"_s, Service::Plain},
                                                  {"tls"_s, Service::Tls},
                                                  {"tunnelled"_s, Service::Tunnelled}};
        const bool hasWay = ways.contains(kind);
        if (!hasWay && !kind.contains("://"_s) && kind != "nowhere"_s)
            return "there is no such service"_s;
        const Service::Way way = ways.value(kind, Service::Plain);
        const QByteArray usual = way == Service::Tls ? "IP:127.0.0.1" : "DNS:service.example";
        mService = way == Service::Plain
                       ? std::make_unique<Service>(way)
                       : std::make_unique<Service>(
                             way, certificate(names.isEmpty() ? usual : names.toLatin1()));
        mBase = hasWay ? mService->base() : kind.remove("nowhere"_s);
        if (kind == "gone"_s)
            mService = std::make_unique<Service>(Service::Plain);
        mHandler = std::make_unique<RESTRequestHandler>();
        mAnswers = std::make_unique<Answers>(*mHandler, mClock);
        return problem + expect(mHandler->lastRequestId() == -1);
    }

    // Making a key takes its time.
    QSslConfiguration certificate(const QByteArray& names)
    {
        if (!mCertificates.contains(names))
            mCertificates[names] = mAuthority.serverFor(
                "service.example", names == "without names" ? QByteArray() : names);
        return mCertificates[names];
    }

    // What went wrong with the service before.
    QString startAnew()
    {
        QStringList problems = mService ? mService->server.problems() : QStringList();
        if (mFormer)
            problems += mFormer->server.problems();
        if (mAnswers && !mAnswers->heard.isEmpty())
            problems.append("an answer that is not mentioned"_s);
        endHandler();
        mLast = {};
        mFormer.reset();
        mService.reset();
        return problems.join("; "_s);
    }

    void endHandler()
    {
        mAnswers.reset();
        mHandler.reset();
        mHandedOut.clear();
        mAwaited.clear();
    }

    QString changeProxy(const QString& first, const QString& other)
    {
        if (!mService->proxy)
            return "there is none"_s;
        if (first == "demands"_s)
            mService->proxy->demand(other.toLatin1());
        else if (first == "hangs"_s || first == "closes"_s || first == "works"_s) {
            mService->proxy->hang(first == "hangs"_s);
            mService->proxy->hangUp(first == "closes"_s);
        } else if (first == "refuses"_s)
            mService->proxy->refuseWith(bytesOf(other));
        else
            mService->useProxyAs(first, other);
        return {};
    }

    QString shorten(const QString& word, int milliseconds)
    {
        if (word == "guard"_s)
            NetworkReplyContainer::setGuardMilliseconds(milliseconds);
        else if (word == "preparing"_s)
            ServiceConnections::setPreparingMilliseconds(milliseconds);
        else
            ServiceConnections::setIdleMilliseconds(milliseconds);
        return expect(milliseconds > 0);
    }

    QString prepare()
    {
        mHandler->prepare(mFormer ? mService->base() : mBase);
        return {};
    }

    // "name bob", "6 address"; what is asked under which identifier.
    QString ask(const QString& first, const QString& other, bool isSent)
    {
        const int times = qMax(1, first.toInt());
        const QString what = first.toInt() > 0 ? other : first;
        for (int i = 0; i < times; ++i) {
            const qint64 due = mClock.nsecsElapsed() +
                               NetworkReplyContainer::guardMilliseconds() * Q_INT64_C(1000000);
            const int before = mHandler->lastRequestId();
            OAuthRequest* request = nullptr;
            const int result = send(what, first.toInt() > 0 ? QString() : other, &request);
            mHandedOut.emplace_back(request);
            if (result != (isSent ? 0 : -1))
                return "sending it gave %1"_s.arg(result);
            const int id = mHandler->lastRequestId();
            if ((id == before) == isSent || (request && request->getRequestId() != id))
                return "the last request is not that one"_s;
            keep("last"_s, QString::number(id));
            if (isSent)
                mAwaited.insert(id, due);
        }
        return {};
    }

    int send(const QString& what, const QString& value, OAuthRequest** request)
    {
        const QString base = mFormer ? mService->base() : mBase;
        if (what == "name"_s)
            return mHandler->sendisUserIdAvailRequest(mSigner, text(bytesOf(value).constData()),
                                                      key, base, request);
        if (what == "address"_s)
            return mHandler->sendisEmailAddAvailableRequest(mSigner, "bob@mail.example"_s, "tag"_ba,
                                                            key, base);
        if (what == "questions"_s)
            return mHandler->sendRetrieveSecQueListRequest(
                mSigner, text(bytesOf(value).constData()), key, base);
        if (what == "question"_s)
            return mHandler->sendRetrieveSecurityQuestionRequest(mSigner, value, "fi"_s, key, base);
        if (what == "captcha"_s)
            return mHandler->sendRetrieveCaptchaImageRequest(mSigner, 80, 40, key, base);
        return -2;
    }

    // "0 404" are the answers since the last mention; "20*0" are twenty, "0@17" is one to a
    // request.
    QString answered(const QStringList& expected)
    {
        QStringList wanted;
        for (const QString& text : expected) {
            const int times =
                text.contains(QLatin1Char('*')) ? text.section(QLatin1Char('*'), 0, 0).toInt() : 1;
            for (int i = 0; i < times; ++i)
                wanted.append(text.section(QLatin1Char('*'), -1));
        }
        QTimer patience;
        patience.setSingleShot(true);
        connect(&patience, &QTimer::timeout, &mAnswers->next, &QEventLoop::quit);
        patience.start(mPatience);
        while (mAnswers->heard.size() < wanted.size() && patience.isActive())
            mAnswers->next.exec();
        if (mAnswers->heard.size() != wanted.size())
            return "there are %1 answers"_s.arg(mAnswers->heard.size());
        for (int i = 0; i < wanted.size(); ++i) {
            const Answer& answer = mAnswers->heard.at(i);
            const QString id = wanted.at(i).section(QLatin1Char('@'), 1);
            const int timeout = 404;
            if (!mAwaited.contains(answer.request.requestId))
                return "nothing was asked as %1"_s.arg(answer.request.requestId);
            if (mAwaited.take(answer.request.requestId) > answer.time && answer.status == timeout)
                return "it is early"_s;
            const QString status = wanted.at(i).section(QLatin1Char('@'), 0, 0);
            if ((QString::number(answer.status) != status && status != "any"_s) ||
                (!id.isEmpty() && id.toInt() != answer.request.requestId))
                return "it is %1@%2"_s.arg(answer.status).arg(answer.request.requestId);
        }
        mLast = mAnswers->heard.last();
        mAnswers->heard.clear();
        return expect(mHandler->answering().requestId == -1);
    }

    QString clockIsOff(int seconds)
    {
        auto* const clock = TimeStampManager::getTimeStampManager();
        clock->selectServer(TimeStampManager::serverOf(QUrl(mService->base())));
        const qint64 off = clock->timeStamp().toLongLong() - QDateTime::currentSecsSinceEpoch();
        return expect(qAbs(off - seconds) <= 5);
    }

    // What is seen at the service, and of the last answer.
    QString look(const QString& word, const QString& rest)
    {
        const ScriptedServer& server = mService->server;
        const QMap<QString, std::function<int()>> counts = {
            {"requests"_s, [&] { return server.requests().size(); }},
            {"connections"_s, [&] { return server.connections(); }},
            {"used"_s, [&] { return server.usedConnections(); }},
            {"open"_s, [&] { return server.openConnections(); }},
            {"tunnels"_s, [&] { return mService->proxy ? mService->proxy->asked() : 0; }},
            {"bytes"_s, [&] { return int(server.bytesFromClients()); }},
        };
        if (counts.contains(word)) {
            const auto count = counts[word];
            const bool came = QTest::qWaitFor([&] { return count() == rest.toInt(); }, mPatience);
            return came ? QString() : "there are %1"_s.arg(count());
        }
        if (word == "detail"_s)
            return detail(rest.section(QLatin1Char(' '), 0, 0), rest.section(QLatin1Char(' '), 1));
        if (server.requests().isEmpty())
            return "nothing was asked"_s;
        const WireRequest& request = server.requests().last();
        const QByteArray length = QByteArray::number(request.body.size());
        if (word == "line"_s)
            return fits(request.method + ' ' + request.target, rest);
        if (word == "sent-body"_s)
            return expect(request.header("Content-Length") == length) + fits(request.body, rest);
        const QByteArray name = rest.section(QLatin1Char(':'), 0, 0).toLatin1();
        if (word == "sent"_s)
            return expect(request.headerCount(name) == 1) +
                   fits(request.header(name), rest.section(": "_s, 1));
        return word == "unsent"_s ? expect(request.headerCount(name) == 0) : "no such step"_s;
    }

    QString detail(const QString& name, const QString& expected)
    {
        const AnswerDetails& details = mLast.request.details;
        const QMap<QString, QString> texts = {
            {"status"_s, QString::number(details.status)},
            {"retry"_s, QString::number(details.retryAfterSeconds)},
            {"picture"_s, QString::fromLatin1(details.picture)},
            {"format"_s, details.pictureFormat}};
        return same(texts.value(name, "unknown"_s), expected);
    }

    // A star at the end stands for anything.
    static QString fits(const QByteArray& actual, const QString& expected)
    {
        const QString written = QString::fromUtf8(actual);
        if (expected.endsWith(QLatin1Char('*')) && written.startsWith(expected.chopped(1)) &&
            written.size() >= expected.size())
            return {};
        return same(written, expected);
    }

    int mPatience = 0;
    const TestAuthority mAuthority;
    QMap<QByteArray, QSslConfiguration> mCertificates;
    FixedSigner mSigner;
    std::unique_ptr<Service> mService;
    std::unique_ptr<Service> mFormer;
    QString mBase;
    std::unique_ptr<RESTRequestHandler> mHandler;
    std::unique_ptr<Answers> mAnswers;
    std::vector<std::unique_ptr<OAuthRequest>> mHandedOut;
    QMap<int, qint64> mAwaited; ///< when they may time out, by their identifiers
    Answer mLast{};
    QElapsedTimer mClock;
};

QTEST_MAIN(TestTransportScenarios)
#include "tst_transport_scenarios.moc"
