// SPDX-License-Identifier: LGPL-2.1-or-later
// Who is answered, when and how often: by functions and by futures.
#include "client/clientfixture.h"
#include "device/testtagserver.h"
#include "support/patience.h"
#include "support/rows.h"

#include <kelaccount/flightrecorder.h>

#include <QFutureWatcher>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <memory>
#include <sys/socket.h>

using namespace KelAccount;
using namespace KelTest;

class TestClientAnswers : public ClientFixture
{
    Q_OBJECT

private Q_SLOTS:
    void anAnswerComesOnceWhateverIsDropped();
    void aFinishedCallCanStillBeAsked();
    void severalMayWaitForOneCall();
    void functionsNeedNeitherParametersNorCopies();
    void aCancelledCallIsNotAnswered();
    void whatHasNotGoneOutDoesNotGoOut();
    void anAnswerOnItsWayCanBeWaitedFor();
    void aCallMayBeCancelledWhenItsAnswerIsOnItsWay();
    void nothingIsKeptForACallThatIsOver_data();
    void nothingIsKeptForACallThatIsOver();
    void whatIsNoCallIsFinished();
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
    void aFailureSaysWhereItIsRecorded();
};

void TestClientAnswers::anAnswerComesOnceWhateverIsDropped()
{
    mAnswers.expect(mClient->isUserIdAvailable(text("bob")), this);
    QVERIFY(settles(1));
    QCOMPARE(mAnswers.lines, QStringList(text("isUserIdAvailable: free")));
}

void TestClientAnswers::aFinishedCallCanStillBeAsked()
{
    serveNames();
    const auto call = mClient->isUserIdAvailable(text("taken"));
    QVERIFY(!call.isFinished());
    QVERIFY(!call.isCancelled());
    bool delivered = false;
    call.then(this, [&delivered] { delivered = true; });
    QTRY_VERIFY(delivered);
    QVERIFY(call.isFinished());
    QVERIFY(!call.isCancelled());
    const auto elapsed = call.elapsed();
    mAnswers.expect(call, this);
    QCOMPARE(mAnswers.lines.size(), 0);
    QVERIFY(settles(1));
    QVERIFY(mAnswers.lines.first().startsWith(text("isUserIdAvailable: taken; ")));
    QTest::qWait(2);
    QCOMPARE(call.elapsed(), elapsed);
}

void TestClientAnswers::severalMayWaitForOneCall()
{
    const auto call = mClient->isUserIdAvailable(text("bob"));
    for (int i = 0; i < 3; ++i)
        mAnswers.expect(call, this);
    QVERIFY(settles(3));
}

void TestClientAnswers::functionsNeedNeitherParametersNorCopies()
{
    QString seen;
    auto own = std::make_unique<QString>(text("done"));
    mClient->close().then(
        this, [&seen, own = std::move(own)] { seen = *own; }, [] {});
    QTRY_COMPARE(seen, text("done"));
}

void TestClientAnswers::aCancelledCallIsNotAnswered()
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

void TestClientAnswers::whatHasNotGoneOutDoesNotGoOut()
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

void TestClientAnswers::anAnswerOnItsWayCanBeWaitedFor()
{
    const auto call = mClient->close();
    while (!call.isFinished())
        QThread::yieldCurrentThread();
    mAnswers.expect(call, this);
    QVERIFY(settles(1));
}

void TestClientAnswers::aCallMayBeCancelledWhenItsAnswerIsOnItsWay()
{
    const auto call = mClient->close();
    mAnswers.expect(call, this);
    while (!call.isFinished())
        QThread::yieldCurrentThread();
    call.cancel();
    mAnswers.expect(call, this);
    QVERIFY(settles(0));
    mAnswers.expect(call, this);
    QVERIFY(settles(0));
}

void TestClientAnswers::nothingIsKeptForACallThatIsOver_data()
{
    rowsNamed("end", {"answered", "cancelled", "client ended"});
}

// A copy of the call may live long, and what waits for its answer hold much.
void TestClientAnswers::nothingIsKeptForACallThatIsOver()
{
    QFETCH(QByteArray, end);
    auto client = ready();
    const auto held = std::make_shared<int>();
    const auto call = client->close();
    bool delivered = false;
    call.then(this, [&delivered, held] { delivered = true; });
    if (end == "answered")
        QTRY_VERIFY(delivered);
    else if (end == "cancelled")
        call.cancel();
    else
        client.reset();
    QCOMPARE(held.use_count(), 1L);
    if (end != "answered") {
        call.then(this, [held] {});
        QCOMPARE(held.use_count(), 1L);
    }
}

