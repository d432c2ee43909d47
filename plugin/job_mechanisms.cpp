// SPDX-License-Identifier: LGPL-2.1-or-later
// What each mechanism does, in the order of docs/plugin.md.
#include "access.h"
#include "common/wipe.h"
#include "job.h"
#include "jobexchange.h"
#include "oldpasswords.h"
#include "rest/records/datablock.h"
#include "rest/request/serviceaddress.h"

#include <SignOn/sessiondata.h>

#include <openssl/crypto.h>

#include <QTimer>

#include <algorithm>
#include <iterator>

namespace ZorAuth {

using namespace KelAccount;
using namespace KelRestHandler;

namespace {

/// To a token in the address.
bool isUnknownToken(int status)
{
    return status == ErrorInvalidAccessToken || status == ErrorResourceNotFound ||
           status == ErrorContentNotFound;
}

} // namespace

/// What a mechanism needs of what is kept.
enum class Job::Wants {
    Nothing,
    Password, ///< or the token; signs in where there is none
    Session,  ///< as it is
};

struct Job::Mechanism
{
    const char* name;
    Wants wants;
    void (Job::*run)();
};

const Job::Mechanism Job::table[] = {
    {"initialise", Wants::Nothing, &Job::initialise},
    {"signIn", Wants::Password, &Job::signIn},
    {"token", Wants::Session, &Job::tellToken},
    {"privateMechanism_ensureToken", Wants::Password, &Job::ensureTokenOnly},
    {"privateMechanism_registerAccount", Wants::Password, &Job::registerAccount},
    {"privateMechanism_downloadProfile", Wants::Password, &Job::downloadProfile},
    {"privateMechanism_updateSecurityQuestion", Wants::Password, &Job::updateSecurityQuestion},
    {"privateMechanism_changepassword", Wants::Password, &Job::changePassword},
    {"setUserId", Wants::Password, &Job::setUserId},
    {"privateMechanism_updateDeviceInfo", Wants::Password, &Job::updateDeviceInfo},
    {"privateMechanism_signOut", Wants::Session, &Job::signOut},
    {"close", Wants::Nothing, &Job::close},
    {"userId", Wants::Session, &Job::tellUserId},
    {"loginIdentifier", Wants::Session, &Job::tellLoginIdentifier},
    {"kelAccountId", Wants::Session, &Job::tellAccountId},
    {"emailAddress", Wants::Session, &Job::tellEmailAddress},
    {"serverUTCTime", Wants::Nothing, &Job::tellServerTime},
};

QStringList Job::mechanisms()
{
    QStringList names;
    for (const Mechanism& mechanism : table)
        names.append(QLatin1String(mechanism.name));
    return names;
}

bool Job::start(const QString& name)
{
    const auto mechanism =
        std::find_if(std::begin(table), std::end(table), [&](const Mechanism& candidate) {
            return name == QLatin1String(candidate.name);
        });
    if (mechanism == std::end(table))
        return false;
    const int status = refusal(mechanism->wants);
    const bool keysAreMissing =
        status == ErrorConsumerKeyMissing || status == ErrorConsumerSecretMissing;
    if (status != ErrorNone && !(keysAreMissing && isPreparation(*mechanism)))
        fail(status);
    else
        (this->*mechanism->run)();
    return true;
}

/// Whether only a connection is wanted: nothing is sent on it, so nothing is signed.
bool Job::isPreparation(const Mechanism& mechanism) const
{
    return mechanism.run == &Job::initialise && mData.value(QStringLiteral("Prepare")).toBool();
}

/// Why a client is not served at all.
int Job::refusal(Wants wants) const
{
    if (mIsForged || !isTrustedClient(mData.value(SSO_ACCESS_CONTROL_TOKENS)))
        return ErrorUntrustedClient;
    // Nothing is kept in this process from one request to the next, so each one brings the keys.
    if (mConsumerKey.isEmpty())
        return ErrorConsumerKeyMissing;
    if (mConsumerSecret.isEmpty())
        return ErrorConsumerSecretMissing;
    if (wants == Wants::Nothing)
        return ErrorNone;
    // By the address, as several numbers stand for the same server.
    if (mKept.server && serverBaseAddress(*mKept.server) != mBaseAddress)
        return ErrorAccountConfigurationIncomplete;
    if (wants == Wants::Session && mKept.session.isOfOther())
        return ErrorUntrustedClient;
    return ErrorNone;
}

// The next request brings everything again, so there is nothing to prepare but a connection for it,
// where one is wanted. The library compares versions.
void Job::initialise()
{
    if (mData.value(QStringLiteral("Prepare")).toBool())
        mService.prepareSoon(mBaseAddress);
    answer({{QStringLiteral("PluginVersion"), QStringLiteral(KELACCOUNT_VERSION)}});
}

void Job::signIn()
{
    mMayChooseServer = mData.value(QStringLiteral("ManualSignIn")).toBool();
    createToken([this] { answer(identifiers()); });
}

void Job::tellToken()
{
    const auto tell = [this] { answer({{QStringLiteral("Token"), mKept.session.token}}); };
    if (mKept.session.token.isEmpty())
        fail(ErrorTokenDoesnotExist);
    else if (mKept.session.hasExpired())
        renewToken(tell);
    else
        tell();
}

void Job::ensureTokenOnly()
{
    ensureToken([this] { answer(); });
}

void Job::registerAccount()
{
    const RegistrationInfoData registration =
        readRegistration(mData.value(QStringLiteral("RegistrationData")).toByteArray());
    const bool captchaGiven =
        !registration.captchaId.isEmpty() && !registration.captchaText.isEmpty();
    if (!captchaGiven && registration.serviceTag.isEmpty())
        return fail(ErrorServiceTagAndCaptchaMissing);
    const QString password = registration.password;
    exchange<RegistrationResponse>(
        &ServiceSignals::accountRegistrationResponse,
        [&](OAuthRequest** request) {
            return mService->sendRegisterAccountRequest(*this, registration, registration.captchaId,
                                                        registration.serviceTag, mConsumerKey,
                                                        mBaseAddress, request);
        },
        [this, password](const RegistrationResponse& reply) {
            if (reply.status != ErrorNone)
                return fail(reply.status);
            if (reply.accountInfo.accountId.isEmpty())
                return fail(ErrorProtocolFailure);
            // Signing in again will take the identity's password, so it has to be the same.
            if (password == text("Secret"))
                mKept.accepted(mServer, password);
            keep(reply.tokenInfo, reply.accountInfo, reply.userName);
            mKept.session.loginId = text("UserName");
            answer(identifiers());
        });
}

void Job::downloadProfile()
{
    exchangeWithToken<DownloadProfileResponse>(
        &ServiceSignals::downloadProfileResponse,
        [this](OAuthRequest** request) {
            return mService->sendDownloadProfileRequest(*this, mKept.session.accountId,
                                                        mConsumerKey, mBaseAddress, request);
        },
        [this](const DownloadProfileResponse& reply) {
            if (reply.status != ErrorNone)
                return fail(reply.status);
            ProfileInfoData profile(reply.profile, nullptr);
            if (!reply.userName.isEmpty())
                profile.userName = reply.userName;
            // A success that nothing can be read from is not an empty profile.
            if (profile.userName.isEmpty() && profile.account.email.isEmpty())
                return fail(ErrorProtocolFailure);
            QByteArray bytes;
            profile.serialize(bytes);
            answer({{QStringLiteral("DownloadedProfile"), bytes}});
        });
}

void Job::updateSecurityQuestion()
{
    SetSecurityQuestionInput input;
    QDataStream stream(mData.value(QStringLiteral("UpdateSecurityQuestion")).toByteArray());
    readValue(stream, input.question);
    readValue(stream, input.answer);
    if (input.question.isEmpty() || input.answer.isEmpty())
        return fail(ErrorInvalidParameter);
    ProfileInfo profile;
    profile.setSecurityQuestionId(input.question);
    profile.setSecurityAnswer(input.answer);
    exchangeWithToken<RESTResponseBase>(
        &ServiceSignals::updateSecurityQuestionResponse,
        [this, profile](OAuthRequest** request) {
            return mService->sendUpdateSecurityQuestionRequest(
                *this, profile, mKept.session.accountId, mConsumerKey, mBaseAddress, request);
        },
        [this](const RESTResponseBase& reply) { answerStatus(reply.status); });
}

// Each attempt is counted before it is looked at, and from the fourth on it has to wait: no answer,
// no cancelling and no end of this process tells a wrong password sooner.
void Job::changePassword()
{
    if (text("Secret").isEmpty())
        return fail(ErrorSignInPasswordEmpty);
    const int before = std::max(mKept.wrongPasswords, mWrongPasswords);
    mKept.wrongPasswords = mWrongPasswords = std::min(before, mostCounted) + 1;
    const int delay = oldPasswordDelayMs(before);
    if (delay == 0)
        return compareOldPassword();
    Q_EMIT changed();
    QTimer::singleShot(delay, this, &Job::compareOldPassword);
}

void Job::compareOldPassword()
{
    QByteArray told = text("OldPassword").toUtf8();
    QByteArray known = mKept.passwordFor(text("Secret")).toUtf8();
    const bool isRight =
        told.size() == known.size() &&
        CRYPTO_memcmp(told.constData(), known.constData(), size_t(told.size())) == 0;
    wipe(told);
    wipe(known);
    if (!isRight)
        return fail(ErrorOldPasswordMismatch);
    const auto goOn = [this] {
        mKept.wrongPasswords = mWrongPasswords = 0;
        setNewPassword();
    };
    // A client may hand in a secret of its own beside the token that the identity's one got: then
    // the service has to be asked.
    if (mKept.hasAccepted(text("Secret")))
        goOn();
    else
        createToken(goOn);
}

void Job::setNewPassword()
{
    const QString newPassword = text("NewPassword");
    if (newPassword.isEmpty())
        return fail(ErrorInvalidParameter);
    exchangeWithToken<RESTResponseBase>(
        &ServiceSignals::changePasswordResponse,
        [this, newPassword](OAuthRequest** request) {
            return mService->sendChangePasswordRequest(*this, mKept.session.accountId, newPassword,
                                                       mConsumerKey, mBaseAddress, request);
        },
        [this, newPassword](const RESTResponseBase& reply) {
            if (reply.status == ErrorNone)
                mKept.changed(text("Secret"), newPassword);
            answerStatus(reply.status);
        });
}

void Job::setUserId()
{
    const QString newName = text("NewUserName");
    if (newName.isEmpty())
        return fail(ErrorInvalidParameter);
    // Asked after the token: getting one may be what tells that there is a name.
    ensureToken([this, newName] {
        if (!mKept.session.userId.isEmpty())
            return fail(ErrorUserNameAlreadySet);
        sendWithToken<DownloadProfileResponse>(
            &ServiceSignals::setUserIdResponse,
            [this, newName](OAuthRequest** request) {
                return mService->sendSetUserNameRequest(*this, mKept.session.accountId, newName,
                                                        mConsumerKey, mBaseAddress, request);
            },
            [this, newName](const DownloadProfileResponse& reply) {
                if (reply.status == ErrorNone)
                    mKept.session.userId = reply.userName.isEmpty() ? newName : reply.userName;
                answerStatus(reply.status);
            });
    });
}

void Job::updateDeviceInfo()
{
    exchangeWithToken<RESTResponseBase>(
        &ServiceSignals::updateDeviceInfoResponse,
        [this](OAuthRequest** request) {
            return mService->sendUpdateDeviceInfoRequest(*this, mKept.session.accountId,
                                                         mConsumerKey, mBaseAddress, request);
        },
        [this](const RESTResponseBase& reply) { answerStatus(reply.status); });
}

// A token that the service does not know any more is as good as deleted, so none is renewed for it.
void Job::signOut()
{
    const auto forget = [this] {
        mKept.session.forgetToken();
        answer();
    };
    if (mKept.session.token.isEmpty())
        return fail(ErrorTokenDoesnotExist);
    exchange<RESTResponseBase>(
        &ServiceSignals::tokenDeletionResponse,
        [this](OAuthRequest** request) {
            return mService->sendDeleteTokenRequest(*this, mConsumerKey, mBaseAddress, request);
        },
        [this, forget](const RESTResponseBase& reply) {
            if (reply.status == ErrorNone || isUnknownToken(reply.status))
                forget();
            else
                fail(reply.status);
        });
}

// The token outlives the session: the next one signs in with it.
void Job::close()
{
    answer();
}

void Job::tellUserId()
{
    answerIfKnown("UserId", mKept.session.userId);
}

void Job::tellLoginIdentifier()
{
    answerIfKnown("LoginId", mKept.session.loginId);
}

void Job::tellAccountId()
{
    answerIfKnown("KelAccountId", mKept.session.accountId);
}

void Job::tellEmailAddress()
{
    answerIfKnown("EmailAddress", mKept.session.emailAddress);
}

void Job::tellServerTime()
{
    answer({{QStringLiteral("ServerUTCTime"), clock().currentServerTime().toSecsSinceEpoch()}});
}

void Job::answerStatus(int status)
{
    if (status == ErrorNone)
        answer();
    else
        fail(status);
}

void Job::answerIfKnown(const char* key, const QString& value)
{
    if (value.isEmpty())
        fail(ErrorTokenDoesnotExist);
    else
        answer({{QLatin1String(key), value}});
}

QVariantMap Job::identifiers() const
{
    QVariantMap map = {
        {QStringLiteral("UserId"), mKept.session.userId},
        {QStringLiteral("LoginId"), mKept.session.loginId},
        {QStringLiteral("KelAccountId"), mKept.session.accountId},
        {QStringLiteral("EmailAddress"), mKept.session.emailAddress},
    };
    // The daemon drops null values; a user without a name still has the key.
    for (QVariant& value : map) {
        if (value.isNull())
            value = QString(QLatin1String(""));
    }
    return map;
}

} // namespace ZorAuth
