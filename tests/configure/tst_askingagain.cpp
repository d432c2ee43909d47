// SPDX-License-Identifier: LGPL-2.1-or-later
// What is asked of the sign-on daemon's store, when the daemon goes or its answer is lost and
// nothing else tells of it: the store is asked again, and nothing of the first time stays.
#include "configure/identitytask.h"
#include "configure/kelconfigure.h"
#include "configure/ownidentities.h"
#include "support/literals.h"
#include "support/liveobjects.h"
#include "support/patience.h"
#include "support/sessionsandbox.h"

#include <SignOn/AuthService>
#include <SignOn/Identity>

#include <QSignalSpy>
#include <QTest>

#include <csignal>

using namespace KelAccount;
using namespace KelTest;

class TestAskingAgain : public QObject
{
    Q_OBJECT

public:
    explicit TestAskingAgain(SessionSandbox& /*sandbox*/) {}

private Q_SLOTS:
    void initTestCase()
    {
        LiveObjects::watch();
        QVERIFY(SessionSandbox::startDaemon());
        KelConfigure configure;
        QSignalSpy outcomes(&configure, &KelConfigure::storeUserCredentialsStatus);
        QCOMPARE(configure.storeUserCredentials("user"_s, "password"_s), 0);
        QVERIFY(waitUntil([&] { return !outcomes.isEmpty(); }, onABusyMachine));
        QVERIFY(outcomes.at(0).at(0).toBool());
        mCredentials = outcomes.at(0).at(1).toUInt();
    }

    void aSearchWhoseAnswerIsLostIsMadeAgain()
    {
        QObject context;
        bool isOver = false;
        IdentityNumbers found;
        findOwnIdentities(&context, "user"_s, onABusyMachine, [&](const IdentityNumbers& numbers) {
            isOver = true;
            found = numbers;
        });
        auto* const service = context.findChild<SignOn::AuthService*>();
        QVERIFY(service);
        Q_EMIT service->error(SignOn::Error(SignOn::Error::InternalCommunication, "planted"_s));
        QVERIFY(!isOver);
        QVERIFY(waitUntil([&] { return isOver; }, 2 * onABusyMachine));
        QVERIFY(found);
        QCOMPARE(*found, QSet<quint32>({mCredentials}));
    }

    // The library's object is made to keep to itself that its daemon went: mostly it says so first.
    void nothingStaysOfWhatADaemonWasAskedThatWent()
    {
        QVERIFY(waitUntil([] { return identities().isEmpty(); }, onABusyMachine));
        const pid_t daemon = SessionSandbox::daemonProcessId();
        QVERIFY(daemon > 0);
        QCOMPARE(::kill(daemon, SIGSTOP), 0);
        QList<IdentityTask::Outcome> outcomes;
        auto* const task = new IdentityTask(IdentityTask::Look, mCredentials, onABusyMachine);
        connect(task, &IdentityTask::ended, this,
                [&outcomes](IdentityTask::Outcome outcome) { outcomes.append(outcome); });
        task->start();
        const bool isAsked = waitUntil([] { return !identities().isEmpty(); }, onABusyMachine);
        const QList<QObject*> first = identities();
        for (QObject* const identity : first)
            identity->blockSignals(true);
        QCOMPARE(::kill(daemon, SIGKILL), 0);
        QVERIFY(isAsked);
        QVERIFY(waitUntil([&outcomes] { return !outcomes.isEmpty(); }, 2 * onABusyMachine));
        QCOMPARE(outcomes, QList<IdentityTask::Outcome>({IdentityTask::Done}));
        QVERIFY(waitUntil([] { return identities().isEmpty(); }));
    }

private:
    static QList<QObject*> identities()
    {
        QList<QObject*> found;
        LiveObjects::forEach([&found](QObject& object, quint64 /*number*/) {
            if (object.inherits("SignOn::Identity"))
                found.append(&object);
        });
        return found;
    }

    quint32 mCredentials = 0;
};

KEL_TEST_IN_SESSION(TestAskingAgain)

#include "tst_askingagain.moc"
