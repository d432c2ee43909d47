// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/pluginfixture.h"

#include "configure/kelconfigure.h"
#include "rest/cryptographicutils.h"
#include "rest/restrequesthandler.h"
#include "rest/serviceaddress.h"
#include "rest/timestampmanager.h"
#include "support/sessionsandbox.h"
#include "support/sqlitereader.h"

#include <SignOn/IdentityInfo>

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>

#include <algorithm>
#include <csignal>

using namespace KelTest;

namespace {

/// Signs the one request that the tests make themselves.
class Signer : public KelRestHandler::ISignatureProvider
{
public:
    QString getToken(QString const&) override { return {}; }
    QString createSignature(QString const&, QString const& base, bool) override
    {
        return CryptographicUtils::HMACSHA1(base, QStringLiteral("demo-secret&"));
    }
    QString getTimeStamp() override
    {
        return KelRestHandler::TimeStampManager::getTimeStampManager()->timeStamp();
    }
};

QVariant fromStore(const QByteArray& bytes)
{
    QDataStream stream(bytes);
    QVariant value;
    stream >> value;
    return value;
}

QList<pid_t> pluginProcesses()
{
    const QByteArray marker = "SSO_STORAGE_PATH=" + qgetenv("SSO_STORAGE_PATH");
    QList<pid_t> found;
    const QStringList processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString& process : processes) {
        QFile commandName(QStringLiteral("/proc/%1/comm").arg(process));
        QFile environment(QStringLiteral("/proc/%1/environ").arg(process));
        if (process.toInt() > 1 && commandName.open(QIODevice::ReadOnly) &&
            commandName.readAll().startsWith("signonplugin") &&
            environment.open(QIODevice::ReadOnly) &&
            environment.readAll().split('\0').contains(marker))
            found.append(process.toInt());
    }
    return found;
}

} // namespace

bool PluginFixture::isInside()
{
    return EmulatedService::isThere() && qEnvironmentVariableIsSet("SSO_STORAGE_PATH");
}

QString PluginFixture::addAccount(const QJsonObject& account)
{
    if (EmulatedService::ask("POST", "/accounts", QJsonDocument(account).toJson()).status != 200)
        return {};
    const QJsonArray all =
        QJsonDocument::fromJson(EmulatedService::ask("GET", "/accounts").body).array();
    return all.isEmpty() ? QString()
                         : all.last().toObject().value(QStringLiteral("accountId")).toString();
}

QJsonObject PluginFixture::accountAtService(const QString& number)
{
    const QJsonArray all =
        QJsonDocument::fromJson(EmulatedService::ask("GET", "/accounts").body).array();
    for (const QJsonValue& account : all) {
        if (account.toObject().value(QStringLiteral("accountId")).toString() == number)
            return account.toObject();
    }
    return {};
}

QList<int> PluginFixture::operations()
{
    const QJsonArray requests =
        QJsonDocument::fromJson(EmulatedService::ask("GET", "/requests").body).array();
    EmulatedService::ask("DELETE", "/requests");
    QList<int> numbers;
    for (const QJsonValue& request : requests)
        numbers.append(request.toObject().value(QStringLiteral("operation")).toInt(-1));
    return numbers;
}

bool PluginFixture::letTokensExpire()
{
    return EmulatedService::ask("POST", "/tokens/expire").status == 200;
}

bool PluginFixture::makeCaptcha(QString& id, QString& text)
{
    using KelRestHandler::RESTRequestHandler;
    Signer signer;
    RESTRequestHandler handler;
    connect(&handler, &RESTRequestHandler::retrieveCaptchaImageResponse, &handler,
            [&](int, const QPixmap&, const QString& captchaId) { id = captchaId; });
    handler.sendRetrieveCaptchaImageRequest(signer, 200, 60, key(),
                                            KelRestHandler::serverBaseAddress(server));
    if (!waitUntil([&] { return !id.isEmpty(); }))
        return false;
    const QByteArray path = "/captchas/" + id.toLatin1();
    text = QString::fromUtf8(EmulatedService::ask("GET", path.constData()).body).trimmed();
    operations();
    return !text.isEmpty();
}

