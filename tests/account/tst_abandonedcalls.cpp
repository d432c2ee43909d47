// SPDX-License-Identifier: LGPL-2.1-or-later
// Calls through the sign-on session and set-ups: which answer is whose, and what becomes of those
// that nobody waits for any more.
#include "account/accountfixture.h"
#include "account/accountsetup.h"
#include "account/kelaccountsprivate.h"
#include "signon/kelauthsessioninterface.h"

#include <utility>

using namespace KelTest;
using KelAccount::CallId;
using KelAccount::KelAccountsPrivate;
using KelAccount::KelAuthSessionInterface;
using sessionoperations::line;

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

const QString initialise = QStringLiteral("initialise");
const QString downloadProfile = QStringLiteral("privateMechanism_downloadProfile");
const QString ensureToken = QStringLiteral("privateMechanism_ensureToken");

} // namespace

class TestAbandonedCalls : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void cleanup() { endFacade(); }

    void anAnswerBearsItsCall_data() { operationRows(); }
    void anAnswerBearsItsCall();
    void aRefusalBearsItsCall_data() { operationRows(); }
    void aRefusalBearsItsCall();
    void aSetUpsAnswerBearsItsCall_data();
    void aSetUpsAnswerBearsItsCall();
    void aRequestThatWaitsDoesNotReachThePlugin_data() { operationRows(); }
    void aRequestThatWaitsDoesNotReachThePlugin();
    void aRequestThatThePluginHasIsNotAnswered_data();
    void aRequestThatThePluginHasIsNotAnswered();
    void aCallThatWaitsForTheSessionGoesNoFurther_data();
    void aCallThatWaitsForTheSessionGoesNoFurther();
    void theCallThatReturnsIsTheLast();
    void aSetUpThatIsWithdrawnLeavesNothing_data();
    void aSetUpThatIsWithdrawnLeavesNothing();

private:
    /// After the facade was made.
    KelAccountsPrivate* orchestrator() const { return mAccounts->findChild<KelAccountsPrivate*>(); }
    void noteCalls();

    QList<CallId> mAnswered;
};

void TestAbandonedCalls::noteCalls()
{
    mAnswered.clear();
    mRecorder->afterwards = [this](const QString&) {
        mAnswered.append(orchestrator()->answeredCall());
    };
}

void TestAbandonedCalls::anAnswerBearsItsCall()
{
    const Operation operation = operationOfTheRow();
    QVERIFY(resetForSignedInUser());
    noteCalls();
    operation.call(*mAccounts);
    const CallId first = orchestrator()->lastCall();
    mAccounts->ensureTokenAvailable(0);
    const CallId second = orchestrator()->lastCall();
    operation.call(*mAccounts);
    const CallId third = orchestrator()->lastCall();
    QVERIFY(answersOnce(3));
    QCOMPARE(mAnswered, QList<CallId>({first, second, third}));
    QVERIFY(first != 0 && first != second && second != third);
    QCOMPARE(orchestrator()->answeredCall(), CallId(0));
}

void TestAbandonedCalls::aRefusalBearsItsCall()
{
    const Operation operation = operationOfTheRow();
    QVERIFY(reset()); // no account, so no session
    makeFacade();
    noteCalls();
    operation.call(*mAccounts);
    const CallId abandoned = orchestrator()->lastCall();
    operation.call(*mAccounts);
    orchestrator()->abandon(abandoned);
    QVERIFY(answersOnce());
    QCOMPARE(mAnswered, QList<CallId>({orchestrator()->lastCall()}));
    QCOMPARE(lines(), QStringList(line(operation.refusal, 806)));
}

void TestAbandonedCalls::aSetUpsAnswerBearsItsCall_data()
{
    setUpRows("succeeds", ", a success", ", a failure");
}

void TestAbandonedCalls::aSetUpsAnswerBearsItsCall()
{
    QFETCH(bool, succeeds);
    const SetUp setUp = setUpOfTheRow();
    QVERIFY(reset());
    if (!succeeds)
        mSandbox.script({{text(setUp.mechanism), PluginStep::Err, {}, 615}});
    makeFacade();
    noteCalls();
    setUp.start(*mAccounts, true);
    const CallId call = orchestrator()->lastCall();
    setUp.start(*mAccounts, true); // refused, since one is under way
    const CallId refused = orchestrator()->lastCall();
    QVERIFY(answersOnce(2));
    QCOMPARE(mAnswered, QList<CallId>({refused, call}));
}

void TestAbandonedCalls::aRequestThatWaitsDoesNotReachThePlugin()
{
    const Operation operation = operationOfTheRow();
    const bool isFirst = text(operation.mechanism) == downloadProfile;
    const QString first = isFirst ? ensureToken : downloadProfile;
    QVERIFY(resetForSignedInUser());
    mSandbox.script({{first, PluginStep::Answer, {}, 0, 300}});
    noteCalls();
    isFirst ? mAccounts->ensureTokenAvailable(0) : mAccounts->downloadProfile();
    const CallId call = orchestrator()->lastCall();
    QVERIFY(mSandbox.waitForRequests(2));
    operation.call(*mAccounts);
    orchestrator()->abandon(orchestrator()->lastCall());
    QVERIFY(answersOnce());
    letPass(100);
    QCOMPARE(mAnswered, QList<CallId>({call}));
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, first}));
}

