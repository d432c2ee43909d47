// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/records/profileconversion.h"

#include <kelaccount/profileinfo.h>

namespace KelAccount {

void fillProfile(ProfileInfo* profile, const KelRestHandler::ProfileInfoData& data)
{
    profile->setCountryAsString(data.countryAsString);
    profile->setLanguageAsString(data.languageAsString);
    profile->setDateOfBirth(data.dateOfBirth);
    profile->setEmailAddress(data.account.email);
    profile->setEmailVerified(data.account.emailVerified);
    profile->setFirstName(data.firstName);
    profile->setLastName(data.lastName);
    profile->setMarketingInfo(data.consent.email || data.consent.mobile);
    profile->setMobilePhoneNumber(data.account.mobile);
    profile->setMobilePhoneVerified(data.account.mobileVerified);
    profile->setSecurityAnswer(data.securityAnswer);
    profile->setSecurityQuestionId(data.securityQuestionId);
    profile->setSecurityQuestion(data.securityQuestion);
    profile->setServiceList(data.services);
    profile->setUsername(data.userName);
}

} // namespace KelAccount
