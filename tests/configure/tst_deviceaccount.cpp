// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/kelconfigure.h"
#include "configure/kelconfigureaccount.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"

#include <Accounts/Account>
#include <Accounts/Manager>
#include <Accounts/Provider>

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QSignalSpy>
#include <QTimer>

#include <memory>

using namespace KelTest;
using KelAccount::KelConfigure;
using KelAccount::KelConfigureAccount;

namespace {

const QString ownSync = QStringLiteral(KELACCOUNT_TEST_SERVICE_DOMAIN);

struct StoredSetting
{
    const char* key;
    const char* type; // a D-Bus signature
    const char* value;
};

/// As the accounts database writes them: a type and a text. "name" and "enabled" are the
/// framework's own keys.
const StoredSetting settings[] = {
    {"CredentialsId", "i", "17"},
    {"SyncTarget", "s", "'Zor'"},
    {"enabled", "b", "true"},
    {"name", "s", "'The Name'"},
    {"scheduler/schedule_enabled", "b", "false"},
    {"scheduler/schedule_off_peak", "i", "-1"},
    {"scheduler/schedule_offpeak_enabled", "b", "false"},
    {"scheduler/schedule_peak", "i", "60"},
    {"scheduler/schedule_peak_days", "i", "31"},
    {"scheduler/schedule_peak_enabled", "b", "true"},
    {"scheduler/schedule_peak_end_time", "i", "1020"},
    {"scheduler/schedule_peak_start_time", "i", "540"},
};

QString databaseFile()
{
    return qEnvironmentVariable("ACCOUNTS") + "/accounts.db"_s;
}

} // namespace

/// The account, as the accounts database keeps it.
class TestDeviceAccount : public QObject
{
    Q_OBJECT

public:
    explicit TestDeviceAccount(SessionSandbox& sandbox) : mSandbox(sandbox) {}

private Q_SLOTS:
    void init()
    {
        mConfigure = std::make_unique<KelConfigure>();
        mOwnChildren = mConfigure->findChildren<QObject*>();
        Accounts::Manager manager;
        const Accounts::AccountIdList ids = manager.accountList();
        for (const Accounts::AccountId id : ids) {
            Accounts::Account* const account = manager.account(id);
            account->remove();
            QVERIFY(account->syncAndBlock());
        }
    }

    void theFrameworkKnowsProviderAndService()
    {
        const Accounts::Manager manager;
        const Accounts::Provider provider = manager.provider("zor"_s);
        QVERIFY(provider.isValid());
        QVERIFY(!provider.displayName().isEmpty());
        const Accounts::Service service = manager.service(ownSync);
        QVERIFY(service.isValid());
        QCOMPARE(service.serviceType(), "Sync"_s);
        QCOMPARE(service.provider(), "zor"_s);
    }

    void writesTheSettingsWithTheirTypes()
    {
        QVERIFY(create() > 0);
        QList<QVariantList> expected;
        for (const StoredSetting& setting : settings)
            expected.append({QString::fromLatin1(setting.key), QString::fromLatin1(setting.type),
                             QString::fromLatin1(setting.value)});
        QCOMPARE(globalSettings(), expected);
    }

    void namesAndEnablesTheAccount()
    {
        const int id = create("Näme \"quoted\" <&>"_s);
        QVERIFY(id > 0);
        QCOMPARE(mSandbox.accounts("select name, provider, enabled from accounts"_s),
                 QList<QVariantList>({{"Näme \"quoted\" <&>"_s, "zor"_s, 1LL}}));
    }

