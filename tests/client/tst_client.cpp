// SPDX-License-Identifier: LGPL-2.1-or-later
// Calls of a client, against a service in this process.
#include "client/clientcalls.h"
#include "client/handover.h"
#include "device/testtagserver.h"
#include "integration/standinservice.h"
#include "operations/answers.h"
#include "platform/fakemodem.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>

#include <QFutureWatcher>
#include <QMetaMethod>
#include <QNetworkProxy>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>
#include <sys/socket.h>
#include <vector>

using namespace KelAccount;
using namespace KelTest;
using namespace std::chrono_literals;

class TestClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void theFirstLinesOfAProgram();
    void everyOperationOfTheFacadeIsACall();
    void operationsGiveTheirResults_data();
    void operationsGiveTheirResults();
    void termsAreNothingButAddresses();
    void failuresSayWhatIsKnownOfTheStatus();
    void aCaptchaFailsWithItsTrueStatus();
    void aServiceThatWantsToBeLeftAloneSaysForHowLong();
    void answersComeOnTheThreadOfTheClient();

    void anAnswerComesOnceWhateverIsDropped();
    void aFinishedCallCanStillBeAsked();
    void severalMayWaitForOneCall();
    void functionsNeedNeitherParametersNorCopies();
    void aCancelledCallIsNotAnswered();
    void whatHasNotGoneOutDoesNotGoOut();
    void aCallMayBeCancelledWhenItsAnswerIsOnItsWay();
    void nothingIsAnsweredWithoutItsContext();
    void nothingIsAnsweredWithoutItsClient();
    void nothingIsAnsweredAfterTheEndOfItsClient();
    void anAnswerMayDeleteTheClient();
    void anAnswerMayRunAnEventLoop();

    void aFutureIsFinishedWhileTheApplicationWaits();
    void aFutureOfACancelledCallIsFinished();
    void aFutureOfAFinishedCallIsFinished();
    void aFutureIsFinishedWithTheEndOfTheClient();
    void aFutureCanBeWatched();

    void onlyTheLatestQuestionIsAnswered();
    void questionsOfOtherKindsAreNotTakenBack();
    void aQuestionWaitsUntilTheUserStopsTyping();

    void twoClientsDoNotMeet();
    void aHangingTagServerIsNotWaitedForAtTheEnd();
    void whatIsCancelledWhileATagIsReadDoesNotGoOut();
    void whatIsCancelledDoesNotKeepAnotherFromWaiting();
    void nothingIsKeptOfWhatIsNotPerformed_data();
    void nothingIsKeptOfWhatIsNotPerformed();

private:
    const OwnAccounts mAccounts;
    static QString text(const char* utf8) { return QString::fromUtf8(utf8); }
    /// A client that was initialised.
    std::unique_ptr<Client> ready();
    bool settles(int answers);
    /// The name "taken" is, and every other one is free.
    void serveNames();
    QStringList targets() const;

    std::unique_ptr<StandInService> mService;
    std::unique_ptr<Client> mClient;
    Answers mAnswers;
};

void TestClient::initTestCase()
{
    qunsetenv("http_proxy");
    qunsetenv("https_proxy");
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    FakeModem::reset();
    setStartedServerOptions("");
}

void TestClient::init()
{
    PretendedPeer::reset();
    mService = std::make_unique<StandInService>();
    mAnswers.lines.clear();
    mClient = ready();
}

void TestClient::cleanup()
{
    mClient.reset();
    QCOMPARE(mService->problems(), QStringList());
}

std::unique_ptr<Client> TestClient::ready()
{
    auto client = std::make_unique<Client>();
    client->initialize(text("key"), text("secret"), Server::Production, text("shop"));
    return client;
}

void TestClient::serveNames()
{
    constexpr int unprocessable = 422;
    mService->replyBy = [](const WireRequest& request) {
        const bool taken = request.target.endsWith("/taken");
        const char* const reply =
            taken ? "usernameavailability/suggestions" : "usernameavailability/none";
        return Reaction::reply(taken ? unprocessable : 200, wiredata::body(reply).toUtf8());
    };
}

