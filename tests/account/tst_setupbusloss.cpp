// SPDX-License-Identifier: LGPL-2.1-or-later
// The session bus ends. A process keeps the connection that it made first and does not get another,
// so the order of these tests matters, and each run has one end: at rest or in a set-up's request.
#include "account/accountfixture.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/sqlitechange.h"

#include <csignal>

using namespace KelTest;
using facadecalls::failure;
using facadecalls::line;

class TestSetUpBusLoss : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(reset());
        makeFacade();
    }

    void theBusEnds()
    {
        const QString moment = qEnvironmentVariable("KEL_BUS_ENDS_IN_SET_UP");
        if (moment.isEmpty()) {
            QVERIFY(endBus());
            letPass(100);
            QCOMPARE(lines(), QStringList());
            return;
        }
        const SetUp setUp = facadecalls::setUps().at(moment == QLatin1String("register") ? 1 : 0);
        QCOMPARE(moment, text(setUp.name));
        mSandbox.script({{text(setUp.mechanism), PluginStep::Hang}});
        bool ended = false;
        whenAsked(text(setUp.mechanism), [&] { ended = endBus(); });
        setUp.start(*mAccounts, true);
        QVERIFY(answersOnce());
        QVERIFY(ended);
        // The sign-on library's "internal communication"; or, of a daemon that was quicker to end
        // than the news of the bus, its "cancelled".
        QVERIFY2(lines() == QStringList(failure(setUp, 3)) ||
                     lines() == QStringList(failure(setUp, 311)),
                 qPrintable(lines().join(QLatin1Char(';'))));
        QCOMPARE(deviceAccounts(), QList<QVariantList>());
    }

    void withoutABusASetUpIsRefusedAtOnce_data() { setUpRows(); }
    void withoutABusASetUpIsRefusedAtOnce()
    {
        const SetUp setUp = setUpOfTheRow();
        const int before = identities().size();
        for (int attempt = 0; attempt < 2; ++attempt) { // the first leaves no set-up under way
            mRecorder->clear();
            const MessageLog log;
            setUp.start(*mAccounts, true);
            QVERIFY(log.hasCritical(setUp.notStored));
            QCOMPARE(lines(), QStringList());
            COMPARE_ANSWER(failure(setUp, 800));
        }
        QCOMPARE(identities().size(), before);
        QCOMPARE(deviceAccounts(), QList<QVariantList>());
    }

    void withoutABusThereIsNoSession_data() { operationRows(); }
    void withoutABusThereIsNoSession()
    {
        const Operation operation = operationOfTheRow();
        // By hand, because the accounts framework does not write without a bus.
        const QString database = mSandbox.session().path("accounts/accounts.db"_s);
        QVERIFY(sqliteChange(
            database, "INSERT INTO Accounts (name, provider, enabled) VALUES ('n', 'zor', 1);"
                      "INSERT INTO Settings (account, service, key, type, value) "
                      "VALUES (last_insert_rowid(), 0, 'CredentialsId', 'i', '17')"_s));
        mRecorder->clear();
        const MessageLog log;
        operation.call(*mAccounts);
        QCOMPARE(lines(), QStringList());
        COMPARE_ANSWER(line(operation.refusal, 806));
        QVERIFY(log.hasCritical("There is no session bus to reach the sign-on daemon through"));
        QVERIFY(sqliteChange(database, "DELETE FROM Settings; DELETE FROM Accounts"_s));
    }

    void withoutABusCloseAnswersAllTheSame()
    {
        mRecorder->clear();
        mAccounts->close();
        QCOMPARE(lines(), QStringList("closeResponse(0)"_s));
        endFacade();
    }

private:
    bool endBus()
    {
        const qint64 bus = mSandbox.session().busProcessId();
        return bus > 1 && ::kill(static_cast<pid_t>(bus), SIGKILL) == 0;
    }
};

KEL_TEST_IN_SESSION(TestSetUpBusLoss)
#include "tst_setupbusloss.moc"
