// SPDX-License-Identifier: LGPL-2.1-or-later
#include <kelaccount/client.h>

#include "account/kelaccountsprivate.h"
#include "client/clientprivate.h"
#include "client/resultvalues.h"
#include "common/wipe.h"

#include <kelaccount/registrationinfo.h>

#include <memory>

namespace KelAccount {

using Accounts = KelAccountsPrivate;

namespace {

// Until the client's thread has it.
struct SecretRegistration
{
    explicit SecretRegistration(const Registration& filledIn) : fields(filledIn) {}
    ~SecretRegistration()
    {
        wipe(fields.password);
        wipe(fields.securityAnswer);
    }
    Q_DISABLE_COPY(SecretRegistration)

    Registration fields;
};

// The service words this answer for programs, not for people.
const QLatin1String languageOfRecovery("en");

} // namespace

Client::Client(QObject* parent) : QObject(parent), mPrivate(std::make_unique<ClientPrivate>())
{
}

Client::~Client() = default;

Call<Done> Client::initialize(const QString& consumerKey, const QString& consumerSecret,
                              Server server, const QString& serviceName)
{
    return mPrivate->ask<Done>("initialize", [consumerKey, secret = SecretText(consumerSecret),
                                              server, serviceName](Accounts& a) {
        a.initialize(consumerKey, secret, static_cast<int>(server), serviceName, QVariantMap());
    });
}

void Client::prepare()
{
    mPrivate->ask<Done>("prepare", [](Accounts& a) {
        a.prepare();
        return Done();
    });
}

Call<Availability> Client::isUserIdAvailable(const QString& userId, When when)
{
    return mPrivate->ask<Availability>(
        "isUserIdAvailable", [userId](Accounts& a) { a.isUserIdAvailable(userId); }, when);
}

Call<Availability> Client::isEmailIdAvailable(const QString& email, When when)
{
    return mPrivate->ask<Availability>(
        "isEmailIdAvailable", [email](Accounts& a) { a.isEmailIdAvailable(email); }, when);
}

Call<Captcha> Client::retrieveCaptchaImage(int width, int height, When when)
{
    return mPrivate->ask<Captcha>(
        "retrieveCaptchaImage",
        [width, height](Accounts& a) { a.retrieveCaptchaImage(width, height); }, when);
}

Call<SetUp> Client::registerAccount(const Registration& registration, DeviceAccount account)
{
    const auto secret = std::make_shared<const SecretRegistration>(registration);
    return mPrivate->ask<SetUp>("registerAccount", [secret, account](Accounts& a) {
        RegistrationInfo info;
        fill(info, secret->fields);
        a.registerAccount(info, account == DeviceAccount::Create);
    });
}

Call<SetUp> Client::signInAndConfigure(const QString& userName, const QString& password,
                                       DeviceAccount account)
{
    return mPrivate->ask<SetUp>(
        "signInAndConfigure", [userName, secret = SecretText(password), account](Accounts& a) {
            a.signInAndConfigure(userName, secret, account == DeviceAccount::Create);
        });
}

Call<SecurityQuestions> Client::retrieveSecurityQuestionList(const QString& language, When when)
{
    return mPrivate->ask<SecurityQuestions>(
        "retrieveSecurityQuestionList",
        [language](Accounts& a) { a.retrieveSecurityQuestionList(language); }, when);
}

Call<PreAccount> Client::detectPreAccount(When when)
{
    return mPrivate->ask<PreAccount>(
        "detectPreAccount", [](Accounts& a) { a.detectPreAccount(); }, when);
}

Call<Terms> Client::retrieveTermsOfService(const QString& serviceId, const QString& language,
                                           const QString& country, TermsFormat format, When when)
{
    return mPrivate->ask<Terms>(
        "retrieveTermsOfService",
        [=](Accounts& a) {
            a.retrieveTermsOfService(serviceId, language, country, static_cast<int>(format));
        },
        when);
}

Call<MarketingConsent> Client::queryMarketingVariant(When when)
{
    return mPrivate->ask<MarketingConsent>(
        "queryMarketingVariant", [](Accounts& a) { a.queryMarketingVariant(); }, when);
}

Call<CaptchaRequirement> Client::isCaptchaRequired()
{
    return mPrivate->ask<CaptchaRequirement>("isCaptchaRequired", [](Accounts& a) {
        return CaptchaRequirement{a.isCaptchaRequired(), nullptr};
    });
}

Call<DeviceAccountState> Client::isKeLAccountConfigured()
{
    return mPrivate->ask<DeviceAccountState>("isKeLAccountConfigured", [](Accounts& a) {
        return DeviceAccountState{a.isKeLAccountConfigured(), nullptr};
    });
}

Call<Done> Client::requestPasswordReset(const QString& userId, const QString& captchaText,
                                        RecoveryBy recovery, const QString& messageBody)
{
    return mPrivate->ask<Done>("requestPasswordReset", [=](Accounts& a) {
        a.requestPasswordReset(userId, captchaText, recovery == RecoveryBy::Message, messageBody);
    });
}

Call<RecoveryQuestion> Client::retrievePasswordResetSecQuestion(const QString& userId,
                                                                const QString& language, When when)
{
    return mPrivate->ask<RecoveryQuestion>(
        "retrievePasswordResetSecQuestion",
        [=](Accounts& a) { a.retrievePasswordResetSecQuestion(userId, language); }, when);
}

Call<Done> Client::resetPasswordUsingSecurityQuestion(const QString& userId,
                                                      const QString& securityToken,
                                                      const QString& newPassword,
                                                      const QString& securityAnswer)
{
    return mPrivate->ask<Done>("resetPasswordUsingSecurityQuestion",
                               [userId, token = SecretText(securityToken),
                                password = SecretText(newPassword),
                                answer = SecretText(securityAnswer)](Accounts& a) {
                                   a.resetPasswordUsingSecurityQuestion(userId, token, password,
                                                                        answer, languageOfRecovery);
                               });
}

Call<Profile> Client::downloadProfile()
{
    return mPrivate->ask<Profile>("downloadProfile", [](Accounts& a) { a.downloadProfile(); });
}

Call<Done> Client::updateSecurityQuestion(const QString& questionId, const QString& answer)
{
    return mPrivate->ask<Done>("updateSecurityQuestion",
                               [questionId, secret = SecretText(answer)](Accounts& a) {
                                   a.updateSecurityQuestion(questionId, secret);
                               });
}

Call<Done> Client::ensureTokenAvailable(quint32 credentialsId)
{
    return mPrivate->ask<Done>("ensureTokenAvailable", [credentialsId](Accounts& a) {
        a.ensureTokenAvailable(credentialsId);
    });
}

Call<Done> Client::changePassword(const QString& oldPassword, const QString& newPassword)
{
    return mPrivate->ask<Done>("changePassword",
                               [before = SecretText(oldPassword), after = SecretText(newPassword)](
                                   Accounts& a) { a.changePassword(before, after); });
}

Call<Done> Client::userIdUpdate(const QString& userId)
{
    return mPrivate->ask<Done>("userIdUpdate", [userId](Accounts& a) { a.userIdUpdate(userId); });
}

Call<Done> Client::signOut()
{
    return mPrivate->ask<Done>("signOut", [](Accounts& a) { a.signOut(); });
}

Call<Done> Client::close()
{
    return mPrivate->ask<Done>("close", [](Accounts& a) { a.close(); });
}

Call<Country> Client::retrieveCountryCode(When when)
{
    return mPrivate->ask<Country>(
        "retrieveCountryCode", [](Accounts& a) { a.retrieveCountryCode(); }, when);
}

} // namespace KelAccount

// Here, so that all of the class is in one translation unit, as the check of its binary interface
// needs it.
#include "kelaccount/moc_client.cpp"