// And that no more come.
bool TestClient::settles(int answers)
{
    if (!QTest::qWaitFor([&] { return mAnswers.lines.size() >= answers; }))
        return false;
    // A call that is made now goes out last, and is answered after all that was refused.
    bool over = false;
    mClient->close().then(this, [&over] { over = true; });
    return QTest::qWaitFor([&over] { return over; }) && mAnswers.lines.size() == answers;
}

QStringList TestClient::targets() const
{
    QStringList list;
    for (const WireRequest& request : mService->requests())
        list.append(QString::fromLatin1(request.target).section(QLatin1Char('/'), 3));
    return list;
}

// ---- Operations
// ----------------------------------------------------------------------------------

void TestClient::theFirstLinesOfAProgram()
{
    int shown = 0;
    int complained = 0;
    const auto show = [&shown](bool, const QStringList&) { ++shown; };
    const auto complain = [&complained](const QString&) { ++complained; };
    const QString key = text("key");
    const QString secret = text("secret");
    const QString serviceName = text("shop");
    for (const QString& name : {text("bob"), QString()}) {
        KelAccount::Client client;
        client.initialize(key, secret, KelAccount::Server::Production, serviceName);
        auto call = client.isUserIdAvailable(name);
        call.then(
            this, [&](const KelAccount::Availability& a) { show(a.available, a.suggestions); },
            [&](const KelAccount::Failure& f) { complain(f.text); });
        QTRY_VERIFY(shown + complained > (name.isEmpty() ? 1 : 0));
        call.cancel();
    }
    QCOMPARE(shown, 1);
    QCOMPARE(complained, 1);
}

void TestClient::everyOperationOfTheFacadeIsACall()
{
    QStringList ours;
    for (const ClientCall& call : clientCalls()) {
        ours.append(text(call.name));
        QCOMPARE(call.make(*mClient, mAnswers, nullptr).call.operation(), text(call.name));
    }
    const QMetaObject& facade = KelAccounts::staticMetaObject;
    QStringList theirs;
    for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
        const QMetaMethod method = facade.method(i);
        if (method.methodType() == QMetaMethod::Slot)
            theirs.append(QString::fromLatin1(method.name()));
    }
    theirs.removeAll(text("initValues")); // retired
    theirs.append(text("signOut"));       // which it does not have
    theirs.removeDuplicates();
    theirs.sort();
    ours.sort();
    QCOMPARE(ours, theirs);
}

void TestClient::operationsGiveTheirResults_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("isUserIdAvailable") << text("free");
    QTest::newRow("isEmailIdAvailable") << text("free");
    const QString picture = operations::captchaReply().section(text("imageData>"), 1, 1);
    const int bytes = QByteArray::fromBase64(picture.section(text("<"), 0, 0).toLatin1()).size();
    QVERIFY(bytes > 0);
    QTest::newRow("retrieveCaptchaImage") << text("%1 bytes of png, 3x2, id captcha-9").arg(bytes);
    // As the reply has them; by their numbers the second would be the last.
    QTest::newRow("retrieveSecurityQuestionList")
        << text("2=What was your first pet's name?; 1=Wie heißt Ihre Mutter?; 10=");
    QTest::newRow("detectPreAccount") << text("pre-17 somebody +358401234567 Finland");
    QTest::newRow("retrieveTermsOfService") << text("tosUrl");
    QTest::newRow("queryMarketingVariant") << text("2");
    QTest::newRow("requestPasswordReset") << text("done");
    QTest::newRow("retrievePasswordResetSecQuestion")
        << text("somebody, 3, What was your first pet's name?");
    QTest::newRow("resetPasswordUsingSecurityQuestion") << text("done");
    QTest::newRow("close") << text("done");
    QTest::newRow("isCaptchaRequired") << text("no");
    QTest::newRow("isKeLAccountConfigured") << text("no");
}

void TestClient::operationsGiveTheirResults()
{
    QFETCH(QString, line);
    const RunningTagServer tags;
    const QString name = text(QTest::currentDataTag());
    for (const ClientCall& call : clientCalls()) {
        if (text(call.name) == name)
            call.make(*mClient, mAnswers, this);
    }
    QVERIFY(settles(1));
    QCOMPARE(mAnswers.lines, QStringList(name + text(": ") + line));
}

