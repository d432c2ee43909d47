// SPDX-License-Identifier: LGPL-2.1-or-later
// Calls through the sign-on session and set-ups: which answer is whose, and what becomes of those
// that nobody waits for any more.
#include "account/accountfixture.h"
#include "account/accountsetup.h"
#include "account/kelaccountsprivate.h"
#include "signon/kelauthsessioninterface.h"
#include "support/literals.h"
#include "support/rows.h"

#include <utility>

using namespace KelTest;
using facadecalls::line;
using KelAccount::CallId;
using KelAccount::KelAccountsPrivate;
using KelAccount::KelAuthSessionInterface;

namespace {

const QString initialise = "initialise"_s;
const QString downloadProfile = "privateMechanism_downloadProfile"_s;
const QString ensureToken = "privateMechanism_ensureToken"_s;

} // namespace

class TestAbandonedCalls : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void cleanup() { endFacade(); }

    void anAnswerBearsItsCall_data() { operationRows(); }
    void anAnswerBearsItsCall()
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

    void aRefusalBearsItsCall_data() { operationRows(); }
    void aRefusalBearsItsCall()
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

    void aSetUpsAnswerBearsItsCall_data() { setUpRows("succeeds", "a success", "a failure"); }
    void aSetUpsAnswerBearsItsCall()
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

    void aRequestThatWaitsDoesNotReachThePlugin_data() { operationRows(); }
    void aRequestThatWaitsDoesNotReachThePlugin()
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

    void aRequestThatThePluginHasIsNotAnswered_data()
    {
        columns<int, int>("action", "cancellations");
        QTest::newRow("that hangs") << int(PluginStep::Hang) << 1;
        QTest::newRow("that answers soon") << int(PluginStep::Answer) << 0;
        QTest::newRow("that fails soon") << int(PluginStep::Err) << 0;
    }
    void aRequestThatThePluginHasIsNotAnswered()
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

    void aCallThatWaitsForTheSessionGoesNoFurther_data()
    {
        QTest::addColumn<int>("action");
        QTest::newRow("that is opened") << int(PluginStep::Answer);
        QTest::newRow("that is not") << int(PluginStep::Err);
    }
    void aCallThatWaitsForTheSessionGoesNoFurther()
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

    void theCallThatReturnsIsTheLast()
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

    void aSetUpThatIsWithdrawnLeavesNothing_data()
    {
        columns<int, QString, int>("setUp", "moment", "action");
        const auto setUps = facadecalls::setUps();
        for (int i = 0; i < setUps.size(); ++i) {
            const char* const name = setUps[i].name;
            QTest::addRow("%s, while it is stored", name) << i << "store"_s << 0;
            for (const auto& [what, action] :
                 {std::pair("hangs", PluginStep::Hang), std::pair("answers", PluginStep::Answer)}) {
                QTest::addRow("%s, at initialise, which %s", name, what)
                    << i << initialise << int(action);
                QTest::addRow("%s, at the request, which %s", name, what)
                    << i << text(setUps[i].mechanism) << int(action);
            }
            QTest::addRow("%s, while the account is stored", name) << i << "account"_s << 0;
        }
    }
    void aSetUpThatIsWithdrawnLeavesNothing()
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
        if (moment == "account"_s) {
            // After the orchestrator, which has handed the account over by then.
            auto* const session = mAccounts->findChild<KelAuthSessionInterface*>();
            connect(session, &KelAuthSessionInterface::signInResponse, &context, abandon);
            connect(session, &KelAuthSessionInterface::registerationCompleted, &context, abandon);
        } else if (moment != "store"_s) {
            mSandbox.script({{moment, action, userData(), 0, 250}});
            whenAsked(moment, abandon);
        }
        setUp.start(*mAccounts, true);
        if (moment == "store"_s)
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

private:
    /// After the facade was made.
    KelAccountsPrivate* orchestrator() const { return mAccounts->findChild<KelAccountsPrivate*>(); }

    void noteCalls()
    {
        mAnswered.clear();
        mRecorder->afterwards = [this](const QString&) {
            mAnswered.append(orchestrator()->answeredCall());
        };
    }

    QList<CallId> mAnswered;
};

KEL_TEST_IN_SESSION(TestAbandonedCalls)
#include "tst_abandonedcalls.moc"