void TestClientAnswers::whatIsNoCallIsFinished()
{
    const Call<Done> none;
    QVERIFY(none.isFinished());
    QVERIFY(!none.isCancelled());
    QCOMPARE(none.elapsed().count(), 0);
    QCOMPARE(none.operation(), QString());
    none.cancel();
    mAnswers.expect(none, this);
    QVERIFY(settles(0));
}

void TestClientAnswers::nothingIsAnsweredWithoutItsContext()
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

void TestClientAnswers::nothingIsAnsweredWithoutItsClient()
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

void TestClientAnswers::nothingIsAnsweredAfterTheEndOfItsClient()
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

void TestClientAnswers::anAnswerMayDeleteTheClient()
{
    auto client = ready();
    const auto call = client->close();
    call.then(this, [&client] { client.reset(); });
    mAnswers.expect(call, this); // after that
    mAnswers.expect(client->close(), this);
    QTRY_VERIFY(!client);
    QVERIFY(settles(0));
}

void TestClientAnswers::anAnswerMayRunAnEventLoop()
{
    bool answeredInside = false;
    mClient->close().then(this, [&] {
        mAnswers.expect(mClient->close(), this);
        answeredInside =
            QTest::qWaitFor([this] { return mAnswers.lines.size() == 1; }, onABusyMachine);
    });
    QTRY_VERIFY(answeredInside);
}

void TestClientAnswers::aFutureIsFinishedWhileTheApplicationWaits()
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

void TestClientAnswers::aFutureOfACancelledCallIsFinished()
{
    const auto call = mClient->isUserIdAvailable(text("bob"));
    const auto before = call.future();
    call.cancel();
    QVERIFY(before.isFinished());
    const Failure failure = before.result().failure();
    QCOMPARE(failure.status, int(ErrorOperationCanceled));
    QCOMPARE(failure.retryAfter.count(), 0);
    QCOMPARE(call.future().result().failure().status, int(ErrorOperationCanceled));
    QCOMPARE(Call<Done>().future().result().failure().status, int(ErrorOperationCanceled));
}

void TestClientAnswers::aFutureOfAFinishedCallIsFinished()
{
    serveNames();
    const auto call = mClient->isUserIdAvailable(text("taken"));
    QTRY_VERIFY(call.isFinished());
    const auto future = call.future();
    QVERIFY(future.isFinished());
    QVERIFY(!future.result().result().suggestions.isEmpty());
}

void TestClientAnswers::aFutureIsFinishedWithTheEndOfTheClient()
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

void TestClientAnswers::aFutureCanBeWatched()
{
    QFutureWatcher<Outcome<Availability>> watcher;
    watcher.setFuture(mClient->isUserIdAvailable(text("bob")).future());
    QTRY_VERIFY(watcher.isFinished());
    QVERIFY(watcher.result().result().available);
}

// The number of a call of two clients is the same, and what it is recorded as is not.
void TestClientAnswers::aFailureSaysWhereItIsRecorded()
{
    const auto other = ready();
    QStringList ids;
    for (Client* client : {mClient.get(), other.get()}) {
        const auto call = client->isUserIdAvailable(QString());
        QTRY_VERIFY(call.isFinished());
        const Failure failure = call.future().result().failure();
        QCOMPARE(failure.status, int(ErrorInvalidParameter));
        ids.append(recordedId(failure));
        const QByteArray recording = flightRecording(RecordingFormat::Har);
        const QJsonArray entries = QJsonDocument::fromJson(recording)
                                       .object()
                                       .value(QLatin1String("log"))
                                       .toObject()
                                       .value(QLatin1String("entries"))
                                       .toArray();
        const auto found = std::find_if(entries.begin(), entries.end(), [&](const auto& entry) {
            return entry.toObject().value(QLatin1String("_call")) == ids.last();
        });
        QVERIFY2(found != entries.end(), qPrintable(ids.last()));
        const QJsonObject entry = (*found).toObject();
        QCOMPARE(entry.value(QLatin1String("_operation")).toString(), text("isUserIdAvailable"));
        QCOMPARE(entry.value(QLatin1String("_status")).toInt(), int(ErrorInvalidParameter));
        QVERIFY(flightRecording(RecordingFormat::TraceEvents)
                    .contains("\"id\":\"" + ids.last().toLatin1() + '"'));
    }
    QVERIFY(ids.first() != ids.last());
    const auto cancelled = mClient->isUserIdAvailable(text("bob"));
    cancelled.cancel();
    QCOMPARE(recordedId(cancelled.future().result().failure()), QString());
    QCOMPARE(recordedId(Failure()), QString());
}

QTEST_GUILESS_MAIN(TestClientAnswers)
#include "tst_clientanswers.moc"
