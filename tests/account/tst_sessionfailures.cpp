// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations of a user who is signed in, when the plugin, the daemon or the facade ends.
#include "account/accountfixture.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QTimer>

using namespace KelTest;
using facadecalls::line;

namespace {

const QString initialise = "initialise"_s;

} // namespace

class TestSessionFailures : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(resetForSignedInUser()); }
    void cleanup() { endFacade(); }

    void withoutASessionTheAnswerIs806_data()
    {
        operationRows<int>({"action"},
                           {{"error", PluginStep::Err}, {"end of the plugin", PluginStep::Die}});
    }
    void withoutASessionTheAnswerIs806()
    {
        QFETCH(int, action);
        const Operation operation = operationOfTheRow();
        mSandbox.script({{initialise, action, {}, 603}});
        operation.call(*mAccounts);
        QCOMPARE(lines(), QStringList()); // also after the wait in the call
        COMPARE_ANSWER(line(operation.refusal, 806));
        QVERIFY(!mSandbox.mechanisms().contains(text(operation.mechanism)));
        mSandbox.script({});
        operation.call(*mAccounts);
        QVERIFY(answersOnce(2));
        QCOMPARE(lines().last(), line(operation.answer, 0));
    }

    void anEndedDaemonIsAnAnswer_data() { operationRows(); }
    void anEndedDaemonIsAnAnswer()
    {
        const MessageLog log;
        const Operation operation = operationOfTheRow();
        mSandbox.script({{text(operation.mechanism), PluginStep::Hang}});
        bool killed = false;
        whenAsked(text(operation.mechanism), [&] { killed = SessionSandbox::killDaemon(); });
        operation.call(*mAccounts);
        QVERIFY(answersOnce());
        QVERIFY(killed);
        // The sign-on library's "internal communication".
        QCOMPARE(lines(), QStringList(line(operation.answer, 3)));
        mSandbox.script({});
        operation.call(*mAccounts);
        QVERIFY(answersOnce(2));
        QCOMPARE(lines().last(), line(operation.answer, 0));
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, text(operation.mechanism)}));
    }

    void anEndedPluginIsAnAnswer_data() { operationRows(); }
    void anEndedPluginIsAnAnswer()
    {
        const Operation operation = operationOfTheRow();
        mSandbox.script({{text(operation.mechanism), PluginStep::Die}});
        operation.call(*mAccounts);
        COMPARE_ANSWER(line(operation.answer, 1)); // the daemon's "unknown"
        QCOMPARE(identities(), QList<quint32>({mCredentials}));
        QCOMPARE(deviceAccounts().size(), 1);
    }

    void theFacadeMayEndInTheCall_data()
    {
        operationRows<bool>({"whileOpening"}, {{"initialise", true}, {"request", false}});
    }
    void theFacadeMayEndInTheCall()
    {
        QFETCH(bool, whileOpening);
        const Operation operation = operationOfTheRow();
        const QString mechanism = whileOpening ? initialise : text(operation.mechanism);
        const int action = whileOpening ? PluginStep::Hang : PluginStep::Answer;
        mSandbox.script({{mechanism, action, {}, 0, 300}});
        bool ended = false;
        whenAsked(mechanism, [&] {
            mAccounts.reset();
            ended = true;
        });
        // Called from the event loop, as applications do: the call itself may wait for the plugin.
        QTimer::singleShot(0, this, [&] { operation.call(*mAccounts); });
        QVERIFY(waitUntil([&] { return ended; }));
        if (!whileOpening)
            letPass(400); // until the plugin has answered
        QCOMPARE(lines(), QStringList());
        QCOMPARE(identities(), QList<quint32>({mCredentials}));
        QCOMPARE(deviceAccounts().size(), 1);
    }

    void theFacadeMayEndInTheSlotOfTheAnswer_data()
    {
        operationRows<int>({"status"}, {{"success", 0}, {"error", 504}});
    }
    void theFacadeMayEndInTheSlotOfTheAnswer()
    {
        QFETCH(int, status);
        const Operation operation = operationOfTheRow();
        mSandbox.script({{text(operation.mechanism),
                          status ? PluginStep::Err : PluginStep::Answer,
                          {},
                          status}});
        mRecorder->afterwards = [this](const QString&) { mAccounts.reset(); };
        operation.call(*mAccounts);
        operation.call(*mAccounts);
        QVERIFY(answersOnce());
        QVERIFY(!mAccounts);
        QCOMPARE(lines(), QStringList(line(operation.answer, status)));
    }
};

KEL_TEST_IN_SESSION(TestSessionFailures)
#include "tst_sessionfailures.moc"
