// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/kelconfigure.h"
#include "configure/kelconfigureaccount.h"
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
    return qEnvironmentVariable("ACCOUNTS") + QLatin1String("/accounts.db");
}

} // namespace

/// The account, as the accounts database keeps it.
class TestDeviceAccount : public QObject
{
    Q_OBJECT

public:
    explicit TestDeviceAccount(SessionSandbox& sandbox) : mSandbox(sandbox) {}

private Q_SLOTS:
    void init();
    void theFrameworkKnowsProviderAndService();
    void writesTheSettingsWithTheirTypes();
    void namesAndEnablesTheAccount();
    void switchesOnlyItsOwnSynchronisationOff();
    void needsNoServices();
    void choosesServices();
    void keepsALargeCredentialsId();
    void isPresentWhetherEnabledOrNot();
    void anotherProvidersAccountIsNotPresent();
    void nothingIsLeftOfTheCreation();
    void theCreatorMayGoAtOnce();
    void theAccountIsThereWhenItIsReported();
    void aStoredAccountIsReportedOnce();
    void aLockedDatabaseIsWaitedFor();
    void aDatabaseThatStaysLockedIsReported();
    void anAccountThatCannotBeWrittenIsReported();
    void aBrokenDatabaseIsReported();
    void theSetUpContextHasNoUserInterface();

private:
    int create(const QString& name = QStringLiteral("The Name"), unsigned credentials = 17);
    QList<QVariantList> globalSettings() const;

    SessionSandbox& mSandbox;
    std::unique_ptr<KelConfigure> mConfigure;
    QObjectList mOwnChildren; // before anything was asked of it
};

void TestDeviceAccount::init()
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

/// The id of the account, once it is in the database; 0 if it does not come.
int TestDeviceAccount::create(const QString& name, unsigned credentials)
{
    if (mConfigure->configureAccount(name, credentials) != 0)
        return 0;
    const auto id = [this] {
        return mSandbox.accounts(QStringLiteral("select max(id) from accounts"))
            .value(0)
            .value(0)
            .toInt();
    };
    waitUntil([&id] { return id() > 0; });
    return id();
}

QList<QVariantList> TestDeviceAccount::globalSettings() const
{
    return mSandbox.accounts(
        QStringLiteral("select key, type, value from settings where service = 0 order by key"));
}

void TestDeviceAccount::theFrameworkKnowsProviderAndService()
{
    const Accounts::Manager manager;
    const Accounts::Provider provider = manager.provider(QStringLiteral("zor"));
    QVERIFY(provider.isValid());
    QVERIFY(!provider.displayName().isEmpty());
    const Accounts::Service service = manager.service(ownSync);
    QVERIFY(service.isValid());
    QCOMPARE(service.serviceType(), QStringLiteral("Sync"));
    QCOMPARE(service.provider(), QStringLiteral("zor"));
}

void TestDeviceAccount::writesTheSettingsWithTheirTypes()
{
    QVERIFY(create() > 0);
    QList<QVariantList> expected;
    for (const StoredSetting& setting : settings)
        expected.append({QString::fromLatin1(setting.key), QString::fromLatin1(setting.type),
                         QString::fromLatin1(setting.value)});
    QCOMPARE(globalSettings(), expected);
}

void TestDeviceAccount::namesAndEnablesTheAccount()
{
    const int id = create(QStringLiteral("Näme \"quoted\" <&>"));
    QVERIFY(id > 0);
    QCOMPARE(
        mSandbox.accounts(QStringLiteral("select name, provider, enabled from accounts")),
        QList<QVariantList>({{QStringLiteral("Näme \"quoted\" <&>"), QStringLiteral("zor"), 1LL}}));
}

void TestDeviceAccount::switchesOnlyItsOwnSynchronisationOff()
{
    QVERIFY(create() > 0);
    QCOMPARE(mSandbox.accounts(QStringLiteral(
                 "select services.name, settings.value from settings join services on "
                 "services.id = settings.service where settings.key = 'enabled' and "
                 "settings.type = 'b' order by services.name")),
             QList<QVariantList>({{ownSync, QStringLiteral("false")},
                                  {QStringLiteral("zor-backup"), QStringLiteral("true")},
                                  {QStringLiteral("zor-im"), QStringLiteral("true")}}));
}

