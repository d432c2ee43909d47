// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/resultvalues.h"

#include "client/picturesize.h"

#include <kelaccount/profileinfo.h>
#include <kelaccount/resultkeys.h>

namespace KelAccount {

namespace {

QString text(const QVariantMap& map, QLatin1String key)
{
    return map.value(key).toString();
}

} // namespace

std::shared_ptr<const Availability> availability(bool available, const QStringList& suggestions)
{
    return std::make_shared<const Availability>(Availability{available, suggestions, nullptr});
}

std::shared_ptr<const SetUp> setUp(const QVariantMap& accountData)
{
    return std::make_shared<const SetUp>(SetUp{
        accountData.value(ResultKey::identityId).toUInt(),
        text(accountData, ResultKey::accountId),
        text(accountData, ResultKey::loginId),
        text(accountData, ResultKey::userId),
        text(accountData, ResultKey::emailAddress),
        nullptr,
    });
}

std::shared_ptr<const PreAccount> preAccount(const PreAccountInfo& info)
{
    return std::make_shared<const PreAccount>(
        PreAccount{info.preAccountId, info.username, info.mobile, info.country, nullptr});
}

// What else is in the map, a program asks KelAccounts for.
std::shared_ptr<const Terms> terms(const QVariantMap& answer)
{
    Terms result;
    for (const QLatin1String key :
         {ResultKey::serviceUrl, ResultKey::tosUrl, ResultKey::privacyPolicyUrl,
          ResultKey::serviceSpecificTosUrl}) {
        if (answer.contains(key))
            result.addresses.insert(key, text(answer, key));
    }
    return std::make_shared<const Terms>(result);
}

std::shared_ptr<const MarketingConsent> marketingConsent(ConsentQueryVariant variant)
{
    return std::make_shared<const MarketingConsent>(MarketingConsent{variant, nullptr});
}

std::shared_ptr<const RecoveryQuestion> recoveryQuestion(const QVariantMap& question)
{
    return std::make_shared<const RecoveryQuestion>(RecoveryQuestion{
        text(question, ResultKey::recoveryUserId), text(question, ResultKey::securityQuestionId),
        text(question, ResultKey::securityQuestionText), nullptr});
}

std::shared_ptr<const Country> country(const QString& code)
{
    return std::make_shared<const Country>(Country{code, nullptr});
}

std::shared_ptr<const Profile> profile(ProfileInfo* info)
{
    const std::unique_ptr<const ProfileInfo> record(info);
    if (!record)
        return std::make_shared<const Profile>();
    return std::make_shared<const Profile>(Profile{
        record->userName(),
        record->mobilePhoneNumber(),
        record->emailAddress(),
        record->emailVerified(),
        record->mobilePhoneVerified(),
        record->securityQuestion(),
        record->securityQuestionId(),
        record->securityAnswer(),
        record->dateOfBirth(),
        record->firstName(),
        record->lastName(),
        record->languageAsString(),
        record->countryAsString(),
        record->serviceList(),
        record->marketingInfo(),
        nullptr,
    });
}

std::shared_ptr<const SecurityQuestions> securityQuestions(const QVariantMap& questions,
                                                           const AnswerDetails& details)
{
    SecurityQuestions result;
    for (const QString& id : details.order)
        result.questions.append({id, questions.value(id).toString()});
    return std::make_shared<const SecurityQuestions>(result);
}

std::shared_ptr<const Captcha> captcha(const QString& id, const AnswerDetails& details)
{
    // What the service calls its format is not always what it is.
    const PictureHead head = pictureHead(details.picture);
    return std::make_shared<const Captcha>(
        Captcha{details.picture, head.format, head.size, id, nullptr});
}

int trueStatus(int told, const AnswerDetails& details)
{
    return told != 0 ? told : details.status;
}

void fill(RegistrationInfo& info, const Registration& registration)
{
    info.setUsername(registration.userName);
    info.setPassword(registration.password);
    info.setEmailAddress(registration.emailAddress);
    info.setMobilePhoneNumber(registration.mobilePhoneNumber);
    info.setCaptchaText(registration.captchaText);
    info.setCaptchaId(registration.captchaId);
    info.setFirstName(registration.firstName);
    info.setLastName(registration.lastName);
    info.setDateOfBirth(registration.dateOfBirth);
    info.setLanguage(registration.language);
    info.setCountry(registration.country);
    info.setSecurityQuestion(registration.securityQuestionId);
    info.setSecurityAnswer(registration.securityAnswer);
    info.setMarketingInfo(registration.marketingInfo);
    info.setMarketingInfoOnMobile(registration.marketingInfoOnMobile);
    info.setMarketingInfoOnEmail(registration.marketingInfoOnEmail);
}

} // namespace KelAccount
