// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/records/registrationconversion.h"

namespace KelAccount {

KelRestHandler::RegistrationInfoData toRegistrationInfoData(const RegistrationInfo& info,
                                                            const QString& lastCaptchaId,
                                                            const QByteArray& serviceTag)
{
    KelRestHandler::RegistrationInfoData data;
    data.userName = info.userName();
    data.password = info.password();
    data.mobilePhoneNumber = info.mobilePhoneNumber();
    data.emailAddress = info.emailAddress();
    data.securityQuestion = info.securityQuestion();
    data.securityAnswer = info.securityAnswer();
    data.dateOfBirth = info.dateOfBirth();
    data.firstName = info.firstName();
    data.lastName = info.lastName();
    data.countryAsString = info.countryAsString();
    data.languageAsString = info.languageAsString();
    data.country = info.country();
    data.language = info.language();
    data.captchaText = info.captchaText();
    data.captchaId = info.captchaId().isEmpty() ? lastCaptchaId : info.captchaId();
    data.marketingInfoOnMobile = info.marketingInfo() || info.marketingInfoOnMobile();
    data.marketingInfoOnEmail = info.marketingInfo() || info.marketingInfoOnEmail();
    data.serviceTag = serviceTag;
    return data;
}

QString signInName(const RegistrationInfo& info)
{
    return info.emailAddress().isEmpty() ? info.userName() : info.emailAddress();
}

bool isComplete(const RegistrationInfo& info)
{
    const bool reachable = !info.emailAddress().isEmpty() || !info.mobilePhoneNumber().isEmpty();
    return reachable && !signInName(info).isEmpty() && !info.password().isEmpty();
}

} // namespace KelAccount