void TestDeviceAccount::needsNoServices()
{
    const QString folder = mSandbox.session().path(QStringLiteral("services"));
    QVERIFY(QDir().rename(folder, folder + QStringLiteral("-away")));
    QVERIFY(QDir().mkdir(folder));
    const int id = create();
    const QList<QVariantList> written = globalSettings();
    const QList<QVariantList> ofServices =
        mSandbox.accounts(QStringLiteral("select * from settings where service != 0"));
    QVERIFY(QDir().rmdir(folder));
    QVERIFY(QDir().rename(folder + QStringLiteral("-away"), folder));
    QVERIFY(id > 0);
    QCOMPARE(written.size(), 12);
    QCOMPARE(ofServices, QList<QVariantList>());
}

void TestDeviceAccount::choosesServices()
{
    Accounts::Manager manager;
    const std::unique_ptr<Accounts::Account> account(manager.createAccount(QStringLiteral("zor")));
    const KelConfigureAccount context(account.get(), AccountsUI::CreateNew, QString(), 1, nullptr);
    QVERIFY(!context.enableService(nullptr));
    const Accounts::Service none;
    QVERIFY(!context.enableService(&none));
    const Accounts::Service own = manager.service(ownSync);
    QVERIFY(!context.enableService(&own));
    const Accounts::Service otherSync = manager.service(QStringLiteral("zor-backup"));
    QCOMPARE(otherSync.serviceType(), QStringLiteral("Sync"));
    QVERIFY(context.enableService(&otherSync));
    const Accounts::Service chat = manager.service(QStringLiteral("zor-im"));
    QVERIFY(context.enableService(&chat));
}

void TestDeviceAccount::keepsALargeCredentialsId()
{
    const unsigned largest = 0xffffffffU;
    QVERIFY(create(QStringLiteral("n"), largest) > 0);
    const Accounts::Manager manager;
    const Accounts::AccountIdList ids = manager.accountList();
    QCOMPARE(ids.size(), 1);
    QCOMPARE(manager.account(ids.at(0))->credentialsId(), largest);
}

void TestDeviceAccount::isPresentWhetherEnabledOrNot()
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
    QCOMPARE(mSandbox.accounts(QStringLiteral("select enabled from accounts")),
             QList<QVariantList>({{0LL}}));
    QVERIFY(mConfigure->isKelAccountPresent());
}

void TestDeviceAccount::anotherProvidersAccountIsNotPresent()
{
    Accounts::Manager manager;
    const std::unique_ptr<Accounts::Account> account(
        manager.createAccount(QStringLiteral("zor-not")));
    account->setEnabled(true);
    QVERIFY(account->syncAndBlock());
    QVERIFY(!mConfigure->isKelAccountPresent());
}

void TestDeviceAccount::nothingIsLeftOfTheCreation()
{
    for (int i = 0; i < 3; ++i)
        QCOMPARE(mConfigure->configureAccount(QStringLiteral("n"), 1), 0);
    QVERIFY(waitUntil([this] { return mConfigure->findChildren<QObject*>() == mOwnChildren; }));
    QCOMPARE(mSandbox.accounts(QStringLiteral("select count(*) from accounts")),
             QList<QVariantList>({{3LL}}));
}

void TestDeviceAccount::theCreatorMayGoAtOnce()
{
    QCOMPARE(mConfigure->configureAccount(QStringLiteral("n"), 1), 0);
    mConfigure.reset();
    QVERIFY(waitUntil([this] {
        return mSandbox.accounts(QStringLiteral("select count(*) from accounts")) ==
               QList<QVariantList>({{1LL}});
    }));
    waitUntil([] { return false; }, 50);
}

void TestDeviceAccount::theAccountIsThereWhenItIsReported()
{
    QSignalSpy reports(mConfigure.get(), &KelConfigure::configureAccountStatus);
    QCOMPARE(mConfigure->configureAccount(QStringLiteral("n"), 1), 0);
    QCOMPARE(reports.size(), 0);
    QVERIFY(waitUntil([&] { return !reports.isEmpty(); }));
    QCOMPARE(mSandbox.accounts(QStringLiteral("select name from accounts")),
             QList<QVariantList>({{QStringLiteral("n")}}));
    waitUntil([] { return false; }, 50);
    QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{true}}));
}

void TestDeviceAccount::aLockedDatabaseIsWaitedFor()
{
    QSignalSpy reports(mConfigure.get(), &KelConfigure::configureAccountStatus);
    auto otherProgram = std::make_unique<SqliteLock>(databaseFile());
    QVERIFY(otherProgram->isHeld());
    QCOMPARE(mConfigure->configureAccount(QStringLiteral("n"), 1), 0);
    waitUntil([] { return false; }, 100);
    QCOMPARE(reports.size(), 0);
    otherProgram.reset();
    QVERIFY(waitUntil([&] { return !reports.isEmpty(); }));
    QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{true}}));
}

