// SPDX-License-Identifier: LGPL-2.1-or-later
// What each mechanism does, in the order of docs/plugin.md.
#include "job.h"
#include "jobexchange.h"
#include "rest/records/datablock.h"

#include <algorithm>
#include <iterator>

namespace ZorAuth {

using namespace KelAccount;
using namespace KelRestHandler;

struct Job::Mechanism
{
    const char* name;
    void (Job::*run)();
};

const Job::Mechanism Job::table[] = {
    {"initialise", &Job::initialise},
    {"signIn", &Job::signIn},
    {"token", &Job::tellToken},
    {"privateMechanism_ensureToken", &Job::ensureTokenOnly},
    {"privateMechanism_registerAccount", &Job::registerAccount},
    {"privateMechanism_downloadProfile", &Job::downloadProfile},
    {"privateMechanism_updateSecurityQuestion", &Job::updateSecurityQuestion},
    {"privateMechanism_changepassword", &Job::changePassword},
    {"setUserId", &Job::setUserId},
    {"privateMechanism_updateDeviceInfo", &Job::updateDeviceInfo},
    {"privateMechanism_signOut", &Job::signOut},
    {"close", &Job::close},
    {"userId", &Job::tellUserId},
    {"loginIdentifier", &Job::tellLoginIdentifier},
    {"kelAccountId", &Job::tellAccountId},
    {"emailAddress", &Job::tellEmailAddress},
    {"serverUTCTime", &Job::tellServerTime},
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
    // Nothing is kept in this process from one request to the next, so each one brings the keys.
    if (mConsumerKey.isEmpty())
        fail(ErrorConsumerKeyMissing);
    else if (mConsumerSecret.isEmpty())
        fail(ErrorConsumerSecretMissing);
    else
        (this->*mechanism->run)();
    return true;
}

void Job::initialise()
{
    mSession.zorService = text("ZorService");
    answer();
}

void Job::signIn()
{
    createToken([this] { answer(identifiers()); });
}

void Job::tellToken()
{
    const auto tell = [this] { answer({{QStringLiteral("Token"), mSession.token}}); };
    if (mSession.token.isEmpty())
        fail(ErrorTokenDoesnotExist);
    else if (mSession.hasExpired())
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
    exchange<RegistrationResponse>(
        &ServiceSignals::accountRegistrationResponse,
        [&](OAuthRequest** request) {
            return mService.sendRegisterAccountRequest(*this, registration, registration.captchaId,
                                                       registration.serviceTag, mConsumerKey,
                                                       mBaseAddress, request);
        },
        [this](const RegistrationResponse& reply) {
            if (reply.status != ErrorNone)
                return fail(reply.status);
            if (reply.accountInfo.accountId.isEmpty())
                return fail(ErrorProtocolFailure);
            keep(reply.tokenInfo, reply.accountInfo, reply.userName);
            mSession.loginId = text("UserName");
            answer(identifiers());
        });
}

void Job::downloadProfile()
{
    exchangeWithToken<DownloadProfileResponse>(
        &ServiceSignals::downloadProfileResponse,
        [this](OAuthRequest** request) {
            return mService.sendDownloadProfileRequest(*this, mSession.accountId, mConsumerKey,
                                                       mBaseAddress, request);
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
            return mService.sendUpdateSecurityQuestionRequest(*this, profile, mSession.accountId,
                                                              mConsumerKey, mBaseAddress, request);
        },
        [this](const RESTResponseBase& reply) { answerStatus(reply.status); });
}

void Job::changePassword()
{
    const QString newPassword = text("NewPassword");
    if (secret().isEmpty())
        return fail(ErrorSignInPasswordEmpty);
    if (text("OldPassword") != secret())
        return fail(ErrorOldPasswordMismatch);
    if (newPassword.isEmpty())
        return fail(ErrorInvalidParameter);
    exchangeWithToken<RESTResponseBase>(
        &ServiceSignals::changePasswordResponse,
        [this, newPassword](OAuthRequest** request) {
            return mService.sendChangePasswordRequest(*this, mSession.accountId, newPassword,
                                                      mConsumerKey, mBaseAddress, request);
        },
        [this, newPassword](const RESTResponseBase& reply) {
            if (reply.status == ErrorNone)
                mChangedPassword = {text("Secret"), newPassword};
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
        if (!mSession.userId.isEmpty())
            return fail(ErrorUserNameAlreadySet);
        sendWithToken<DownloadProfileResponse>(
            &ServiceSignals::setUserIdResponse,
            [this, newName](OAuthRequest** request) {
                return mService.sendSetUserNameRequest(*this, mSession.accountId, newName,
                                                       mConsumerKey, mBaseAddress, request);
            },
            [this, newName](const DownloadProfileResponse& reply) {
                if (reply.status == ErrorNone)
                    mSession.userId = reply.userName.isEmpty() ? newName : reply.userName;
                answerStatus(reply.status);
            });
    });
}

void Job::updateDeviceInfo()
{
    exchangeWithToken<RESTResponseBase>(
        &ServiceSignals::updateDeviceInfoResponse,
        [this](OAuthRequest** request) {
            return mService.sendUpdateDeviceInfoRequest(*this, mSession.accountId, mConsumerKey,
                                                        mBaseAddress, request);
        },
        [this](const RESTResponseBase& reply) { answerStatus(reply.status); });
}

// A token that the service does not know any more is as good as deleted, so none is renewed for it.
void Job::signOut()
{
    const auto forget = [this] {
        mSession.token.clear();
        mSession.tokenSecret.clear();
        mSession.validUntil = QDateTime();
        answer();
    };
    if (mSession.token.isEmpty())
        return fail(ErrorTokenDoesnotExist);
    exchange<RESTResponseBase>(
        &ServiceSignals::tokenDeletionResponse,
        [this](OAuthRequest** request) {
            return mService.sendDeleteTokenRequest(*this, mConsumerKey, mBaseAddress, request);
        },
        [this, forget](const RESTResponseBase& reply) {
            if (reply.status == ErrorNone || reply.status == ErrorInvalidAccessToken)
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
    answerIfKnown("UserId", mSession.userId);
}

void Job::tellLoginIdentifier()
{
    answerIfKnown("LoginId", mSession.loginId);
}

void Job::tellAccountId()
{
    answerIfKnown("KelAccountId", mSession.accountId);
}

void Job::tellEmailAddress()
{
    answerIfKnown("EmailAddress", mSession.emailAddress);
}

void Job::tellServerTime()
{
    answer({{QStringLiteral("ServerUTCTime"),
             TimeStampManager::getTimeStampManager()->currentServerTime().toSecsSinceEpoch()}});
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
        {QStringLiteral("UserId"), mSession.userId},
        {QStringLiteral("LoginId"), mSession.loginId},
        {QStringLiteral("KelAccountId"), mSession.accountId},
        {QStringLiteral("EmailAddress"), mSession.emailAddress},
    };
    // The daemon drops null values; a user without a name still has the key.
    for (QVariant& value : map) {
        if (value.isNull())
            value = QString(QLatin1String(""));
    }
    return map;
}

} // namespace ZorAuth
