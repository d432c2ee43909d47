// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/storyfixture.h"

#include "support/allaccounts.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"
#include "support/sessionsandbox.h"
#include "support/sqlitereader.h"

#include <SignOn/Identity>

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

using namespace KelTest;

namespace {

constexpr int patienceMs = 20000;
// Long enough for a second answer to the same call.
constexpr int settleMs = 20;

QString accountsFile()
{
    return qEnvironmentVariable("ACCOUNTS") + "/accounts.db"_s;
}

/// The tables of a database that hold anything. Nothing has been written to one that is not there.
QStringList filledTables(const QString& file, const QStringList& tables)
{
    QStringList filled;
    if (!QFile::exists(file))
        return filled;
    for (const QString& table : tables) {
        const auto rows = sqliteRows(file, "SELECT count(*) FROM "_s + table);
        if (rows != QList<QVariantList>({{0LL}}))
            filled.append(QFileInfo(file).baseName() + QLatin1Char('.') + table + QLatin1Char('=') +
                          rows.value(0).value(0).toString());
    }
    return filled;
}

bool removeIdentity(int number)
{
    SignOn::Identity* const identity = SignOn::Identity::existingIdentity(quint32(number));
    if (!identity)
        return false;
    bool ended = false;
    QObject::connect(identity, &SignOn::Identity::removed, identity, [&] { ended = true; });
    QObject::connect(identity, &SignOn::Identity::error, identity, [&] { ended = true; });
    identity->remove();
    waitUntil([&] { return ended; }, 2000);
    delete identity;
    return ended;
}

} // namespace

void StoryFixture::openFacade(const QString& consumerSecret)
{
    closeFacade();
    mAccounts = std::make_unique<KelAccounts>();
    mRecorder = std::make_unique<FacadeRecorder>(mAccounts.get());
    facade().initialize("demo-key"_s, consumerSecret, 2, "service"_s, {});
}

void StoryFixture::closeFacade()
{
    mRecorder.reset();
    mAccounts.reset();
}

QStringList StoryFixture::answers(const Call& call)
{
    mRecorder->clear();
    call();
    if (mRecorder->lines().isEmpty())
        return answersToCome();
    return QStringList("inside the call:"_s) + answersToCome();
}

QStringList StoryFixture::answersToCome()
{
    mRecorder->waitFor(1, patienceMs);
    QTest::qWait(settleMs);
    return mRecorder->lines();
}

QString StoryFixture::solvedCaptcha()
{
    const QStringList lines = answers([this] { facade().retrieveCaptchaImage(200, 60); });
    static const QRegularExpression form(
        "^retrieveCaptchaImageResponse\\(0, .*, '([0-9a-f]+)'\\)$"_s);
    const QByteArray id = form.match(lines.value(1)).captured(1).toLatin1();
    const AdminReply reply = EmulatedService::ask("GET", QByteArray("/captchas/" + id).constData());
    return reply.status == 200 ? QString::fromUtf8(reply.body).trimmed() : QString();
}

QString StoryFixture::setUpLine(const char* signal, const QVariantMap& values)
{
    QVariantMap all = values;
    all.insert("IdentityId"_s, identityNumber());
    return QLatin1String(signal) + "(0, "_s + mapText(all) + QLatin1Char(')');
}

QList<QVariantList> StoryFixture::identities()
{
    return sqliteRows(storeFile("signon.db"), "SELECT id, username FROM CREDENTIALS ORDER BY id"_s);
}

int StoryFixture::identityNumber()
{
    const QList<QVariantList> rows = identities();
    return rows.size() == 1 ? rows.at(0).at(0).toInt() : 0;
}

QList<QVariantList> StoryFixture::deviceAccounts()
{
    return sqliteRows(accountsFile(),
                      "SELECT name, provider, Accounts.enabled, value FROM Accounts "
                      "LEFT JOIN Settings ON account = Accounts.id AND service = 0 "
                      "AND key = 'CredentialsId'"_s);
}

QString StoryFixture::leftOnTheDevice()
{
    const QStringList filled =
        filledTables(storeFile("signon.db"), {"CREDENTIALS"_s, "ACL"_s, "REFS"_s, "REALMS"_s}) +
        filledTables(storeFile("signon-secrets.db"), {"CREDENTIALS"_s, "STORE"_s}) +
        filledTables(accountsFile(), {"Accounts"_s, "Settings"_s});
    return filled.join(QLatin1Char(' '));
}

bool StoryFixture::cleanDevice()
{
    KelTest::removeAllAccounts();
    if (!identities().isEmpty() && !DaemonControl::start())
        return false;
    // What is sent before the sign-on library has seen an ended daemon is lost.
    return waitUntil([] {
        const QList<QVariantList> rows = identities();
        for (const QVariantList& row : rows)
            removeIdentity(row.at(0).toInt());
        return leftOnTheDevice().isEmpty();
    });
}
