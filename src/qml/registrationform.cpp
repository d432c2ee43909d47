// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/registrationform.h"

#include "qml/resultobjects.h"

void KelQmlRegistration::setPassword(const QString& password)
{
    mPassword = password;
    Q_EMIT filledIn();
}

void KelQmlRegistration::setSecurityAnswer(const QString& answer)
{
    mSecurityAnswer = answer;
    Q_EMIT filledIn();
}

bool KelQmlRegistration::isComplete() const
{
    const bool isNamed =
        !mEmailAddress.isEmpty() || (!mUserName.isEmpty() && !mMobilePhoneNumber.isEmpty());
    return isNamed && !mPassword.isEmpty();
}

bool KelQmlRegistration::submit()
{
    const auto dateOfBirth = KelQmlResults::dateOf(mDateOfBirth);
    if (!dateOfBirth)
        return refuse(KelQmlFailure::ofDateOfBirth());
    KelAccount::Registration registration;
    registration.userName = mUserName;
    registration.password = mPassword;
    registration.emailAddress = mEmailAddress;
    registration.mobilePhoneNumber = mMobilePhoneNumber;
    registration.captchaText = mCaptchaText;
    registration.captchaId = mCaptchaId;
    registration.firstName = mFirstName;
    registration.lastName = mLastName;
    registration.dateOfBirth = *dateOfBirth;
    registration.language = mLanguage;
    registration.country = mCountry;
    registration.securityQuestionId = mSecurityQuestionId;
    registration.securityAnswer = mSecurityAnswer;
    registration.marketingInfo = mMarketingInfo;
    registration.marketingInfoOnMobile = mMarketingInfoOnMobile;
    registration.marketingInfoOnEmail = mMarketingInfoOnEmail;
    const auto account = mCreatesDeviceAccount ? KelAccount::DeviceAccount::Create
                                               : KelAccount::DeviceAccount::Leave;
    return ask(
        [&registration, account](KelAccount::Client& operations) {
            return operations.registerAccount(registration, account);
        },
        [this](const KelAccount::SetUp& setUp) {
            mAccount = KelQmlResults::object(setUp);
            Q_EMIT accountChanged();
            Q_EMIT succeeded();
        });
}