    void switchesOnlyItsOwnSynchronisationOff()
    {
        QVERIFY(create() > 0);
        QCOMPARE(
            mSandbox.accounts("select services.name, settings.value from settings join services on "
                              "services.id = settings.service where settings.key = 'enabled' and "
                              "settings.type = 'b' order by services.name"_s),
            QList<QVariantList>(
                {{ownSync, "false"_s}, {"zor-backup"_s, "true"_s}, {"zor-im"_s, "true"_s}}));
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
        const Accounts::Service own = manager.service(ownSync);
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

    void isPresentWhetherEnabledOrNot()
    {
        QVERIFY(!mConfigure->isKelAccountPresent());
        QVERIFY(create() > 0);
        QVERIFY(mConfigure->isKelAccountPresent());
        {
            const Accounts::Manager manager;
            Accounts::Account* const account = manager.account(manager.accountList().at(0));
            account->selectService();
            account->setEnabled(false);
            QVERIFY(account->syncAndBlock());
        }
        QCOMPARE(mSandbox.accounts("select enabled from accounts"_s), QList<QVariantList>({{0LL}}));
        QVERIFY(mConfigure->isKelAccountPresent());
    }

    void anotherProvidersAccountIsNotPresent()
    {
        Accounts::Manager manager;
        const std::unique_ptr<Accounts::Account> account(manager.createAccount("zor-not"_s));
        account->setEnabled(true);
        QVERIFY(account->syncAndBlock());
        QVERIFY(!mConfigure->isKelAccountPresent());
    }

    void nothingIsLeftOfTheCreation()
    {
        for (int i = 0; i < 3; ++i)
            QCOMPARE(mConfigure->configureAccount("n"_s, 1), 0);
        QVERIFY(waitUntil([this] { return mConfigure->findChildren<QObject*>() == mOwnChildren; }));
        QCOMPARE(mSandbox.accounts("select count(*) from accounts"_s),
                 QList<QVariantList>({{3LL}}));
    }

    void theCreatorMayGoAtOnce()
    {
        QCOMPARE(mConfigure->configureAccount("n"_s, 1), 0);
        mConfigure.reset();
        QVERIFY(waitUntil([this] {
            return mSandbox.accounts("select count(*) from accounts"_s) ==
                   QList<QVariantList>({{1LL}});
        }));
        waitUntil([] { return false; }, 50);
    }

    void theAccountIsThereWhenItIsReported()
    {
        QSignalSpy reports(mConfigure.get(), &KelConfigure::configureAccountStatus);
        QCOMPARE(mConfigure->configureAccount("n"_s, 1), 0);
        QCOMPARE(reports.size(), 0);
        QVERIFY(waitUntil([&] { return !reports.isEmpty(); }));
        QCOMPARE(mSandbox.accounts("select name from accounts"_s), QList<QVariantList>({{"n"_s}}));
        waitUntil([] { return false; }, 50);
        QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{true}}));
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

    void aLockedDatabaseIsWaitedFor()
    {
        QSignalSpy reports(mConfigure.get(), &KelConfigure::configureAccountStatus);
        auto otherProgram = std::make_unique<SqliteLock>(databaseFile());
        QVERIFY(otherProgram->isHeld());
        QCOMPARE(mConfigure->configureAccount("n"_s, 1), 0);
        waitUntil([] { return false; }, 100);
        QCOMPARE(reports.size(), 0);
        otherProgram.reset();
        QVERIFY(waitUntil([&] { return !reports.isEmpty(); }));
        QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{true}}));
    }

    void aDatabaseThatStaysLockedIsReported()
    {
        QSignalSpy reports(mConfigure.get(), &KelConfigure::configureAccountStatus);
        auto otherProgram = std::make_unique<SqliteLock>(databaseFile());
        QVERIFY(otherProgram->isHeld());
        mConfigure->setAccountTimeout(100);
        const MessageLog log;
        QCOMPARE(mConfigure->configureAccount("n"_s, 1), 0);
        QVERIFY(waitUntil([&] { return !reports.isEmpty(); }));
        otherProgram.reset();
        QVERIFY(log.hasCritical("The accounts database did not take the account in time"));
        QVERIFY(waitUntil([this] { return mConfigure->findChildren<QObject*>() == mOwnChildren; }));
        waitUntil([] { return false; }, 200);
        QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{false}}));
        QCOMPARE(mSandbox.accounts("select * from accounts"_s), QList<QVariantList>());
    }

    void anAccountThatCannotBeWrittenIsReported()
    {
        QSignalSpy reports(mConfigure.get(), &KelConfigure::configureAccountStatus);
        QVERIFY(sqliteChange(databaseFile(), "create trigger full before insert on Accounts "
                                             "begin select raise(abort, 'disk full'); end"_s));
        const int created = mConfigure->configureAccount("n"_s, 1);
        const bool reported = waitUntil([&] { return !reports.isEmpty(); });
        QVERIFY(sqliteChange(databaseFile(), "drop trigger full"_s));
        QCOMPARE(created, 0);
        QVERIFY(reported);
        QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{false}}));
        QCOMPARE(mSandbox.accounts("select * from accounts"_s), QList<QVariantList>());
        QVERIFY(waitUntil([this] { return mConfigure->findChildren<QObject*>() == mOwnChildren; }));
    }

    void aBrokenDatabaseIsReported()
    {
        const QByteArray folder = qgetenv("ACCOUNTS");
        qputenv("ACCOUNTS", "/proc/nonexistent");
        const MessageLog log;
        const bool present = mConfigure->isKelAccountPresent();
        const int created = mConfigure->configureAccount("n"_s, 1);
        qputenv("ACCOUNTS", folder);
        QVERIFY(!present);
        QCOMPARE(created, -1);
        QVERIFY(log.hasCritical("Failed to get manager"));
        QVERIFY(log.hasCritical("Failed to get account manager instance"));
        QVERIFY(mConfigure->findChildren<QObject*>() == mOwnChildren);
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
    QObjectList mOwnChildren; // before anything was asked of it
};

int main(int argc, char** argv)
{
    return runInSession<TestDeviceAccount>(argc, argv, [](KelEmulator::Sandbox& session) {
        const QDir files(QStringLiteral(KELACCOUNT_TEST_ACCOUNT_FILES));
        session.addProvider(files.filePath("providers/zor.provider"_s));
        session.addService(files.filePath("services/%1.service"_s.arg(ownSync)));
        session.addService(QFINDTESTDATA("data/zor-backup.service"));
        session.addService(QFINDTESTDATA("data/zor-im.service"));
    });
}

#include "tst_deviceaccount.moc"
