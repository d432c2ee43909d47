// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/recoveryform.h"

bool KelQmlRecovery::sendMessage(const QString& body)
{
    return send(KelAccount::RecoveryBy::Message, body);
}

bool KelQmlRecovery::sendToken()
{
    return send(KelAccount::RecoveryBy::Token, QString());
}

bool KelQmlRecovery::send(KelAccount::RecoveryBy way, const QString& body)
{
    return ask(
        [&](KelAccount::Client& operations) {
            return operations.requestPasswordReset(mUserName, mCaptchaText, way, body);
        },
        [this](const KelAccount::Done&) { Q_EMIT messageSent(); });
}

bool KelQmlRecovery::fetchQuestion()
{
    return ask(
        [this](KelAccount::Client& operations) {
            return operations.retrievePasswordResetSecQuestion(mUserName, mLanguage);
        },
        [this](const KelAccount::RecoveryQuestion& found) {
            mQuestion = found.text;
            mQuestionId = found.id;
            Q_EMIT questionChanged();
        });
}

bool KelQmlRecovery::setPassword(const QString& securityToken, const QString& securityAnswer,
                                 const QString& newPassword)
{
    return ask(
        [&](KelAccount::Client& operations) {
            return operations.resetPasswordUsingSecurityQuestion(mUserName, securityToken,
                                                                 newPassword, securityAnswer);
        },
        [this](const KelAccount::Done&) { Q_EMIT passwordSet(); });
}