void TestClient::termsAreNothingButAddresses()
{
    mService->replyBy = [](const WireRequest&) {
        return Reaction::reply(200, wiredata::body("termsurls/everything").toUtf8());
    };
    QMap<QString, QString> addresses;
    mClient->retrieveTermsOfService(text("shop"), QString(), QString(), TermsFormat::Html)
        .then(this, [&addresses](const Terms& terms) { addresses = terms.addresses; });
    QTRY_VERIFY(!addresses.isEmpty());
    const QMap<QString, QString> expected = {
        {text("serviceUrl"), text("https://service.example/")},
        {text("tosUrl"), text("https://service.example/terms?a=1&b=2")},
        {text("privacyPolicyUrl"), text("https://service.example/privacy")},
        {text("serviceSpecificTosUrl"), text("https://service.example/own-terms")},
    };
    QCOMPARE(addresses, expected);
}

void TestClient::failuresSayWhatIsKnownOfTheStatus()
{
    Failure failure;
    mClient->initialize(QString(), text("secret"), Server::Production, QString());
    Client other;
    other.initialize(QString(), text("secret"), Server::Production, QString())
        .then(
            this, [] {}, [&failure](const Failure& why) { failure = why; });
    QTRY_COMPARE(failure.status, int(ErrorInvalidParameter));
    QCOMPARE(failure.name, text("ZorKeLDefs::ErrorInvalidParameter"));
    QVERIFY(!failure.text.isEmpty());
    QVERIFY(!failure.isRetryable);
    QCOMPARE(failure.retryAfter.count(), 0);

    mService->disturb = [](const WireRequest&) { return Disturbance::Close; };
    mClient->isUserIdAvailable(text("bob"))
        .then(
            this, [] {}, [&failure](const Failure& why) { failure = why; });
    QTRY_COMPARE(failure.status, int(ErrorRemoteHostClosed));
    QVERIFY(failure.isRetryable);
}

void TestClient::aCaptchaFailsWithItsTrueStatus()
{
    mService->disturb = [](const WireRequest&) { return Disturbance::Close; };
    mAnswers.expect(mClient->retrieveCaptchaImage(120, 40), this);
    QVERIFY(settles(1));
    QCOMPARE(mAnswers.lines, QStringList(text("retrieveCaptchaImage failed: 402")));
}

void TestClient::aServiceThatWantsToBeLeftAloneSaysForHowLong()
{
    mService->replyBy = [](const WireRequest&) {
        return Reaction::reply(503, QByteArray(), "Retry-After: 1000000000\r\n");
    };
    std::vector<qint64> waits;
    for (int i = 0; i < 2; ++i) {
        Failure failure;
        mClient->isUserIdAvailable(text("bob"))
            .then(
                this, [] {}, [&failure](const Failure& why) { failure = why; });
        QTRY_VERIFY(failure.status != 0);
        waits.push_back(failure.retryAfter.count());
        QVERIFY(waits.back() >= 1000000000);
        QVERIFY(waits.back() <= 1500000000);
    }
    // Others were told the same, and should not come back at the same moment.
    QVERIFY(waits.front() != waits.back());
}

void TestClient::answersComeOnTheThreadOfTheClient()
{
    QThread* thread = nullptr;
    mClient->close().then(this, [&thread] { thread = QThread::currentThread(); });
    QVERIFY(!thread); // not from inside the call
    QTRY_COMPARE(thread, QThread::currentThread());
}

// ---- Who is answered
// -----------------------------------------------------------------------------

void TestClient::anAnswerComesOnceWhateverIsDropped()
{
    mAnswers.expect(mClient->isUserIdAvailable(text("bob")), this);
    QVERIFY(settles(1));
    QCOMPARE(mAnswers.lines, QStringList(text("isUserIdAvailable: free")));
}

