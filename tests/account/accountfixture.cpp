// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/accountfixture.h"

#include "account/fakeresthandler.h"
#include "configure/kelconfigure.h"
#include "platform/fakemodem.h"

#include <Accounts/Account>
#include <Accounts/Manager>

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QSignalSpy>
#include <QTimer>

#include <csignal>

using namespace KelTest;
using sessionoperations::text;

bool AccountFixture::reset()
{
    endFacade();
    FakeModem::reset();
    FakeRestHandler::reset();
    mTagServer.reset(); // before the next takes its name
    mTagServer = std::make_unique<ThreadTagServer>(QByteArray("\x01tag"));
    if (!mSandbox.startDaemon() || !removeDeviceAccounts())
        return false;
    mNewestBefore = storeIdentity();
    mSandbox.script(succeeding());
    return mNewestBefore > 0 && mTagServer->isReady();
}

bool AccountFixture::resetForSignedInUser()
{
    if (!reset())
        return false;
    mCredentials = storeIdentity();
    mSandbox.script({});
    makeFacade();
    return mCredentials > 0 && createDeviceAccount(mCredentials);
}

void AccountFixture::makeFacade(bool initialized)
{
    mAccounts = std::make_unique<KelAccounts>();
    if (initialized)
        mAccounts->initialize(text("the-consumer-key"), text("the-consumer-secret"), 2,
                              text("the-service"), {});
    mRecorder = std::make_unique<FacadeRecorder>(mAccounts.get());
}

void AccountFixture::endFacade()
{
    mAccounts.reset();
    mRecorder.reset();
}

quint32 AccountFixture::storeIdentity()
{
    KelAccount::KelConfigure store;
    QSignalSpy stored(&store, &KelAccount::KelConfigure::storeUserCredentialsStatus);
    store.storeUserCredentials(text("earlier"), text("the-earlier-password"));
    waitUntil([&] { return !stored.isEmpty(); });
    return stored.value(0).value(1).toUInt();
}

bool AccountFixture::createDeviceAccount(quint32 credentials, bool enabled)
{
    Accounts::Manager manager;
    const std::unique_ptr<Accounts::Account> account(manager.createAccount(text("zor")));
    account->setEnabled(enabled);
    account->setValue(text("CredentialsId"), static_cast<int>(credentials));
    return account->syncAndBlock();
}

bool AccountFixture::removeDeviceAccounts()
{
    Accounts::Manager manager;
    bool removed = true;
    const Accounts::AccountIdList ids = manager.accountList();
    for (const Accounts::AccountId id : ids) {
        Accounts::Account* const account = manager.account(id);
        account->remove();
        removed = account->syncAndBlock() && removed;
    }
    return removed;
}

bool AccountFixture::answersOnce(int count, int timeoutMs) const
{
    if (!mRecorder->waitFor(count, timeoutMs))
        return false;
    letPass(20);
    return lines().size() == count;
}

void AccountFixture::letPass(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

void AccountFixture::whenAsked(const QString& mechanism, const std::function<void()>& action)
{
    auto* const timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, [this, timer, mechanism, action] {
        if (!mSandbox.mechanisms().contains(mechanism))
            return;
        timer->stop();
        timer->deleteLater();
        action();
    });
    timer->start(5);
}

bool AccountFixture::killPlugin() const
{
    const pid_t plugin = mSandbox.pluginProcessId();
    return plugin > 1 && ::kill(plugin, SIGKILL) == 0;
}

bool AccountFixture::setCredentialsReadable(bool readable) const
{
    const QString database = mSandbox.session().path(text("credentials/signon.db"));
    const QString away = database + text(".away");
    if (!SessionSandbox::killDaemon())
        return false;
    return readable ? QDir().rmdir(database) && QFile::rename(away, database)
                    : QFile::rename(database, away) && QDir().mkdir(database);
}

QList<quint32> AccountFixture::identities() const
{
    QList<quint32> numbers;
    const QList<QVariantList> rows = mSandbox.credentials(
        QStringLiteral("select id from credentials where id > %1 order by id").arg(mNewestBefore));
    for (const QVariantList& row : rows)
        numbers.append(row.at(0).toUInt()); // 0 for an error
    return numbers;
}

QList<QVariantList> AccountFixture::deviceAccounts() const
{
    return mSandbox.accounts(
        QStringLiteral("select accounts.name, settings.value from accounts left join settings on "
                       "settings.account = accounts.id and settings.service = 0 and "
                       "settings.key = 'CredentialsId' order by accounts.id"));
}

QVariantMap AccountFixture::userData()
{
    return {{text("UserId"), text("the-user-id")},
            {text("LoginId"), text("the-login-id")},
            {text("KelAccountId"), text("the-account-id")},
            {text("EmailAddress"), text("the-address@mail.example")}};
}

QList<PluginStep> AccountFixture::succeeding()
{
    QList<PluginStep> steps;
    for (const SetUp& setUp : sessionoperations::setUps())
        steps.append({text(setUp.mechanism), PluginStep::Answer, userData()});
    return steps;
}

QString AccountFixture::success(const SetUp& setUp, quint32 credentials)
{
    return QStringLiteral("%1(0, {AccountId: the-account-id, EmailAddress: "
                          "the-address@mail.example, IdentityId: %2, LoginId: the-login-id, "
                          "UserId: the-user-id})")
        .arg(text(setUp.answer))
        .arg(credentials);
}

bool AccountFixture::succeeds(const SetUp& setUp)
{
    mSandbox.script(succeeding());
    mRecorder->clear();
    setUp.start(*mAccounts, true);
    // What the daemon stored too late for the set-up before may still have to go.
    if (!answersOnce() || !waitUntil([this] { return identities().size() == 1; }))
        return false;
    const QList<quint32> stored = identities();
    if (lines() != QStringList(success(setUp, stored.at(0))))
        return false;
    return deviceAccounts() ==
           QList<QVariantList>({{text("the-user-id"), QString::number(stored.at(0))}});
}

void AccountFixture::setUpRows()
{
    QTest::addColumn<int>("setUp");
    const QVector<SetUp> all = sessionoperations::setUps();
    for (int i = 0; i < all.size(); ++i)
        QTest::newRow(all[i].name) << i;
}

void AccountFixture::setUpRows(const char* column, const char* ifTrue, const char* ifFalse)
{
    QTest::addColumn<int>("setUp");
    QTest::addColumn<bool>(column);
    const QVector<SetUp> all = sessionoperations::setUps();
    for (int i = 0; i < all.size(); ++i) {
        QTest::addRow("%s%s", all[i].name, ifTrue) << i << true;
        QTest::addRow("%s%s", all[i].name, ifFalse) << i << false;
    }
}

AccountFixture::SetUp AccountFixture::setUpOfTheRow()
{
    QFETCH(int, setUp);
    return sessionoperations::setUps().at(setUp);
}

void AccountFixture::operationRows()
{
    QTest::addColumn<int>("operation");
    const QVector<Operation> all = sessionoperations::all();
    for (int i = 0; i < all.size(); ++i)
        QTest::newRow(all[i].name) << i;
}

AccountFixture::Operation AccountFixture::operationOfTheRow()
{
    QFETCH(int, operation);
    return sessionoperations::all().at(operation);
}
