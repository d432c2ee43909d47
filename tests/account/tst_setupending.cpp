// SPDX-License-Identifier: LGPL-2.1-or-later
// The facade ends while a set-up is under way.
#include "account/accountfixture.h"
#include "signon/kelauthsessioninterface.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTimer>

#include <csignal>

using namespace KelTest;
using facadecalls::failure;
using KelAccount::KelAuthSessionInterface;

namespace {

const QString initialise = "initialise"_s;

} // namespace

class TestSetUpEnding : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(reset()); }
    void cleanup() { endFacade(); }

    void rightAfterTheCall_data() { setUpRows(); }
    void rightAfterTheCall()
    {
        const SetUp setUp = setUpWithFacade();
        setUp.start(*mAccounts, true);
        mAccounts.reset();
        letPass(100);
        QCOMPARE(mSandbox.mechanisms(), QStringList());
        QVERIFY(leftNothing(setUp));
    }

    void whileCredentialsAreStored_data() { setUpRows(); }
    void whileCredentialsAreStored()
    {
        const SetUp setUp = setUpWithFacade();
        letPass(50); // the facade's own first call starts the daemon
        const pid_t daemon = SessionSandbox::daemonProcessId();
        QVERIFY(daemon > 1);
        QCOMPARE(::kill(daemon, SIGSTOP), 0);
        setUp.start(*mAccounts, true);
        letPass(100);
        mAccounts.reset();
        QCOMPARE(::kill(daemon, SIGCONT), 0);
        // Whatever the daemon still does comes before this.
        QVERIFY(storeIdentity() > 0);
        QVERIFY(waitUntil([this] { return identities().size() == 1; }));
        letPass(100);
        QCOMPARE(identities().size(), 1);
        QCOMPARE(lines(), QStringList());
        QCOMPARE(mSandbox.mechanisms(), QStringList());
        QCOMPARE(deviceAccounts(), QList<QVariantList>());
    }

    void whileThePluginIsAsked_data()
    {
        setUpRows<bool, int>({"whileOpening", "action"},
                             {{"initialise, no answer", true, PluginStep::Hang},
                              {"initialise, a late answer", true, PluginStep::Answer},
                              {"request, no answer", false, PluginStep::Hang},
                              {"request, a late answer", false, PluginStep::Answer},
                              {"request, a late error", false, PluginStep::Err}});
    }
    void whileThePluginIsAsked()
    {
        QFETCH(bool, whileOpening);
        QFETCH(int, action);
        const SetUp setUp = setUpOfTheRow();
        const QString mechanism = whileOpening ? initialise : text(setUp.mechanism);
        mSandbox.script({{mechanism, action, userData(), 615, 250}});
        makeFacade();
        bool ended = false;
        whenAsked(mechanism, [&] {
            mAccounts.reset();
            ended = true;
        });
        setUp.start(*mAccounts, true);
        QVERIFY(waitUntil([&] { return ended; }));
        if (action != PluginStep::Hang)
            letPass(300); // until the plugin has answered
        QVERIFY(leftNothing(setUp));
    }

    void whileCredentialsAreRemoved_data() { setUpRows(); }
    void whileCredentialsAreRemoved()
    {
        const SetUp setUp = setUpOfTheRow();
        mSandbox.script({{text(setUp.mechanism), PluginStep::Err, {}, 615}});
        makeFacade();
        // After the facade, which has decided by then to take the set-up back.
        QVERIFY(endsInThePluginsAnswer(setUp));
        QVERIFY(leftNothing(setUp));
    }

    void whileTheAccountIsStored_data() { setUpRows(); }
    void whileTheAccountIsStored()
    {
        const SetUp setUp = setUpWithFacade();
        // After the facade, which has handed the account over by then.
        QVERIFY(endsInThePluginsAnswer(setUp));
        letPass(100);
        QCOMPARE(lines(), QStringList());
        // Both are there or neither is: an account without its credentials is good for nothing.
        QList<QVariantList> expected;
        for (const quint32 id : identities())
            expected.append({"the-user-id"_s, QString::number(id)});
        QCOMPARE(deviceAccounts(), expected);
    }

    void inTheSlotOfTheSuccess_data()
    {
        setUpRows("configureOnDb", "with a device account", "no device account");
    }
    void inTheSlotOfTheSuccess()
    {
        QFETCH(bool, configureOnDb);
        const SetUp setUp = setUpWithFacade();
        endInTheSlot();
        setUp.start(*mAccounts, configureOnDb);
        QVERIFY(answersOnce());
        QVERIFY(!mAccounts);
        letPass(100);
        const quint32 id = identities().value(0);
        QCOMPARE(lines(), QStringList(success(setUp, id)));
        QCOMPARE(identities(), QList<quint32>({id}));
        QList<QVariantList> expected;
        if (configureOnDb)
            expected.append({"the-user-id"_s, QString::number(id)});
        QCOMPARE(deviceAccounts(), expected);
    }

    void inTheSlotOfTheFailure_data()
    {
        setUpRows<int>({"status"}, {{"615", 615}, {"800", 800}, {"805", 805}, {"806", 806}});
    }
    void inTheSlotOfTheFailure()
    {
        QFETCH(int, status);
        const SetUp setUp = setUpOfTheRow();
        const QByteArray folder = qgetenv("ACCOUNTS");
        const QString failing = status == 806 ? initialise : text(setUp.mechanism);
        if (status == 806 || status == 615)
            mSandbox.script({{failing, PluginStep::Err, {}, 615}});
        makeFacade();
        letPass(50);
        endInTheSlot();
        if (status == 800) {
            QVERIFY(mSandbox.killDaemon());
            mSandbox.setDaemonInstalled(false);
        }
        setUp.start(*mAccounts, true);
        if (status == 805)
            qputenv("ACCOUNTS", "/proc/nonexistent");
        const bool once = answersOnce();
        qputenv("ACCOUNTS", folder);
        mSandbox.setDaemonInstalled(true);
        QVERIFY(once);
        QVERIFY(!mAccounts);
        letPass(100);
        QCOMPARE(lines(), QStringList(failure(setUp, status)));
        mRecorder->clear();
        QVERIFY(leftNothing(setUp));
    }

    void inTheSlotOfTheStoresError_data() { setUpRows(); }
    void inTheSlotOfTheStoresError()
    {
        const SetUp setUp = setUpWithFacade();
        letPass(50);
        QVERIFY(setCredentialsReadable(false));
        endInTheSlot();
        setUp.start(*mAccounts, true);
        const bool once = answersOnce();
        QVERIFY(setCredentialsReadable(true));
        QVERIFY(once);
        QVERIFY(!mAccounts);
        QCOMPARE(lines(), QStringList(failure(setUp, 800)));
        mRecorder->clear();
        QVERIFY(leftNothing(setUp));
    }

    void inTheSlotOfARefusal_data() { setUpRows(); }
    void inTheSlotOfARefusal()
    {
        const SetUp setUp = setUpWithFacade();
        setUp.startWithoutArguments(*mAccounts);
        setUp.startWithoutArguments(*mAccounts);
        endInTheSlot();
        QVERIFY(answersOnce());
        QVERIFY(!mAccounts);
        QCOMPARE(lines(), QStringList(failure(setUp, 1001)));
    }

