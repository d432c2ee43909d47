// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations of a user who is signed in, with the service, the plugin or the daemon failing.
#include "integration/keptdata.h"
#include "integration/setupfixture.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"

#include <SignOn/Error>

#include <QMetaEnum>

#include <csignal>

using namespace KelTest;

class TestStoryOperations : public SetUpFixture
{
    Q_OBJECT

public:
    enum Operation { Profile, Password, UserName, Question, Token };
    Q_ENUM(Operation)

private Q_SLOTS:
    void init()
    {
        prepare(SignIn);
        QCOMPARE(succeedsNow(SignIn), QString());
    }

    void aFailingServiceIsOneAnswerAndTheNextCallSucceeds_data()
    {
        rows<Operation, QByteArray, int, bool>("operation", "faults", "status", "isDone");
        const struct
        {
            const char* faults;
            int status;
            bool isDone;
        } cases[] = {
            {"close-before-headers", 402, false},
            {"close-after-headers", 402, true},
            {"cut-body", 402, true},
            {"status=500", 1004, true},
            {"wrong-host", 406, false},
        };
        for (const Operation operation : {Profile, Password, UserName, Question, Token}) {
            for (const auto& one : cases)
                QTest::addRow("%s, %s", QMetaEnum::fromType<Operation>().valueToKey(operation),
                              one.faults)
                    << operation << QByteArray(one.faults) << one.status << one.isDone;
        }
    }
    void aFailingServiceIsOneAnswerAndTheNextCallSucceeds()
    {
        const auto [operation, faults, status, isDone] =
            fetch<Operation, QByteArray, int, bool>("operation", "faults", "status", "isDone");
        QVERIFY(operation != Token || forgetToken());
        QVERIFY(EmulatedService::orderFaults(faults));
        QCOMPARE(answersOf(operation), line(operation, status));
        EmulatedService::ask("DELETE", "/faults");
        QCOMPARE(answersOf(operation),
                 isDone ? lineAfterALostAnswer(operation) : line(operation, 0));
        QVERIFY(facade().isKeLAccountConfigured());
    }

    void aKilledPluginIsOneAnswerAndTheNextCallSucceeds_data() { operationRows(); }
    void aKilledPluginIsOneAnswerAndTheNextCallSucceeds()
    {
        QFETCH(Operation, operation);
        QVERIFY(operation != Token || forgetToken());
        QVERIFY(EmulatedService::orderFaults("hang"));
        whenTheFaultIsTaken([] {
            const QList<pid_t> processes = pluginProcesses();
            for (const pid_t process : processes)
                ::kill(process, SIGKILL);
        });
        QCOMPARE(answersOf(operation), line(operation, SignOn::Error::Unknown));
        QCOMPARE(answersOf(operation), lineAfterALostAnswer(operation));
    }

    void aKilledDaemonIsOneAnswerAndTheNextCallSucceeds_data() { operationRows(); }
    void aKilledDaemonIsOneAnswerAndTheNextCallSucceeds()
    {
        QFETCH(Operation, operation);
        QVERIFY(operation != Token || forgetToken());
        QVERIFY(EmulatedService::orderFaults("hang"));
        whenTheFaultIsTaken([] { QVERIFY(DaemonControl::kill()); });
        QCOMPARE(answersOf(operation), line(operation, SignOn::Error::InternalCommunication));
        QCOMPARE(answersOf(operation), lineAfterALostAnswer(operation));
    }

    void aDaemonKilledBetweenTwoCallsIsStartedAgain()
    {
        QVERIFY(DaemonControl::kill());
        // The bus knows; until this program does, a request is on its way to nobody.
        QTest::qWait(50);
        QCOMPARE(answersOf(Profile), line(Profile, 0));
    }

    void aPluginKilledBetweenTwoCallsIsOneAnswerAndTheNextCallSucceeds_data() { operationRows(); }

    // Nobody tells this program. The daemon finds out with the next request.
    void aPluginKilledBetweenTwoCallsIsOneAnswerAndTheNextCallSucceeds()
    {
        QFETCH(Operation, operation);
        QVERIFY(killPluginProcesses());
        QCOMPARE(answersOf(operation), line(operation, SignOn::Error::Runtime));
        QCOMPARE(answersOf(operation), line(operation, 0));
    }

    void aDaemonThatIsGoneForGoodIsOneAnswer_data() { operationRows(); }
    void aDaemonThatIsGoneForGoodIsOneAnswer()
    {
        QFETCH(Operation, operation);
        const QString session = qEnvironmentVariable("SSO_STORAGE_PATH") + "/.."_s;
        DaemonControl::setInstalled(session, false);
        QVERIFY(DaemonControl::kill());
        QTest::qWait(50);
        const QStringList refused = operation == Profile
                                        ? QStringList("downloadProfileResponse(806, no profile)"_s)
                                        : line(operation, 806);
        const QStringList lines = answersOf(operation);
        DaemonControl::setInstalled(session, true);
        QCOMPARE(lines, refused);
        QCOMPARE(answersOf(operation), line(operation, 0));
    }

private:
    static void operationRows()
    {
        QTest::addColumn<Operation>("operation");
        for (const Operation operation : {Profile, Password, UserName, Question, Token})
            QTest::newRow(QMetaEnum::fromType<Operation>().valueToKey(operation)) << operation;
    }

    void start(Operation operation)
    {
        switch (operation) {
        case Profile:
            facade().downloadProfile();
            return;
        case Password:
            facade().changePassword(text(password), "another password"_s);
            return;
        case UserName:
            facade().userIdUpdate(user().section(QLatin1Char('@'), 0, 0));
            return;
        case Question:
            facade().updateSecurityQuestion("2"_s, "Hämeenlinna"_s);
            return;
        case Token:
            facade().ensureTokenAvailable(0);
            return;
        }
    }

    QStringList answersOf(Operation operation)
    {
        return answers([&] { start(operation); });
    }

    static QStringList line(Operation operation, int status)
    {
        switch (operation) {
        case Profile:
            return QStringList("downloadProfileResponse(%1, profile)"_s.arg(status));
        case Password:
            return QStringList("changePasswordResponse(%1)"_s.arg(status));
        case UserName:
            return QStringList("userIdUpdateResponse(%1)"_s.arg(status));
        case Question:
            return QStringList("updateSecurityQuestionResponse(%1)"_s.arg(status));
        case Token:
            return QStringList("ensureTokenAvailableResponse(%1)"_s.arg(status));
        }
        return {};
    }

    /// Of the call after one whose request reached the service and whose answer did not come.
    static QStringList lineAfterALostAnswer(Operation operation)
    {
        // The service gives a name once, and it has done so.
        return line(operation, operation == UserName ? 526 : 0);
    }

    /// With a token at hand nobody would be asked for one. Where the user signed in stays known:
    /// without that no server is asked.
    static bool forgetToken()
    {
        const int identity = identityNumber();
        const QVariantMap kept = KelTest::KeptData::withSession(storedFor(identity), QVariantMap());
        return changeStored(identity, kept.firstKey(), kept.first());
    }
};

QTEST_MAIN(TestStoryOperations)
#include "tst_story_operations.moc"