void TestClient::aFinishedCallCanStillBeAsked()
{
    serveNames();
    const auto call = mClient->isUserIdAvailable(text("taken"));
    QVERIFY(!call.isFinished());
    bool delivered = false;
    call.then(this, [&delivered] { delivered = true; });
    QTRY_VERIFY(delivered);
    QVERIFY(call.isFinished());
    const auto elapsed = call.elapsed();
    mAnswers.expect(call, this);
    QCOMPARE(mAnswers.lines.size(), 0);
    QVERIFY(settles(1));
    QVERIFY(mAnswers.lines.first().startsWith(text("isUserIdAvailable: taken; ")));
    QTest::qWait(2);
    QCOMPARE(call.elapsed(), elapsed);
}

void TestClient::severalMayWaitForOneCall()
{
    const auto call = mClient->isUserIdAvailable(text("bob"));
    for (int i = 0; i < 3; ++i)
        mAnswers.expect(call, this);
    QVERIFY(settles(3));
}

void TestClient::functionsNeedNeitherParametersNorCopies()
{
    QString seen;
    auto own = std::make_unique<QString>(text("done"));
    mClient->close().then(
        this, [&seen, own = std::move(own)] { seen = *own; }, [] {});
    QTRY_COMPARE(seen, text("done"));
}

void TestClient::aCancelledCallIsNotAnswered()
{
    mService->disturb = [](const WireRequest&) { return Disturbance::Hang; };
    const auto call = mClient->isUserIdAvailable(text("bob"));
    mAnswers.expect(call, this);
    QTRY_COMPARE(mService->requests().size(), 1);
    call.cancel();
    QVERIFY(call.isCancelled());
    QVERIFY(call.isFinished());
    mAnswers.expect(call, this);
    // The service sees it, too: the connection goes.
    QTRY_COMPARE(mService->openConnections(), 0);
    QVERIFY(settles(0));
}

void TestClient::whatHasNotGoneOutDoesNotGoOut()
{
    // Keeps the client's thread busy until all has been said.
    std::atomic<bool> asked{false};
    std::atomic<bool> released{false};
    const ThreadTagServer tags([&](int connection) {
        asked = true;
        char byte = 0;
        while (!released && recv(connection, &byte, 1, MSG_DONTWAIT) != 0)
            QThread::yieldCurrentThread();
    });
    mClient->isCaptchaRequired();
    QTRY_VERIFY(asked);
    for (int i = 0; i < 20; ++i) {
        const auto call = mClient->isUserIdAvailable(text("bob"));
        mAnswers.expect(call, this);
        call.cancel();
    }
    mAnswers.expect(mClient->queryMarketingVariant(), this);
    released = true;
    QVERIFY(settles(1));
    QCOMPARE(targets(), QStringList(text("consentqueryvariant")));
}

void TestClient::aCallMayBeCancelledWhenItsAnswerIsOnItsWay()
{
    const auto call = mClient->close();
    mAnswers.expect(call, this);
    while (!call.isFinished())
        QThread::yieldCurrentThread();
    call.cancel();
    QVERIFY(settles(0));
}

void TestClient::nothingIsAnsweredWithoutItsContext()
{
    bool delivered = false;
    const auto finished = mClient->close();
    finished.then(this, [&delivered] { delivered = true; });
    QTRY_VERIFY(delivered);
    auto context = std::make_unique<QObject>();
    mAnswers.expect(finished, context.get());
    mAnswers.expect(finished, nullptr);
    mAnswers.expect(mClient->isUserIdAvailable(text("bob")), context.get());
    context.reset();
    QTRY_COMPARE(mService->requests().size(), 1);
    QVERIFY(settles(0));
}

void TestClient::nothingIsAnsweredWithoutItsClient()
{
    auto client = ready();
    mAnswers.expect(client->isUserIdAvailable(text("bob")), this);
    const auto answered = client->close();
    mAnswers.expect(answered, this);
    while (!answered.isFinished())
        QThread::yieldCurrentThread();
    client.reset();
    QVERIFY(settles(0));
}

void TestClient::nothingIsAnsweredAfterTheEndOfItsClient()
{
    auto client = ready();
    const auto call = client->close();
    mAnswers.expect(call, this);
    QTRY_COMPARE(mAnswers.lines.size(), 1);
    mAnswers.expect(call, this);
    client.reset();
    mAnswers.expect(call, this);
    call.cancel();
    QVERIFY(settles(1));
}

