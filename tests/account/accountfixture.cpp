// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/accountfixture.h"

#include "account/fakeresthandler.h"
#include "configure/kelconfigure.h"
#include "platform/fakemodem.h"
#include "support/allaccounts.h"
#include "support/literals.h"

#include <kelaccount/kelaccounts.h>

#include <Accounts/Account>
#include <Accounts/Manager>

#include <QEventLoop>
#include <QSignalSpy>
#include <QTimer>

using namespace KelTest;

AccountFixture::AccountFixture(KelTest::SessionSandbox& sandbox) : mSandbox(sandbox)
{
}

AccountFixture::~AccountFixture() = default;

bool AccountFixture::reset()
{
    endFacade();
    FakeModem::reset();
    FakeRestHandler::reset();
    mTagServer.reset(); // before the next takes its name
    mTagServer = std::make_unique<ThreadTagServer>("\x01tag"_ba);
    if (!mSandbox.startDaemon() || !mSandbox.quickenDaemon() || !KelTest::removeAllAccounts())
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
        mAccounts->initialize("the-consumer-key"_s, "the-consumer-secret"_s, 2, "the-service"_s,
                              {});
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
    store.storeUserCredentials("earlier"_s, "the-earlier-password"_s);
    waitUntil([&] { return !stored.isEmpty(); });
    return stored.value(0).value(1).toUInt();
}

bool AccountFixture::createDeviceAccount(quint32 credentials, bool enabled)
{
    Accounts::Manager manager;
    const std::unique_ptr<Accounts::Account> account(manager.createAccount("zor"_s));
    account->setEnabled(enabled);
    account->setValue("CredentialsId"_s, static_cast<int>(credentials));
    return account->syncAndBlock();
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

QList<quint32> AccountFixture::identities() const
{
    QList<quint32> numbers;
    const QList<QVariantList> rows = mSandbox.credentials(
        "select id from credentials where id > %1 order by id"_s.arg(mNewestBefore));
    for (const QVariantList& row : rows)
        numbers.append(row.at(0).toUInt()); // 0 for an error
    return numbers;
}

QList<QVariantList> AccountFixture::deviceAccounts() const
{
    return mSandbox.accounts(
        "select accounts.name, settings.value from accounts left join settings on "
        "settings.account = accounts.id and settings.service = 0 and "
        "settings.key = 'CredentialsId' order by accounts.id"_s);
}

QVariantMap AccountFixture::userData()
{
    return {{"UserId"_s, "the-user-id"_s},
            {"LoginId"_s, "the-login-id"_s},
            {"KelAccountId"_s, "the-account-id"_s},
            {"EmailAddress"_s, "the-address@mail.example"_s}};
}

QList<PluginStep> AccountFixture::succeeding()
{
    QList<PluginStep> steps;
    for (const SetUp& setUp : facadecalls::setUps())
        steps.append({text(setUp.mechanism), PluginStep::Answer, userData()});
    return steps;
}

QString AccountFixture::success(const SetUp& setUp, quint32 credentials)
{
    return "%1(0, {AccountId: the-account-id, EmailAddress: "
           "the-address@mail.example, IdentityId: %2, LoginId: the-login-id, "
           "UserId: the-user-id})"_s.arg(text(setUp.answer))
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
           QList<QVariantList>({{"the-user-id"_s, QString::number(stored.at(0))}});
}

void AccountFixture::setUpRows()
{
    QTest::addColumn<int>("setUp");
    const auto all = facadecalls::setUps();
    for (int i = 0; i < all.size(); ++i)
        QTest::newRow(all.at(i).name) << i;
}

AccountFixture::SetUp AccountFixture::setUpOfTheRow()
{
    QFETCH(int, setUp);
    return facadecalls::setUps().at(setUp);
}