void TestAbandonedCalls::aRequestThatThePluginHasIsNotAnswered_data()
{
    QTest::addColumn<int>("action");
    QTest::addColumn<int>("cancellations");
    QTest::newRow("that hangs") << int(PluginStep::Hang) << 1;
    QTest::newRow("that answers soon") << int(PluginStep::Answer) << 0;
    QTest::newRow("that fails soon") << int(PluginStep::Err) << 0;
}

void TestAbandonedCalls::aRequestThatThePluginHasIsNotAnswered()
{
    QFETCH(int, action);
    QVERIFY(resetForSignedInUser());
    mSandbox.script({{downloadProfile, action, {}, 615, 200}});
    noteCalls();
    mAccounts->downloadProfile();
    const CallId abandoned = orchestrator()->lastCall();
    QVERIFY(mSandbox.waitForRequests(2));
    orchestrator()->abandon(abandoned);
    // It is not in the way of the next for long.
    mAccounts->ensureTokenAvailable(0);
    QVERIFY(answersOnce(1, 5000));
    QCOMPARE(mAnswered, QList<CallId>({orchestrator()->lastCall()}));
    QTEST(mSandbox.cancellations(), "cancellations");
    letPass(1200); // longer than a cancellation waits
    QTEST(mSandbox.cancellations(), "cancellations");
    QCOMPARE(lines().size(), 1);
}

void TestAbandonedCalls::aCallThatWaitsForTheSessionGoesNoFurther_data()
{
    QTest::addColumn<int>("action");
    QTest::newRow("that is opened") << int(PluginStep::Answer);
    QTest::newRow("that is not") << int(PluginStep::Err);
}

void TestAbandonedCalls::aCallThatWaitsForTheSessionGoesNoFurther()
{
    QFETCH(int, action);
    QVERIFY(resetForSignedInUser());
    mSandbox.script({{initialise, action, {}, 615, 200}});
    noteCalls();
    const CallId call = orchestrator()->nextCall();
    whenAsked(initialise, [&] { orchestrator()->abandon(call); });
    mAccounts->downloadProfile(); // returns when the plugin has answered
    QCOMPARE(orchestrator()->lastCall(), call);
    letPass(200);
    QCOMPARE(mAnswered, QList<CallId>());
    QCOMPARE(mSandbox.mechanisms(), QStringList(initialise));
}

void TestAbandonedCalls::theCallThatReturnsIsTheLast()
{
    QVERIFY(resetForSignedInUser());
    mSandbox.script({{initialise, PluginStep::Answer, {}, 0, 200}});
    noteCalls();
    const CallId outer = orchestrator()->nextCall();
    CallId inner = 0;
    whenAsked(initialise, [&] {
        mAccounts->ensureTokenAvailable(0);
        inner = orchestrator()->lastCall();
    });
    mAccounts->downloadProfile();
    QCOMPARE(orchestrator()->lastCall(), outer);
    QVERIFY(answersOnce(2));
    QCOMPARE(mAnswered, QList<CallId>({inner, outer}));
}

void TestAbandonedCalls::aSetUpThatIsWithdrawnLeavesNothing_data()
{
    QTest::addColumn<int>("setUp");
    QTest::addColumn<QString>("moment");
    QTest::addColumn<int>("action");
    const auto setUps = sessionoperations::setUps();
    for (int i = 0; i < setUps.size(); ++i) {
        const char* const name = setUps[i].name;
        QTest::addRow("%s, while it is stored", name) << i << text("store") << 0;
        for (const auto& [what, action] :
             {std::pair("hangs", PluginStep::Hang), std::pair("answers", PluginStep::Answer)}) {
            QTest::addRow("%s, at initialise, which %s", name, what)
                << i << initialise << int(action);
            QTest::addRow("%s, at the request, which %s", name, what)
                << i << text(setUps[i].mechanism) << int(action);
        }
        QTest::addRow("%s, while the account is stored", name) << i << text("account") << 0;
    }
}

void TestAbandonedCalls::aSetUpThatIsWithdrawnLeavesNothing()
{
    QFETCH(QString, moment);
    QFETCH(int, action);
    const SetUp setUp = setUpOfTheRow();
    QVERIFY(reset());
    makeFacade();
    const CallId call = orchestrator()->nextCall();
    bool abandoned = false;
    const auto abandon = [&] {
        orchestrator()->abandon(call);
        abandoned = true;
    };
    const QObject context;
    if (moment == text("account")) {
        // After the orchestrator, which has handed the account over by then.
        auto* const session = mAccounts->findChild<KelAuthSessionInterface*>();
        connect(session, &KelAuthSessionInterface::signInResponse, &context, abandon);
        connect(session, &KelAuthSessionInterface::registerationCompleted, &context, abandon);
    } else if (moment != text("store")) {
        mSandbox.script({{moment, action, userData(), 0, 250}});
        whenAsked(moment, abandon);
    }
    setUp.start(*mAccounts, true);
    if (moment == text("store"))
        abandon();
    QVERIFY(waitUntil([&] { return abandoned; }));
    // Until nothing of it is under way any more.
    const auto* const machine = mAccounts->findChild<KelAccount::AccountSetUp*>();
    QVERIFY(waitUntil([machine] { return machine->pending() == 0; }));
    letPass(300); // until the plugin has answered
    QCOMPARE(lines(), QStringList());
    QCOMPARE(identities(), QList<quint32>());
    QCOMPARE(deviceAccounts(), QList<QVariantList>());
    QVERIFY(succeeds(setUp));
}

int main(int argc, char** argv)
{
    return runInSession<TestAbandonedCalls>(argc, argv);
}

#include "tst_abandonedcalls.moc"
