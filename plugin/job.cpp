// SPDX-License-Identifier: LGPL-2.1-or-later
// How the plugin asks the service: signing, tokens, and what is sent again.
#include "job.h"

#include "common/wipe.h"
#include "jobexchange.h"
#include "rest/request/consumersignature.h"
#include "rest/request/serviceaddress.h"

#include <utility>

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

Job::Job(const QVariantMap& data, ServiceOnDemand& service, int& wrongPasswords, QObject* parent)
    : QObject(parent), mData(data), mService(service), mConsumerKey(text("ConsumerKey")),
      mConsumerSecret(text("ConsumerSecret")),
      mServer(data.value(QStringLiteral("ServerUrlValue")).toInt()),
      mBaseAddress(serverBaseAddress(mServer)), mWrongPasswords(wrongPasswords)
{
    QByteArray own = consumer();
    auto kept = Kept::fromData(data, mConsumerKey, own);
    KelAccount::wipe(own);
    mIsForged = !kept;
    mKept = std::move(kept).value_or(Kept());
    mStored = mKept.toMap();
}

// Whoever shares a text with another lets go of it first, so that the last one wipes it.
Job::~Job()
{
    KelAccount::wipe(mStored);
    mKept.wipe();
    KelAccount::wipe(mConsumerSecret);
    KelAccount::wipe(mData);
}

QVariantMap Job::takeChanges()
{
    const QVariantMap now = mKept.toMap();
    if (mIsForged || now == mStored)
        return {};
    mStored = now;
    return mKept.toData();
}

QString Job::text(const char* key) const
{
    return mData.value(QLatin1String(key)).toString();
}

QByteArray Job::consumer() const
{
    return consumerIdentity(mConsumerKey, mConsumerSecret, mBaseAddress);
}

QString Job::getToken(QString const& /*consumerKey*/)
{
    return mKept.session.token;
}

// The token takes part through the base string and the header; its secret never enters the key.
QString Job::createSignature(QString const& /*consumerKey*/, QString const& baseString,
                             bool /*useToken*/)
{
    return consumerSignature(baseString, mConsumerSecret);
}

QString Job::getTimeStamp()
{
    return clock().timeStamp();
}

TimeStampManager& Job::clock() const
{
    return TimeStampManager::clockOf(mBaseAddress);
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
    return mService->resendRequest(&request) == 0;
}

void Job::ensureToken(const Next& next)
{
    if (mKept.session.token.isEmpty())
        createToken(next);
    else if (mKept.session.hasExpired())
        renewToken(next);
    else
        next();
}

// Refreshing needs no password; when the service will not, or the token can stand in no address,
// the password signs in again.
void Job::renewToken(const Next& next)
{
    OAuthRequest* request = nullptr;
    if (mService->sendTokenRefreshRequest(*this, mConsumerKey, mBaseAddress, &request) != 0)
        return createToken(next);
    await<TokenRefreshResponse>(&ServiceSignals::tokenRefreshResponse,
                                std::shared_ptr<OAuthRequest>(request),
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
    if (text("Secret").isEmpty())
        return fail(ErrorSignInPasswordEmpty);
    // The password is the business of one server only, and before the first signing in nobody knows
    // which. That is chosen by who has just typed it.
    if (!mKept.server && !mMayChooseServer)
        return fail(ErrorAccountConfigurationIncomplete);
    signInWith(mKept.passwordFor(text("Secret")), next);
}

void Job::signInWith(const QString& password, const Next& next)
{
    exchange<TokenCreationResponse>(
        &ServiceSignals::signInResponse,
        [&](OAuthRequest** request) {
            return mService->sendSignInRequest(*this, text("UserName"), password, mConsumerKey,
                                               mBaseAddress, request);
        },
        [this, next](const TokenCreationResponse& reply) {
            if (!keepToken(reply))
                return;
            mKept.accepted(mServer, text("Secret"));
            mKept.session.loginId = text("UserName");
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
    QByteArray own = consumer();
    mKept.session.bindTo(own);
    KelAccount::wipe(own);
    if (!token.token.isEmpty()) {
        mKept.session.token = token.token;
        mKept.session.tokenSecret = token.tokenSecret;
        // The time to live holds on any clock; the moment of expiry only on the service's.
        mKept.session.validUntil =
            token.ttl > 0 ? QDateTime::currentDateTimeUtc().addSecs(token.ttl) : QDateTime();
    }
    const auto keepText = [](QString& kept, const QString& value) {
        if (!value.isEmpty())
            kept = value;
    };
    keepText(mKept.session.accountId, account.accountId);
    keepText(mKept.session.emailAddress, account.email);
    keepText(mKept.session.userId, userName);
}

} // namespace ZorAuth
