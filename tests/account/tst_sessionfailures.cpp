// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations of a user who is signed in, when the plugin, the daemon or the facade ends.
#include "account/accountfixture.h"
#include "support/messagelog.h"

#include <QTimer>

using namespace KelTest;
using sessionoperations::line;
using sessionoperations::text;

namespace {

const QString initialise = QStringLiteral("initialise");

} // namespace

class TestSessionFailures : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(resetForSignedInUser()); }
    void cleanup() { endFacade(); }

    void withoutASessionTheAnswerIs806_data();
    void withoutASessionTheAnswerIs806();
    void anEndedDaemonIsAnAnswer_data() { operationRows(); }
    void anEndedDaemonIsAnAnswer();
    void anEndedPluginIsAnAnswer_data() { operationRows(); }
    void anEndedPluginIsAnAnswer();
    void theFacadeMayEndInTheCall_data();
    void theFacadeMayEndInTheCall();
    void theFacadeMayEndInTheSlotOfTheAnswer_data();
    void theFacadeMayEndInTheSlotOfTheAnswer();
};

void TestSessionFailures::withoutASessionTheAnswerIs806_data()
{
    QTest::addColumn<int>("operation");
    QTest::addColumn<int>("action");
    const auto operations = sessionoperations::all();
    for (int i = 0; i < operations.size(); ++i) {
        QTest::addRow("%s, error", operations[i].name) << i << int(PluginStep::Err);
        QTest::addRow("%s, end of the plugin", operations[i].name) << i << int(PluginStep::Die);
    }
}

void TestSessionFailures::withoutASessionTheAnswerIs806()
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

void TestSessionFailures::anEndedDaemonIsAnAnswer()
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

void TestSessionFailures::anEndedPluginIsAnAnswer()
{
    const Operation operation = operationOfTheRow();
    mSandbox.script({{text(operation.mechanism), PluginStep::Die}});
    operation.call(*mAccounts);
    QVERIFY(answersOnce());
    QCOMPARE(lines(), QStringList(line(operation.answer, 1))); // the daemon's "unknown"
    QCOMPARE(identities(), QList<quint32>({mCredentials}));
    QCOMPARE(deviceAccounts().size(), 1);
}

void TestSessionFailures::theFacadeMayEndInTheCall_data()
{
    QTest::addColumn<int>("operation");
    QTest::addColumn<bool>("whileOpening");
    const auto operations = sessionoperations::all();
    for (int i = 0; i < operations.size(); ++i) {
        QTest::addRow("%s, initialise", operations[i].name) << i << true;
        QTest::addRow("%s, request", operations[i].name) << i << false;
    }
}

void TestSessionFailures::theFacadeMayEndInTheCall()
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

void TestSessionFailures::theFacadeMayEndInTheSlotOfTheAnswer_data()
{
    QTest::addColumn<int>("operation");
    QTest::addColumn<int>("status");
    const auto operations = sessionoperations::all();
    for (int i = 0; i < operations.size(); ++i) {
        QTest::addRow("%s, success", operations[i].name) << i << 0;
        QTest::addRow("%s, error", operations[i].name) << i << 504;
    }
}

void TestSessionFailures::theFacadeMayEndInTheSlotOfTheAnswer()
{
    QFETCH(int, status);
    const Operation operation = operationOfTheRow();
    mSandbox.script(
        {{text(operation.mechanism), status ? PluginStep::Err : PluginStep::Answer, {}, status}});
    mRecorder->afterwards = [this](const QString&) { mAccounts.reset(); };
    operation.call(*mAccounts);
    operation.call(*mAccounts);
    QVERIFY(answersOnce());
    QVERIFY(!mAccounts);
    QCOMPARE(lines(), QStringList(line(operation.answer, status)));
}

int main(int argc, char** argv)
{
    return runInSession<TestSessionFailures>(argc, argv);
}

#include "tst_sessionfailures.moc"
