// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations of a user who is signed in, when the plugin, the daemon or the facade ends.
#include "account/accountfixture.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QTimer>

using namespace KelTest;
using sessionoperations::line;

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
        columns<int, int>("operation", "action");
        const auto operations = sessionoperations::all();
        for (int i = 0; i < operations.size(); ++i) {
            QTest::addRow("%s, error", operations[i].name) << i << int(PluginStep::Err);
            QTest::addRow("%s, end of the plugin", operations[i].name) << i << int(PluginStep::Die);
        }
    }
    void withoutASessionTheAnswerIs806()
    {
        QFETCH(int, action);
        const Operation operation = operationOfTheRow();
        mSandbox.script({{initialise, action, {}, 603}});
        operation.call(*mAccounts);
        QCOMPARE(lines(), QStringList()); // also after the wait in the call
        QVERIFY(answersOnce());
        QCOMPARE(lines(), QStringList(line(operation.refusal, 806)));
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
        QVERIFY(answersOnce());
        QCOMPARE(lines(), QStringList(line(operation.answer, 1))); // the daemon's "unknown"
        QCOMPARE(identities(), QList<quint32>({mCredentials}));
        QCOMPARE(deviceAccounts().size(), 1);
    }

    void theFacadeMayEndInTheCall_data()
    {
        columns<int, bool>("operation", "whileOpening");
        const auto operations = sessionoperations::all();
        for (int i = 0; i < operations.size(); ++i) {
            QTest::addRow("%s, initialise", operations[i].name) << i << true;
            QTest::addRow("%s, request", operations[i].name) << i << false;
        }
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
        columns<int, int>("operation", "status");
        const auto operations = sessionoperations::all();
        for (int i = 0; i < operations.size(); ++i) {
            QTest::addRow("%s, success", operations[i].name) << i << 0;
            QTest::addRow("%s, error", operations[i].name) << i << 504;
        }
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

int main(int argc, char** argv)
{
    return runInSession<TestSessionFailures>(argc, argv);
}

#include "tst_sessionfailures.moc"