private:
    /// Starts the set-up and deletes the facade in the plugin's answer, behind the facade's own
    /// slot.
    bool endsInThePluginsAnswer(const SetUp& setUp)
    {
        auto* const session = mAccounts->findChild<KelAuthSessionInterface*>();
        if (!session)
            return false;
        bool ended = false;
        const QObject context;
        const auto end = [&] {
            mAccounts.reset();
            ended = true;
        };
        connect(session, &KelAuthSessionInterface::signInResponse, &context, end);
        connect(session, &KelAuthSessionInterface::registerationCompleted, &context, end);
        setUp.start(*mAccounts, true);
        return waitUntil([&] { return ended; });
    }

    /// Nothing was said, nothing is left behind, and a new facade finds everything in order.
    bool leftNothing(const SetUp& setUp)
    {
        if (!waitUntil([this] { return identities().isEmpty(); }))
            return false;
        letPass(100);
        if (!lines().isEmpty() || !identities().isEmpty() || !deviceAccounts().isEmpty())
            return false;
        makeFacade();
        return succeeds(setUp);
    }

    // The recorder ends the facade with the first signal.
    void endInTheSlot()
    {
        mRecorder->afterwards = [this](const QString&) { mAccounts.reset(); };
    }
};

KEL_TEST_IN_SESSION(TestSetUpEnding)
#include "tst_setupending.moc"
