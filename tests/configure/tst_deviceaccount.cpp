// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/unfinishedwork.h"
#include "configure/identitytask.h"
#include "configure/kelconfigure.h"
#include "configure/kelconfigureaccount.h"
#include "configuresession.h"
#include "support/allaccounts.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/patience.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"

#include <Accounts/Account>
#include <Accounts/Manager>
#include <Accounts/Provider>

#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <memory>

using namespace KelTest;
using KelAccount::IdentityTask;
using KelAccount::KelConfigure;
using KelAccount::KelConfigureAccount;
using KelAccount::UnfinishedWork;

/// The account, as the accounts framework gives it.
class TestDeviceAccount : public QObject
{
    Q_OBJECT

public:
    explicit TestDeviceAccount(SessionSandbox& sandbox) : mSandbox(sandbox) {}

private Q_SLOTS:
    void init()
    {
        mConfigure = std::make_unique<KelConfigure>();
        QVERIFY(KelTest::removeAllAccounts());
    }

    void aThreadThatEndsKeepsNoDatabaseOpen_data()
    {
        QTest::addColumn<bool>("isRemoved");
        QTest::newRow("for an account on its way") << false;
        QTest::newRow("for a removal") << true;
    }

    // Before the others, of which each leaves the framework something to do.
    void aThreadThatEndsKeepsNoDatabaseOpen()
    {
        QFETCH(const bool, isRemoved);
        QVERIFY(create("n"_s, 7) > 0); // so that the database is there
        mConfigure.reset();
        QVERIFY(waitUntil([] { return openDatabases() == 0; }));
        int status = 0;
        const std::unique_ptr<QThread> thread(QThread::create([&status, isRemoved] {
            auto configure = std::make_unique<KelConfigure>();
            if (isRemoved)
                configure->removeAccount(7, nullptr);
            else
                status = configure->configureAccount("n"_s, 8);
            configure.reset();
            UnfinishedWork::finish(onABusyMachine);
        }));
        thread->start();
        QVERIFY(waitUntil([&] { return thread->isFinished(); }));
        QCOMPARE(status, 0);
        QVERIFY(waitUntil([] { return openDatabases() == 0; }));
    }

    // With what lasts as long, such as a sign-out's reservation of the accounts.
    void whatAThreadLeavesUndoneEndsWithIt()
    {
        for (const auto kind : {IdentityTask::Look, IdentityTask::Forget, IdentityTask::Remove}) {
            bool isGone = false;
            const std::unique_ptr<QThread> thread(QThread::create([&isGone, kind] {
                auto* const task = new IdentityTask(kind, 4711, onABusyMachine);
                connect(
                    task, &QObject::destroyed, task, [&isGone] { isGone = true; },
                    Qt::DirectConnection);
                task->start();
            }));
            thread->start();
            QVERIFY(thread->wait(onABusyMachine));
            QVERIFY(isGone);
        }
    }

    void theFrameworkKnowsProviderAndService()
    {
        const Accounts::Manager manager;
        const Accounts::Provider provider = manager.provider("zor"_s);
        QVERIFY(provider.isValid());
        QVERIFY(!provider.displayName().isEmpty());
        const Accounts::Service service = manager.service(ownSync());
        QVERIFY(service.isValid());
        QCOMPARE(service.serviceType(), "Sync"_s);
        QCOMPARE(service.provider(), "zor"_s);
    }

    void needsNoServices()
    {
        const QString folder = mSandbox.session().path("services"_s);
        QVERIFY(QDir().rename(folder, folder + "-away"_s));
        QVERIFY(QDir().mkdir(folder));
        const int id = create();
        const QList<QVariantList> written = globalSettings();
        const QList<QVariantList> ofServices =
            mSandbox.accounts("select * from settings where service != 0"_s);
        QVERIFY(QDir().rmdir(folder));
        QVERIFY(QDir().rename(folder + "-away"_s, folder));
        QVERIFY(id > 0);
        QCOMPARE(written.size(), 12);
        QCOMPARE(ofServices, QList<QVariantList>());
    }

    void choosesServices()
    {
        Accounts::Manager manager;
        const std::unique_ptr<Accounts::Account> account(manager.createAccount("zor"_s));
        const KelConfigureAccount context(account.get(), AccountsUI::CreateNew, QString(), 1,
                                          nullptr);
        QVERIFY(!context.enableService(nullptr));
        const Accounts::Service none;
        QVERIFY(!context.enableService(&none));
        const Accounts::Service own = manager.service(ownSync());
        QVERIFY(!context.enableService(&own));
        const Accounts::Service otherSync = manager.service("zor-backup"_s);
        QCOMPARE(otherSync.serviceType(), "Sync"_s);
        QVERIFY(context.enableService(&otherSync));
        const Accounts::Service chat = manager.service("zor-im"_s);
        QVERIFY(context.enableService(&chat));
    }

