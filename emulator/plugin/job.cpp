// SPDX-License-Identifier: LGPL-2.1-or-later
// How the plugin asks the service: signing, tokens, and what is sent again.
#include "job.h"

#include "jobexchange.h"
#include "rest/cryptographicutils.h"
#include "rest/serviceaddress.h"

namespace ZorAuth {

using namespace KelAccount;
using namespace KelRestHandler;

namespace {

/// The service's own refusals, as opposed to a network that is away.
bool isRefusal(int status)
{
    return status >= 500 && status < 600;
}

} // namespace

Job::Job(const QVariantMap& data, RESTRequestHandler& service, QObject* parent)
    : QObject(parent), mData(data), mService(service), mConsumerKey(text("ConsumerKey")),
      mConsumerSecret(text("ConsumerSecret")),
      mServer(data.value(QStringLiteral("ServerUrlValue")).toInt()),
      mBaseAddress(serverBaseAddress(mServer)),
      mSession(
          StoredSession::fromMap(data.value(StoredSession::key(mServer, mConsumerKey)).toMap())),
      mChangedPassword(ChangedPassword::fromMap(data.value(ChangedPassword::key()).toMap()))
{
}

Job::~Job() = default;

QVariantMap Job::changes() const
{
    QVariantMap changed;
    const auto note = [&](const QString& key, const QVariantMap& now) {
        if (mData.value(key).toMap() != now)
            changed.insert(key, now);
    };
    note(StoredSession::key(mServer, mConsumerKey), mSession.toMap());
    if (!mChangedPassword.newSecret.isEmpty())
        note(ChangedPassword::key(), mChangedPassword.toMap());
    return changed;
}

QString Job::text(const char* key) const
{
    return mData.value(QLatin1String(key)).toString();
}

QString Job::secret() const
{
    return mChangedPassword.secretFor(text("Secret"));
}

QString Job::getToken(QString const& /*consumerKey*/)
{
    return mSession.token;
}

// The token takes part through the base string and the header; its secret never enters the key.
QString Job::createSignature(QString const& /*consumerKey*/, QString const& baseString,
                             bool /*useToken*/)
{
    return CryptographicUtils::HMACSHA1(baseString, OAuthRequest::urlEncode(mConsumerSecret) +
                                                        QLatin1Char('&'));
}

QString Job::getTimeStamp()
{
    return TimeStampManager::getTimeStampManager()->timeStamp();
}

std::shared_ptr<OAuthRequest> Job::made(const Send& send)
{
    OAuthRequest* request = nullptr;
    if (send(&request) == 0)
        return std::shared_ptr<OAuthRequest>(request);
    fail(ErrorUnabletoSendRequest);
    return nullptr;
}

// A request's header and digest are made once. To go out again with another token or time, they are
// made anew; the service takes no nonce twice either.
bool Job::resend(OAuthRequest& request)
{
    request.createOAuthRequest();
    request.incrementRetryCount();
    return mService.resendRequest(&request) == 0;
}

void Job::ensureToken(const Next& next)
{
    if (mSession.token.isEmpty())
        createToken(next);
    else if (mSession.hasExpired())
        renewToken(next);
    else
        next();
}

// Refreshing needs no password; when the service will not, the password signs in again.
void Job::renewToken(const Next& next)
{
    exchange<TokenRefreshResponse>(
        &ServiceSignals::tokenRefreshResponse,
        [this](OAuthRequest** request) {
            return mService.sendTokenRefreshRequest(*this, mConsumerKey, mBaseAddress, request);
        },
        [this, next](const TokenRefreshResponse& reply) {
            if (isRefusal(reply.status))
                return createToken(next);
            if (reply.status != ErrorNone)
                return fail(reply.status);
            keepToken(reply.tokenInfo, reply.accountInfo, reply.userName);
            next();
        });
}

void Job::createToken(const Next& next)
{
    if (text("UserName").isEmpty())
        return fail(ErrorAccountConfigurationIncomplete);
    if (secret().isEmpty())
        return fail(ErrorSignInPasswordEmpty);
    exchange<TokenCreationResponse>(
        &ServiceSignals::signInResponse,
        [this](OAuthRequest** request) {
            return mService.sendSignInRequest(*this, text("UserName"), secret(), mConsumerKey,
                                              mBaseAddress, request);
        },
        [this, next](const TokenCreationResponse& reply) {
            if (reply.status != ErrorNone)
                return fail(reply.status);
            keepToken(reply.tokenInfo, reply.accountInfo, reply.userName);
            mSession.loginId = text("UserName");
            next();
        });
}

// A refresh need not repeat whose token it is.
void Job::keepToken(const TokenInfoData& token, const AccountInfoData& account,
                    const QString& userName)
{
    if (!token.token.isEmpty()) {
        mSession.token = token.token;
        mSession.tokenSecret = token.tokenSecret;
        // The time to live holds on any clock; the moment of expiry only on the service's.
        mSession.validUntil =
            token.ttl > 0 ? QDateTime::currentDateTimeUtc().addSecs(token.ttl) : QDateTime();
    }
    const auto keep = [](QString& kept, const QString& value) {
        if (!value.isEmpty())
            kept = value;
    };
    keep(mSession.accountId, account.accountId);
    keep(mSession.emailAddress, account.email);
    keep(mSession.userId, userName);
}

} // namespace ZorAuth