bool PluginFixture::openSession(const QString& user, const QString& secret)
{
    KelAccount::KelConfigure store;
    QSignalSpy stored(&store, &KelAccount::KelConfigure::storeUserCredentialsStatus);
    store.storeUserCredentials(user, secret);
    if (!waitUntil([&] { return !stored.isEmpty(); }) || !stored.at(0).at(0).toBool())
        return false;
    mIdentityId = stored.at(0).at(1).toUInt();
    mIdentity.reset(SignOn::Identity::existingIdentity(mIdentityId));
    mSession = mIdentity ? mIdentity->createSession(QStringLiteral("zorauth")) : nullptr;
    if (!mSession)
        return false;
    connect(mSession, &SignOn::AuthSession::response, this,
            [this](const SignOn::SessionData& data) {
                mOutcome = {0, data.toMap(), {}};
            });
    connect(mSession, &SignOn::AuthSession::error, this, [this](const SignOn::Error& error) {
        mOutcome = {error.type(), {}, error.message()};
    });
    operations();
    return true;
}

bool PluginFixture::storeSecret(const QString& secret)
{
    SignOn::IdentityInfo record;
    bool known = false;
    bool isStored = false;
    const auto asked = connect(mIdentity.get(), &SignOn::Identity::info, this,
                               [&](const SignOn::IdentityInfo& info) {
                                   record = info;
                                   known = true;
                               });
    const auto stored = connect(mIdentity.get(), &SignOn::Identity::credentialsStored, this,
                                [&](quint32) { isStored = true; });
    mIdentity->queryInfo();
    if (waitUntil([&] { return known; })) {
        record.setSecret(secret);
        mIdentity->storeCredentials(record);
        waitUntil([&] { return isStored; });
    }
    disconnect(asked);
    disconnect(stored);
    return isStored;
}

void PluginFixture::send(const char* mechanism, const QVariantMap& data)
{
    QVariantMap all = {{QStringLiteral("ConsumerKey"), key()},
                       {QStringLiteral("ConsumerSecret"), QStringLiteral("demo-secret")},
                       {QStringLiteral("ServerUrlValue"), server}};
    for (auto entry = data.cbegin(); entry != data.cend(); ++entry) {
        if (entry.value().isNull())
            all.remove(entry.key());
        else
            all.insert(entry.key(), entry.value());
    }
    mOutcome = {};
    mSession->process(SignOn::SessionData(all), QLatin1String(mechanism));
}

PluginFixture::Outcome PluginFixture::wait(int timeoutMs)
{
    waitUntil([this] { return mOutcome.error >= 0; }, timeoutMs);
    return mOutcome;
}

PluginFixture::Outcome PluginFixture::process(const char* mechanism, const QVariantMap& data)
{
    send(mechanism, data);
    return wait();
}

QString PluginFixture::storeFile(const char* file)
{
    return qEnvironmentVariable("SSO_STORAGE_PATH") + QLatin1Char('/') + QLatin1String(file);
}

QVariantMap PluginFixture::stored() const
{
    QVariantMap map;
    const QList<QVariantList> rows = sqliteRows(
        storeFile("signon-secrets.db"),
        QStringLiteral("SELECT key, value FROM STORE WHERE identity_id = %1").arg(mIdentityId));
    for (const QVariantList& row : rows)
        map.insert(row.value(0).toString(), fromStore(row.value(1).toByteArray()));
    return map;
}

QVariantMap PluginFixture::storedSession() const
{
    return stored().value(sessionKey()).toMap();
}

QVariantMap PluginFixture::expired() const
{
    QVariantMap past = storedSession();
    past.insert(QStringLiteral("ValidUntil"), QDateTime::currentSecsSinceEpoch() - 1);
    return {{sessionKey(), past}};
}

/// There is one for each identity of which a session is open.
bool PluginFixture::killPluginProcesses()
{
    const QList<pid_t> found = pluginProcesses();
    for (const pid_t id : found)
        ::kill(id, SIGKILL);
    // Until the daemon has collected them: before, it takes the next request for theirs.
    return !found.isEmpty() && waitUntil([&] {
        return std::none_of(found.cbegin(), found.cend(), [](pid_t id) {
            return QFile::exists(QStringLiteral("/proc/%1").arg(id));
        });
    });
}

bool PluginFixture::startPluginAgain()
{
    return waitUntil([this] { return process("initialise").error == 0; });
}
