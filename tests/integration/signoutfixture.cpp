// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/signoutfixture.h"

#include "configure/kelconfigure.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>

using namespace KelTest;
using KelAccount::KelAccountsPrivate;
using KelAccount::KelConfigure;

void SignOutFixture::prepareUser()
{
    mAccountsFolder = qEnvironmentVariable("ACCOUNTS");
    prepare(SignIn);
    QCOMPARE(succeedsNow(SignIn), QString());
    QVERIFY(!storedFor(identityNumber()).isEmpty());
    operations();
}

void SignOutFixture::restore()
{
    allow();
    qputenv("ACCOUNTS", QFile::encodeName(mAccountsFolder));
    DaemonControl::setInstalled(sessionFolder(), true);
    tidyUp();
}

QString SignOutFixture::sessionFolder()
{
    return qEnvironmentVariable("SSO_STORAGE_PATH") + "/.."_s;
}

QString SignOutFixture::accountsFile() const
{
    return mAccountsFolder + "/accounts.db"_s;
}

KelAccountsPrivate* SignOutFixture::orchestrator()
{
    return facade().findChild<KelAccountsPrivate*>();
}

int SignOutFixture::signOut()
{
    QSignalSpy spy(orchestrator(), &KelAccountsPrivate::signOutResponse);
    orchestrator()->signOut();
    if (!spy.isEmpty())
        return -1;
    waitUntil([&] { return !spy.isEmpty(); }, patienceMs);
    QTest::qWait(20);
    return spy.size() == 1 ? spy.at(0).at(0).toInt() : -1;
}

QList<int> SignOutFixture::deletions()
{
    const QJsonArray requests =
        QJsonDocument::fromJson(EmulatedService::ask("GET", "/requests").body).array();
    EmulatedService::ask("DELETE", "/requests");
    QList<int> statuses;
    for (const QJsonValue& request : requests) {
        constexpr int tokenDeletion = 9;
        if (request.toObject().value("operation"_s).toInt() == tokenDeletion)
            statuses.append(request.toObject().value("status"_s).toInt());
    }
    return statuses;
}

void SignOutFixture::expectSignedOut()
{
    QCOMPARE(leftOnTheDevice(), QString());
    QVERIFY(!facade().isKeLAccountConfigured());
}

void SignOutFixture::expectEverything()
{
    QCOMPARE(identities().size(), 1);
    QCOMPARE(deviceAccounts().size(), 1);
    QVERIFY(!storedFor(identityNumber()).isEmpty());
    QCOMPARE(answers([this] { facade().downloadProfile(); }),
             QStringList("downloadProfileResponse(0, profile)"_s));
}

bool SignOutFixture::removeCredentials()
{
    KelConfigure configure;
    bool removed = false;
    configure.removeIdentity(quint32(identityNumber()), [&] { removed = true; });
    return waitUntil([&] { return removed; }) && identities().isEmpty();
}

void SignOutFixture::refuse(const QString& file, const char* table)
{
    QVERIFY(sqliteChange(file, "CREATE TRIGGER refuse BEFORE DELETE ON %1 BEGIN "
                               "SELECT RAISE(ABORT, 'refused'); END"_s.arg(text(table))));
    mRefusing = file;
}

void SignOutFixture::allow()
{
    if (!mRefusing.isEmpty())
        QVERIFY(sqliteChange(mRefusing, "DROP TRIGGER refuse"_s));
    mRefusing.clear();
}