void TestClient::anAnswerMayDeleteTheClient()
{
    auto client = ready();
    const auto call = client->close();
    call.then(this, [&client] { client.reset(); });
    mAnswers.expect(call, this); // after that
    mAnswers.expect(client->close(), this);
    QTRY_VERIFY(!client);
    QVERIFY(settles(0));
}

void TestClient::anAnswerMayRunAnEventLoop()
{
    bool answeredInside = false;
    mClient->close().then(this, [&] {
        mAnswers.expect(mClient->close(), this);
        answeredInside = QTest::qWaitFor([this] { return mAnswers.lines.size() == 1; });
    });
    QTRY_VERIFY(answeredInside);
}

// ---- Futures
// -------------------------------------------------------------------------------------

void TestClient::aFutureIsFinishedWhileTheApplicationWaits()
{
    Client fresh;
    QFuture<Outcome<Availability>> future = fresh.isUserIdAvailable(text("bob")).future();
    future.waitForFinished();
    QVERIFY(!future.result());
    QCOMPARE(future.result().failure().status, int(ErrorInitializationPending));
    const auto done = fresh.close().future().result();
    QVERIFY(done.isSuccess());
    QCOMPARE(done.failure().status, 0);
}

void TestClient::aFutureOfACancelledCallIsFinished()
{
    const auto call = mClient->isUserIdAvailable(text("bob"));
    const auto before = call.future();
    call.cancel();
    QVERIFY(before.isFinished());
    QCOMPARE(before.result().failure().status, int(ErrorOperationCanceled));
    QCOMPARE(call.future().result().failure().status, int(ErrorOperationCanceled));
    QCOMPARE(Call<Done>().future().result().failure().status, int(ErrorOperationCanceled));
}

void TestClient::aFutureOfAFinishedCallIsFinished()
{
    serveNames();
    const auto call = mClient->isUserIdAvailable(text("taken"));
    QTRY_VERIFY(call.isFinished());
    const auto future = call.future();
    QVERIFY(future.isFinished());
    QVERIFY(!future.result().result().suggestions.isEmpty());
}

void TestClient::aFutureIsFinishedWithTheEndOfTheClient()
{
    auto client = ready();
    const auto open = client->isUserIdAvailable(text("bob")).future();
    const auto answered = client->close();
    while (!answered.isFinished())
        QThread::yieldCurrentThread();
    client.reset();
    QVERIFY(open.isFinished());
    QCOMPARE(open.result().failure().status, int(ErrorOperationCanceled));
    QVERIFY(answered.future().result().isSuccess());
}

void TestClient::aFutureCanBeWatched()
{
    QFutureWatcher<Outcome<Availability>> watcher;
    watcher.setFuture(mClient->isUserIdAvailable(text("bob")).future());
    QTRY_VERIFY(watcher.isFinished());
    QVERIFY(watcher.result().result().available);
}

// ---- The newest question
// -------------------------------------------------------------------------

void TestClient::onlyTheLatestQuestionIsAnswered()
{
    serveNames();
    const auto first = mClient->isUserIdAvailable(text("bo"));
    mAnswers.expect(first, this);
    mAnswers.expect(mClient->isUserIdAvailable(text("taken"), Latest), this);
    QVERIFY(first.isCancelled());
    mAnswers.expect(mClient->isUserIdAvailable(text("bob"), Latest), this);
    QVERIFY(settles(1));
    QCOMPARE(mAnswers.lines, QStringList(text("isUserIdAvailable: free")));
}

void TestClient::questionsOfOtherKindsAreNotTakenBack()
{
    mAnswers.expect(mClient->queryMarketingVariant(), this);
    mAnswers.expect(mClient->isUserIdAvailable(text("bob"), Latest), this);
    mAnswers.expect(mClient->isUserIdAvailable(text("bob")), this);
    QVERIFY(settles(3));
}

void TestClient::aQuestionWaitsUntilTheUserStopsTyping()
{
    const Debounce pause{40ms};
    const auto first = mClient->isUserIdAvailable(text("b"), pause);
    mAnswers.expect(first, this);
    mAnswers.expect(mClient->isUserIdAvailable(text("bo"), pause), this);
    const auto last = mClient->isUserIdAvailable(text("bob"), pause);
    mAnswers.expect(last, this);
    QVERIFY(first.isCancelled());
    QVERIFY(settles(1));
    QCOMPARE(targets(), QStringList(text("availability/bob")));
    QVERIFY(last.elapsed() >= 40ms);
}

