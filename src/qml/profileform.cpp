// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/profileform.h"

void KelQmlProfile::show(bool loaded, const KelAccount::Profile& profile)
{
    mLoaded = loaded;
    mProfile = profile;
    mProfile.securityAnswer.clear();
    Q_EMIT profileChanged();
}

bool KelQmlProfile::load()
{
    return ask([](KelAccount::Client& operations) { return operations.downloadProfile(); },
               [this](const KelAccount::Profile& profile) { show(true, profile); });
}

bool KelQmlProfile::changePassword(const QString& oldPassword, const QString& newPassword)
{
    return ask(
        [&](KelAccount::Client& operations) {
            return operations.changePassword(oldPassword, newPassword);
        },
        [this](const KelAccount::Done&) { Q_EMIT passwordChanged(); });
}

bool KelQmlProfile::changeUserName(const QString& userName)
{
    return ask([&](KelAccount::Client& operations) { return operations.userIdUpdate(userName); },
               [this, userName](const KelAccount::Done&) {
                   mProfile.userName = userName;
                   Q_EMIT profileChanged();
                   Q_EMIT userNameChanged();
               });
}

bool KelQmlProfile::changeSecurityQuestion(const QString& questionId, const QString& answer)
{
    return ask(
        [&](KelAccount::Client& operations) {
            return operations.updateSecurityQuestion(questionId, answer);
        },
        [this, questionId](const KelAccount::Done&) {
            // The service knows its text; load() brings it.
            mProfile.securityQuestionId = questionId;
            mProfile.securityQuestion.clear();
            Q_EMIT profileChanged();
            Q_EMIT securityQuestionChanged();
        });
}

bool KelQmlProfile::signOut()
{
    return ask([](KelAccount::Client& operations) { return operations.signOut(); },
               [this](const KelAccount::Done&) {
                   show(false, KelAccount::Profile());
                   Q_EMIT signedOut();
               });
}