/// Whoever hears of it may stay in the slot for longer than storing may take.
void TestDeviceAccount::aStoredAccountIsReportedOnce()
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
    QCOMPARE(mConfigure->configureAccount(QStringLiteral("n"), 1), 0);
    loop.exec();
    QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{true}}));
}

void TestDeviceAccount::aDatabaseThatStaysLockedIsReported()
{
    QSignalSpy reports(mConfigure.get(), &KelConfigure::configureAccountStatus);
    auto otherProgram = std::make_unique<SqliteLock>(databaseFile());
    QVERIFY(otherProgram->isHeld());
    mConfigure->setAccountTimeout(100);
    const MessageLog log;
    QCOMPARE(mConfigure->configureAccount(QStringLiteral("n"), 1), 0);
    QVERIFY(waitUntil([&] { return !reports.isEmpty(); }));
    otherProgram.reset();
    QVERIFY(log.hasCritical("The accounts database did not take the account in time"));
    QVERIFY(waitUntil([this] { return mConfigure->findChildren<QObject*>() == mOwnChildren; }));
    waitUntil([] { return false; }, 200);
    QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{false}}));
    QCOMPARE(mSandbox.accounts(QStringLiteral("select * from accounts")), QList<QVariantList>());
}

void TestDeviceAccount::anAccountThatCannotBeWrittenIsReported()
{
    QSignalSpy reports(mConfigure.get(), &KelConfigure::configureAccountStatus);
    QVERIFY(sqliteChange(databaseFile(),
                         QStringLiteral("create trigger full before insert on Accounts "
                                        "begin select raise(abort, 'disk full'); end")));
    const int created = mConfigure->configureAccount(QStringLiteral("n"), 1);
    const bool reported = waitUntil([&] { return !reports.isEmpty(); });
    QVERIFY(sqliteChange(databaseFile(), QStringLiteral("drop trigger full")));
    QCOMPARE(created, 0);
    QVERIFY(reported);
    QCOMPARE(QList<QVariantList>(reports), QList<QVariantList>({{false}}));
    QCOMPARE(mSandbox.accounts(QStringLiteral("select * from accounts")), QList<QVariantList>());
    QVERIFY(waitUntil([this] { return mConfigure->findChildren<QObject*>() == mOwnChildren; }));
}

void TestDeviceAccount::aBrokenDatabaseIsReported()
{
    const QByteArray folder = qgetenv("ACCOUNTS");
    qputenv("ACCOUNTS", "/proc/nonexistent");
    const MessageLog log;
    const bool present = mConfigure->isKelAccountPresent();
    const int created = mConfigure->configureAccount(QStringLiteral("n"), 1);
    qputenv("ACCOUNTS", folder);
    QVERIFY(!present);
    QCOMPARE(created, -1);
    QVERIFY(log.hasCritical("Failed to get manager"));
    QVERIFY(log.hasCritical("Failed to get account manager instance"));
    QVERIFY(mConfigure->findChildren<QObject*>() == mOwnChildren);
}

void TestDeviceAccount::theSetUpContextHasNoUserInterface()
{
    Accounts::Manager manager;
    const std::unique_ptr<Accounts::Account> account(manager.createAccount(QStringLiteral("zor")));
    KelConfigureAccount context(account.get(), AccountsUI::CreateNew, QStringLiteral("n"), 1,
                                account.get());
    QVERIFY(!context.widget(nullptr));
    QCOMPARE(context.account(), account.get());
    QCOMPARE(int(context.setupType()), 0);
    context.validate();
    context.abort();
    context.store();
    QCOMPARE(account->displayName(), QStringLiteral("n"));
}

int main(int argc, char** argv)
{
    return runInSession<TestDeviceAccount>(argc, argv, [](KelEmulator::Sandbox& session) {
        const QDir files(QStringLiteral(KELACCOUNT_TEST_ACCOUNT_FILES));
        session.addProvider(files.filePath(QStringLiteral("providers/zor.provider")));
        session.addService(files.filePath(QStringLiteral("services/%1.service").arg(ownSync)));
        session.addService(QFINDTESTDATA("data/zor-backup.service"));
        session.addService(QFINDTESTDATA("data/zor-im.service"));
    });
}

#include "tst_deviceaccount.moc"