// ---- Several, and the end
// ------------------------------------------------------------------------

void TestClient::twoClientsDoNotMeet()
{
    serveNames();
    const auto other = ready();
    for (int i = 0; i < 50; ++i) {
        mAnswers.expect(mClient->isUserIdAvailable(text("bob")), this);
        mAnswers.expect(other->isUserIdAvailable(text("taken")), this);
    }
    QVERIFY(settles(100));
    QCOMPARE(mAnswers.lines.filter(text("free")).size(), 50);
}

void TestClient::aHangingTagServerIsNotWaitedForAtTheEnd()
{
    std::atomic<bool> asked{false};
    std::atomic<bool> left{false};
    const ThreadTagServer tags([&](int connection) {
        asked = true;
        char byte = 0;
        while (recv(connection, &byte, 1, 0) > 0) {
        }
        left = true;
    });
    QVERIFY(tags.isReady());
    const auto call = mClient->isCaptchaRequired();
    mAnswers.expect(call, this);
    QTRY_VERIFY(asked);
    QVERIFY(!left);
    mClient.reset();
    QVERIFY(call.isFinished());
    QTRY_VERIFY(left);
    // Nobody is to blame for what we did not wait for.
    mClient = ready();
    QVERIFY(settles(0));
}

void TestClient::whatIsCancelledWhileATagIsReadDoesNotGoOut()
{
    std::atomic<bool> asked{false};
    const ThreadTagServer tags([&](int connection) {
        asked = true;
        char byte = 0;
        while (recv(connection, &byte, 1, 0) > 0) {
        }
    });
    const auto call = mClient->isEmailIdAvailable(text("bob@mail.example"));
    mAnswers.expect(call, this);
    QTRY_VERIFY(asked);
    call.cancel();
    mAnswers.expect(mClient->queryMarketingVariant(), this);
    QVERIFY(settles(1));
    QCOMPARE(targets(), QStringList(text("consentqueryvariant")));
}

// One that is performed in the event loop that another one runs.
void TestClient::whatIsCancelledDoesNotKeepAnotherFromWaiting()
{
    using KelRestHandler::Interruption;
    const auto handOver = std::make_shared<HandOver>();
    const Interruption::Scope scope(*handOver->interruption());
    const auto asked = [&handOver](const char* operation) {
        const auto call = std::make_shared<CallState>(handOver, operation);
        handOver->open(call);
        handOver->perform(call);
        return call;
    };
    const HandOver::Call outer = asked("downloadProfile");
    QCOMPARE(handOver->takeOrder().call, outer);
    const HandOver::Call inner = asked("isEmailIdAvailable");
    HandOver::cancel(outer);
    QVERIFY(Interruption::isRequested());
    QCOMPARE(handOver->takeOrder().call, inner);
    QVERIFY(!Interruption::isRequested());
    handOver->end();
    QVERIFY(Interruption::isRequested());
    // Calls and what hands them over hold each other until the thread has done with them.
    QCOMPARE(handOver->takeOrder().call, outer);
    handOver->setPerformed(nullptr);
}

void TestClient::nothingIsKeptOfWhatIsNotPerformed_data()
{
    rowsNamed("end", {"cancelled", "client ended before", "client ends"});
}

void TestClient::nothingIsKeptOfWhatIsNotPerformed()
{
    QFETCH(QByteArray, end);
    const auto handOver = std::make_shared<HandOver>();
    const auto call = std::make_shared<CallState>(handOver, "changePassword");
    const auto secret = std::make_shared<int>();
    call->perform = [secret](KelAccountsPrivate&) { return std::nullopt; };
    if (end == "client ended before")
        handOver->end();
    handOver->open(call);
    if (end == "cancelled")
        HandOver::cancel(call);
    else
        handOver->end();
    QCOMPARE(secret.use_count(), 1L);
}

QTEST_GUILESS_MAIN(TestClient)
#include "tst_client.moc"
