// SPDX-License-Identifier: LGPL-2.1-or-later
// What the plugin is asked for: a mechanism and its data for each operation.
#include "common/logging.h"
#include "kelaccount/errorstatus.h"
#include "signon/kelauthsessioninterface.h"
#include "signon/zorauthsessionprivatedata.h"

#include <utility>

using ZorKeLSignOn::ZorAuthSessionData;
using ZorKeLSignOn::ZorAuthSessionPrivateData;

namespace KelAccount {

namespace {

// A service tag alone may take more than what others send. Of somebody new the plugin keeps
// nothing; but the daemon adds the password, two bytes a character.
int mostBytesOf(const KelRestHandler::RegistrationInfoData& registration)
{
    constexpr int mostBytes = 3500;
    return mostBytes - registration.password.size() * int(sizeof(QChar));
}

} // namespace

void KelAuthSessionInterface::addCommonKeys(ZorAuthSessionData& record) const
{
    record.setConsumerKey(mConsumerKey);
    record.setConsumerSecret(mConsumerSecret);
    record.setServerUrlValue(mServerUrlValue);
}

void KelAuthSessionInterface::signIn()
{
    ZorAuthSessionData record;
    addCommonKeys(record);
    record.setManualSignIn(true);
    enQueueRequestToAuthPlugin(record, QStringLiteral("signIn"), SignInRequest);
}

void KelAuthSessionInterface::token()
{
    ZorAuthSessionData record;
    addCommonKeys(record);
    enQueueRequestToAuthPlugin(record, QStringLiteral("token"), TokenRequest);
}

void KelAuthSessionInterface::downloadProfile()
{
    ZorAuthSessionPrivateData record;
    addCommonKeys(record);
    enQueueRequestToAuthPlugin(record, QStringLiteral("privateMechanism_downloadProfile"),
                               DownloadProfileRequest);
}

void KelAuthSessionInterface::setSecurityQuestion(const QString& question,
                                                  const QString& questionAnswer)
{
    KelRestHandler::SetSecurityQuestionInput input;
    input.question = question;
    input.answer = questionAnswer;
    ZorAuthSessionPrivateData record;
    addCommonKeys(record);
    record.setUpdateSecurityQuestion(input);
    enQueueRequestToAuthPlugin(record, QStringLiteral("privateMechanism_updateSecurityQuestion"),
                               SetSecurityQuestionRequest);
}

void KelAuthSessionInterface::registerAccount(
    const KelRestHandler::RegistrationInfoData* registration)
{
    if (!registration) {
        qCCritical(logSignon, "Registration without a record");
        answerLater({RegisterRequest, mCaller}, ErrorInvalidParameter);
        return;
    }
    ZorAuthSessionPrivateData record;
    addCommonKeys(record);
    record.setRegistrationData(*registration);
    record.setManualSignIn(true);
    enqueue(record, QStringLiteral("privateMechanism_registerAccount"), RegisterRequest,
            mostBytesOf(*registration));
}

void KelAuthSessionInterface::changePassword(const QString& oldPassword, const QString& newPassword)
{
    ZorAuthSessionPrivateData record;
    addCommonKeys(record);
    record.setOldPassword(present(oldPassword));
    record.setNewPassword(present(newPassword));
    // The plugin knows this mechanism with a small "p" only.
    enQueueRequestToAuthPlugin(record, QStringLiteral("privateMechanism_changepassword"),
                               ChangePasswordRequest);
}

void KelAuthSessionInterface::userIdUpdate(const QString& newUserName)
{
    ZorAuthSessionPrivateData record;
    addCommonKeys(record);
    record.setNewUserName(present(newUserName));
    enQueueRequestToAuthPlugin(record, QStringLiteral("setUserId"), UserIdUpdateRequest);
}

void KelAuthSessionInterface::updateDeviceInfo()
{
    ZorAuthSessionPrivateData record;
    addCommonKeys(record);
    enQueueRequestToAuthPlugin(record, QStringLiteral("privateMechanism_updateDeviceInfo"),
                               UpdateDeviceInfoRequest);
}

void KelAuthSessionInterface::ensureToken()
{
    ZorAuthSessionData record;
    addCommonKeys(record);
    enQueueRequestToAuthPlugin(record, QStringLiteral("privateMechanism_ensureToken"),
                               EnsureTokenRequest);
}

void KelAuthSessionInterface::signOut()
{
    ZorAuthSessionPrivateData record;
    addCommonKeys(record);
    enQueueRequestToAuthPlugin(record, QStringLiteral("privateMechanism_signOut"), SignOutRequest);
}

void KelAuthSessionInterface::close()
{
    if (mSessionOpen) {
        ZorAuthSessionPrivateData record;
        addCommonKeys(record);
        enQueueRequestToAuthPlugin(record, QStringLiteral("close"), CloseRequest);
    }
    const QPointer<KelAuthSessionInterface> alive(this);
    const quint64 outer = std::exchange(mAnsweredCaller, mCaller);
    Q_EMIT closeResponse(ErrorNone);
    if (alive)
        mAnsweredCaller = outer;
}

} // namespace KelAccount
