// SPDX-License-Identifier: LGPL-2.1-or-later
// Calls that are taken back: by the next question, by their user, by the end of the client.
#include "client/clientfixture.h"
#include "client/handover.h"
#include "device/testtagserver.h"
#include "support/patience.h"
#include "support/rows.h"

#include <QTest>

#include <atomic>
#include <memory>
#include <sys/socket.h>

using namespace KelAccount;
using namespace KelTest;
using namespace std::chrono_literals;

class TestClientTakenBack : public ClientFixture
{
    Q_OBJECT

private Q_SLOTS:
    void onlyTheLatestQuestionIsAnswered();
    void questionsOfOtherKindsAreNotTakenBack();
    void aQuestionWaitsUntilTheUserStopsTyping();
    void twoClientsDoNotMeet();
    void aHangingTagServerIsNotWaitedForAtTheEnd();
    void whatIsCancelledWhileATagIsReadDoesNotGoOut();
    void whatIsCancelledDoesNotKeepAnotherFromWaiting();
    void nothingIsKeptOfWhatIsNotPerformed_data();
    void nothingIsKeptOfWhatIsNotPerformed();
};

void TestClientTakenBack::onlyTheLatestQuestionIsAnswered()
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

void TestClientTakenBack::questionsOfOtherKindsAreNotTakenBack()
{
    mAnswers.expect(mClient->queryMarketingVariant(), this);
    mAnswers.expect(mClient->isUserIdAvailable(text("bob"), Latest), this);
    mAnswers.expect(mClient->isUserIdAvailable(text("bob")), this);
    QVERIFY(settles(3));
}

void TestClientTakenBack::aQuestionWaitsUntilTheUserStopsTyping()
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

void TestClientTakenBack::twoClientsDoNotMeet()
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

void TestClientTakenBack::aHangingTagServerIsNotWaitedForAtTheEnd()
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

void TestClientTakenBack::whatIsCancelledWhileATagIsReadDoesNotGoOut()
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
void TestClientTakenBack::whatIsCancelledDoesNotKeepAnotherFromWaiting()
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

void TestClientTakenBack::nothingIsKeptOfWhatIsNotPerformed_data()
{
    rowsNamed("end", {"cancelled", "client ended before", "client ends"});
}

void TestClientTakenBack::nothingIsKeptOfWhatIsNotPerformed()
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

QTEST_GUILESS_MAIN(TestClientTakenBack)
#include "tst_clienttakenback.moc"
