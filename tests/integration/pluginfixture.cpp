// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/pluginfixture.h"

#include "configure/kelconfigure.h"
#include "integration/keptdata.h"
#include "rest/request/cryptographicutils.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/timestampmanager.h"
#include "rest/restrequesthandler.h"
#include "support/literals.h"
#include "support/sessionsandbox.h"

#include <SignOn/IdentityInfo>

#include <QSignalSpy>

using namespace KelTest;

namespace {

/// Signs the one request that the tests make themselves.
class Signer : public KelRestHandler::ISignatureProvider
{
public:
    QString getToken(QString const&) override { return {}; }
    QString createSignature(QString const&, QString const& base, bool) override
    {
        return CryptographicUtils::HMACSHA1(base, "demo-secret&"_s);
    }
    QString getTimeStamp() override
    {
        return KelRestHandler::TimeStampManager::getTimeStampManager()->timeStamp();
    }
};

/// The library says so of these two.
bool typedNow(const QByteArray& mechanism)
{
    return mechanism == "signIn" || mechanism == "privateMechanism_registerAccount";
}

} // namespace

bool PluginFixture::makeCaptcha(QString& id, QString& text)
{
    using KelRestHandler::RESTRequestHandler;
    Signer signer;
    RESTRequestHandler handler;
    connect(&handler, &RESTRequestHandler::retrieveCaptchaImageResponse, &handler,
            [&](int, const QPixmap&, const QString& captchaId) { id = captchaId; });
    handler.sendRetrieveCaptchaImageRequest(signer, 200, 60, key(),
                                            KelRestHandler::serverBaseAddress(server));
    if (!waitUntil([&] { return !id.isEmpty(); }, onABusyMachine))
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
    if (!waitUntil([&] { return !stored.isEmpty(); }, onABusyMachine) ||
        !stored.at(0).at(0).toBool())
        return false;
    mIdentityId = stored.at(0).at(1).toUInt();
    mIdentity.reset(SignOn::Identity::existingIdentity(mIdentityId));
    mSession = mIdentity ? mIdentity->createSession("zorauth"_s) : nullptr;
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

bool PluginFixture::openSignedOut(const QString& user, const QString& secret)
{
    const bool isOut = openSession(user, secret) && process("signIn").error == 0 &&
                       process("privateMechanism_signOut").error == 0;
    operations();
    return isOut;
}

bool PluginFixture::storeSecret(const QString& secret)
{
    return changeIdentity([&](SignOn::IdentityInfo& record) { record.setSecret(secret); });
}

bool PluginFixture::signOutOfIdentity()
{
    bool isOut = false;
    const auto done =
        connect(mIdentity.get(), &SignOn::Identity::signedOut, this, [&] { isOut = true; });
    mIdentity->signOut();
    waitUntil([&] { return isOut; }, onABusyMachine);
    disconnect(done);
    return isOut;
}

bool PluginFixture::storeAccessControlList(const QStringList& list)
{
    return changeIdentity([&](SignOn::IdentityInfo& record) { record.setAccessControlList(list); });
}

bool PluginFixture::changeIdentity(const std::function<void(SignOn::IdentityInfo&)>& change)
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
    if (waitUntil([&] { return known; }, onABusyMachine)) {
        change(record);
        mIdentity->storeCredentials(record);
        waitUntil([&] { return isStored; }, onABusyMachine);
    }
    disconnect(asked);
    disconnect(stored);
    return isStored;
}

void PluginFixture::send(const char* mechanism, const QVariantMap& data)
{
    QVariantMap all = {{"ConsumerKey"_s, key()},
                       {"ConsumerSecret"_s, "demo-secret"_s},
                       {"ServerUrlValue"_s, server},
                       {"ManualSignIn"_s, typedNow(mechanism)}};
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

QString PluginFixture::told(const char* mechanism, const QVariantMap& data)
{
    QString text = QString::number(process(mechanism, data).error) + QLatin1Char(':');
    const QList<int> numbers = operations();
    for (const int number : numbers)
        text += QLatin1Char(' ') + QString::number(number);
    return text;
}

QVariantMap PluginFixture::stored() const
{
    return storedFor(int(mIdentityId));
}

QVariantMap PluginFixture::storedSession() const
{
    return KeptData::sessionIn(stored());
}

bool PluginFixture::changeStoredSession(const QVariant& session)
{
    const QVariantMap changed = KeptData::withSession(stored(), session);
    return changeStored(int(mIdentityId), changed.firstKey(), changed.first());
}

bool PluginFixture::expire()
{
    QVariantMap past = storedSession();
    past.insert("ValidUntil"_s, QDateTime::currentSecsSinceEpoch() - 1);
    return changeStoredSession(past);
}

bool PluginFixture::startPluginAgain()
{
    return waitUntil([this] { return process("initialise").error == 0; }, onABusyMachine);
}

bool PluginUserFixture::openNewUser()
{
    ++mCount;
    mUser = "user%1"_s.arg(mCount);
    mEmail = "user%1@example.org"_s.arg(mCount);
    mPassword = "pässword %1"_s.arg(mCount);
    mNumber = addAccount({{"userName"_s, mUser}, {"email"_s, mEmail}, {"password"_s, mPassword}});
    return !mNumber.isEmpty() && openSession(mUser, mPassword);
}