    void keepsALargeCredentialsId()
    {
        const unsigned largest = 0xffffffffU;
        QVERIFY(create("n"_s, largest) > 0);
        const Accounts::Manager manager;
        const Accounts::AccountIdList ids = manager.accountList();
        QCOMPARE(ids.size(), 1);
        QCOMPARE(manager.account(ids.at(0))->credentialsId(), largest);
    }

    void anotherProvidersAccountIsNotPresent()
    {
        Accounts::Manager manager;
        const std::unique_ptr<Accounts::Account> account(manager.createAccount("zor-not"_s));
        account->setEnabled(true);
        QVERIFY(account->syncAndBlock());
        QVERIFY(!mConfigure->isKelAccountPresent());
    }

    void whatRemovesADeviceAccountBelongsToNoOtherThread()
    {
        const MessageLog log;
        bool isRemoved = false;
        const std::unique_ptr<QThread> thread(QThread::create([&isRemoved] {
            KelConfigure configure(nullptr);
            configure.removeAccount(7, [&isRemoved] { isRemoved = true; });
        }));
        thread->start();
        QVERIFY(thread->wait(10000));
        QVERIFY(isRemoved);
        QCOMPARE(log.all(), QStringList());
    }

    void nothingIsLoggedOfWhatGoesWell()
    {
        const MessageLog log;
        QSignalSpy accounts(mConfigure.get(), &KelConfigure::configureAccountStatus);
        QSignalSpy identities(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus);
        QCOMPARE(mConfigure->storeUserCredentials("user"_s, "password"_s), 0);
        QVERIFY(waitUntil([&identities] { return !identities.isEmpty(); }));
        const unsigned id = identities.at(0).at(1).toUInt();
        QCOMPARE(mConfigure->configureAccount("n"_s, id), 0);
        QVERIFY(waitUntil([&accounts] { return !accounts.isEmpty(); }));
        bool isRemoved = false;
        mConfigure->removeAccount(
            id, [&] { mConfigure->removeIdentity(id, [&isRemoved] { isRemoved = true; }); });
        QVERIFY(waitUntil([&isRemoved] { return isRemoved; }));
        QCOMPARE(log.all().filter(QRegularExpression("^[WC] "_s)), QStringList());
    }

