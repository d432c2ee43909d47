// SPDX-License-Identifier: LGPL-2.1-or-later
// How the plugin asks the service: signing, tokens, and what is sent again.
#include "job.h"

#include "jobexchange.h"
#include "rest/cryptographicutils.h"
#include "rest/serviceaddress.h"

#include <algorithm>

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
    const QVariantMap own = {
        {StoredSession::key(mServer, mConsumerKey), mSession.toMap()},
        {ChangedPassword::key(), mChangedPassword.toMap()},
    };
    const bool isAsStored = std::all_of(own.keyBegin(), own.keyEnd(), [&](const QString& key) {
        return mData.value(key).toMap() == own.value(key).toMap();
    });
    return isAsStored ? QVariantMap() : everythingToStore(own, mData);
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
            if (keepToken(reply))
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
            if (!keepToken(reply))
                return;
            mSession.loginId = text("UserName");
            next();
        });
}

// A reply may be a success that nothing can be read from.
bool Job::keepToken(const TokenResponse& reply)
{
    const int status = reply.status == ErrorNone && reply.tokenInfo.token.isEmpty()
                           ? ErrorProtocolFailure
                           : reply.status;
    if (status != ErrorNone) {
        fail(status);
        return false;
    }
    keep(reply.tokenInfo, reply.accountInfo, reply.userName);
    return true;
}

// A refresh need not repeat whose token it is.
void Job::keep(const TokenInfoData& token, const AccountInfoData& account, const QString& userName)
{
    if (!token.token.isEmpty()) {
        mSession.token = token.token;
        mSession.tokenSecret = token.tokenSecret;
        // The time to live holds on any clock; the moment of expiry only on the service's.
        mSession.validUntil =
            token.ttl > 0 ? QDateTime::currentDateTimeUtc().addSecs(token.ttl) : QDateTime();
    }
    const auto keepText = [](QString& kept, const QString& value) {
        if (!value.isEmpty())
            kept = value;
    };
    keepText(mSession.accountId, account.accountId);
    keepText(mSession.emailAddress, account.email);
    keepText(mSession.userId, userName);
}

} // namespace ZorAuth