    /// Whoever hears of it may stay in the slot for longer than storing may take.
    void aStoredAccountIsReportedOnce()
    {
        constexpr int patienceMs = 500;
        mConfigure->setAccountTimeout(patienceMs);
        QSignalSpy reports(mConfigure.get(), &KelConfigure::configureAccountStatus);
        connect(mConfigure.get(), &KelConfigure::configureAccountStatus, this, [] {
            QEventLoop box;
            QTimer::singleShot(2 * patienceMs, &box, &QEventLoop::quit);
            box.exec();
        });
        // In an event loop, as in an application: what is to be deleted later stays until the slot
        // returns.
        QEventLoop loop;
        connect(mConfigure.get(), &KelConfigure::configureAccountStatus, &loop, &QEventLoop::quit);
        QCOMPARE(mConfigure->configureAccount("n"_s, 1), 0);
        loop.exec();
        QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{true}}));
    }

    /// Nor does the framework store it when the database is free again, whatever the application
    /// does with the answer.
    void anAccountThatIsGivenUpIsReportedOnceAndNeverStored()
    {
        QSignalSpy reports(mConfigure.get(), &KelConfigure::configureAccountStatus);
        QVERIFY(create() > 0); // so that the database is there
        QVERIFY(waitUntil([&reports] { return reports.size() == 1; }));
        reports.clear();
        auto lock = std::make_unique<SqliteLock>(mSandbox.session().path("accounts/accounts.db"_s));
        QVERIFY(lock->isHeld());
        mConfigure->setAccountTimeout(100);
        connect(mConfigure.get(), &KelConfigure::configureAccountStatus, this, [&lock] {
            lock.reset();
            QEventLoop box;
            QTimer::singleShot(500, &box, &QEventLoop::quit);
            box.exec();
        });
        QEventLoop loop;
        connect(mConfigure.get(), &KelConfigure::configureAccountStatus, &loop, &QEventLoop::quit);
        QCOMPARE(mConfigure->configureAccount("n"_s, 1), 0);
        loop.exec();
        QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{false}}));
        QCOMPARE(mSandbox.accounts("select name from accounts"_s),
                 QList<QVariantList>({{"The Name"_s}}));
    }

    void aRemovalThatIsGivenUpIsNotDoneLater()
    {
        QVERIFY(create("n"_s, 7) > 0);
        const MessageLog log;
        auto lock = std::make_unique<SqliteLock>(mSandbox.session().path("accounts/accounts.db"_s));
        QVERIFY(lock->isHeld());
        mConfigure->setAccountTimeout(100);
        QEventLoop loop;
        mConfigure->removeAccount(7, [&lock, &loop] {
            lock.reset();
            QEventLoop box;
            QTimer::singleShot(500, &box, &QEventLoop::quit);
            box.exec();
            loop.quit();
        });
        loop.exec();
        QCOMPARE(log.all().filter("could not be removed"_s).size(), 1);
        QVERIFY(mConfigure->isKelAccountPresent());
    }

    /// The framework writes at once and says so from the event loop.
    void whatIsWrittenIsWrittenHoweverLateTheEventLoopIs()
    {
        constexpr int patienceMs = 1;
        mConfigure->setAccountTimeout(patienceMs);
        QSignalSpy reports(mConfigure.get(), &KelConfigure::configureAccountStatus);
        QCOMPARE(mConfigure->configureAccount("n"_s, 7), 0);
        QThread::msleep(2 * patienceMs);
        QVERIFY(waitUntil([&reports] { return !reports.isEmpty(); }));
        QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{true}}));
        QVERIFY(mConfigure->isKelAccountPresent());
        const MessageLog log;
        bool isOver = false;
        mConfigure->removeAccount(7, [&isOver] { isOver = true; });
        QThread::msleep(2 * patienceMs);
        QVERIFY(waitUntil([&isOver] { return isOver; }));
        QCOMPARE(log.all().filter(QRegularExpression("^[WC] "_s)), QStringList());
        QVERIFY(!mConfigure->isKelAccountPresent());
    }

    // What is heard of an account comes from outside of Qt's loop.
    void aThreadThatEndsWaitsForARemovalAndNoLonger()
    {
        QVERIFY(create("n"_s, 7) > 0);
        bool began = false;
        bool ended = false;
        const std::unique_ptr<QThread> thread(QThread::create([&began, &ended] {
            std::make_unique<KelConfigure>()->removeAccount(7, nullptr);
            began = UnfinishedWork::isUnderWay();
            UnfinishedWork::finish(onABusyMachine);
            ended = !UnfinishedWork::isUnderWay();
        }));
        thread->start();
        QVERIFY(waitUntil([&] { return thread->isFinished(); }));
        QVERIFY(began);
        QVERIFY(ended);
        QVERIFY(!mConfigure->isKelAccountPresent());
    }

    void theSetUpContextHasNoUserInterface()
    {
        Accounts::Manager manager;
        const std::unique_ptr<Accounts::Account> account(manager.createAccount("zor"_s));
        KelConfigureAccount context(account.get(), AccountsUI::CreateNew, "n"_s, 1, account.get());
        QVERIFY(!context.widget(nullptr));
        QCOMPARE(context.account(), account.get());
        QCOMPARE(int(context.setupType()), 0);
        context.validate();
        context.abort();
        context.store();
        QCOMPARE(account->displayName(), "n"_s);
    }

private:
    /// Of this process.
    static int openDatabases()
    {
        const QFileInfoList descriptors = QDir("/proc/self/fd"_s).entryInfoList(QDir::Files);
        return int(std::count_if(descriptors.begin(), descriptors.end(), [](const QFileInfo& one) {
            return one.symLinkTarget().endsWith("/accounts.db"_s);
        }));
    }

    /// The id of the account, once it is in the database; 0 if it does not come.
    int create(const QString& name = "The Name"_s, unsigned credentials = 17)
    {
        if (mConfigure->configureAccount(name, credentials) != 0)
            return 0;
        const auto id = [this] {
            return mSandbox.accounts("select max(id) from accounts"_s).value(0).value(0).toInt();
        };
        waitUntil([&id] { return id() > 0; });
        return id();
    }

    QList<QVariantList> globalSettings() const
    {
        return mSandbox.accounts(
            "select key, type, value from settings where service = 0 order by key"_s);
    }

    SessionSandbox& mSandbox;
    std::unique_ptr<KelConfigure> mConfigure;
};

namespace {

int runDeviceAccount(int argc, char** argv)
{
    return runInSession<TestDeviceAccount>(argc, argv, installAccountFiles);
}

} // namespace

KEL_TEST_MAIN(runDeviceAccount)

#include "tst_deviceaccount.moc"
