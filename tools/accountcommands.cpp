// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accountcommands.h"

#include <kelaccount/profileinfo.h>
#include <kelaccount/registrationinfo.h>

#include <QMetaProperty>

using KelAccount::ErrorStatus;
using KelAccount::KelAccounts;
using KelAccount::ProfileInfo;
using KelAccount::RegistrationInfo;

namespace {

using MapSignal = void (KelAccounts::*)(ErrorStatus, QVariantMap);
using StatusSignal = void (KelAccounts::*)(ErrorStatus);

void reportMap(KelAccounts& accounts, QObject* context, MapSignal signal, const char* name,
               const Report& report)
{
    QObject::connect(&accounts, signal, context,
                     [report, name](ErrorStatus status, const QVariantMap& map) {
                         Outcome outcome{QLatin1String(name), status, {}};
                         for (auto it = map.cbegin(); it != map.cend(); ++it)
                             outcome.values.push_back({it.key(), it.value()});
                         report(outcome);
                     });
}

void reportStatus(KelAccounts& accounts, QObject* context, StatusSignal signal, const char* name,
                  const Report& report)
{
    QObject::connect(&accounts, signal, context, [report, name](ErrorStatus status) {
        report({QLatin1String(name), status, {}});
    });
}

void signIn(KelAccounts& accounts, QObject* context, const CommandInput& input,
            const Report& report)
{
    reportMap(accounts, context, &KelAccounts::signInAndConfigureResponse,
              "signInAndConfigureResponse", report);
    accounts.signInAndConfigure(input.arguments.at(0), input.secrets.at(0),
                                input.option("--no-device-account").isEmpty());
}

void registerAccount(KelAccounts& accounts, QObject* context, const CommandInput& input,
                     const Report& report)
{
    reportMap(accounts, context, &KelAccounts::registerAccountResponse, "registerAccountResponse",
              report);
    RegistrationInfo info;
    info.setPassword(input.secrets.at(0));
    info.setEmailAddress(input.option("--email"));
    info.setUsername(input.option("--user-name"));
    info.setMobilePhoneNumber(input.option("--mobile"));
    info.setCaptchaId(input.option("--captcha-id"));
    info.setCaptchaText(input.option("--captcha-text"));
    info.setFirstName(input.option("--first-name"));
    info.setLastName(input.option("--last-name"));
    info.setCountry(input.option("--country"));
    info.setLanguage(input.option("--language"));
    info.setSecurityQuestion(input.option("--question"));
    info.setSecurityAnswer(input.secrets.value(1)); // asked for with a question only
    info.setDateOfBirth(QDate::fromString(input.option("--born"), Qt::ISODate));
    info.setMarketingInfo(!input.option("--marketing").isEmpty());
    accounts.registerAccount(info, input.option("--no-device-account").isEmpty());
}

void profile(KelAccounts& accounts, QObject* context, const CommandInput& /*input*/,
             const Report& report)
{
    QObject::connect(
        &accounts, &KelAccounts::downloadProfileResponse, context,
        [report](ErrorStatus status, ProfileInfo* info) {
            Outcome outcome{QStringLiteral("downloadProfileResponse"), status, {}};
            const QMetaObject& meta = ProfileInfo::staticMetaObject;
            for (int i = meta.propertyOffset(); info && i < meta.propertyCount(); ++i) {
                const QMetaProperty property = meta.property(i);
                // An answer to a security question is as good as a password.
                if (qstrcmp(property.name(), "securityAnswer") == 0)
                    continue;
                outcome.values.push_back({QLatin1String(property.name()), property.read(info)});
            }
            report(outcome);
        });
    accounts.downloadProfile();
}

void updateQuestion(KelAccounts& accounts, QObject* context, const CommandInput& input,
                    const Report& report)
{
    reportStatus(accounts, context, &KelAccounts::updateSecurityQuestionResponse,
                 "updateSecurityQuestionResponse", report);
    accounts.updateSecurityQuestion(input.arguments.at(0), input.secrets.at(0));
}

void changePassword(KelAccounts& accounts, QObject* context, const CommandInput& input,
                    const Report& report)
{
    reportStatus(accounts, context, &KelAccounts::changePasswordResponse, "changePasswordResponse",
                 report);
    accounts.changePassword(input.secrets.at(0), input.secrets.at(1));
}

void changeUserName(KelAccounts& accounts, QObject* context, const CommandInput& input,
                    const Report& report)
{
    reportStatus(accounts, context, &KelAccounts::userIdUpdateResponse, "userIdUpdateResponse",
                 report);
    accounts.userIdUpdate(input.arguments.at(0));
}

void ensureToken(KelAccounts& accounts, QObject* context, const CommandInput& input,
                 const Report& report)
{
    reportStatus(accounts, context, &KelAccounts::ensureTokenAvailableResponse,
                 "ensureTokenAvailableResponse", report);
    accounts.ensureTokenAvailable(input.arguments.value(0).toUInt());
}

void closeSession(KelAccounts& accounts, QObject* context, const CommandInput& /*input*/,
                  const Report& report)
{
    reportStatus(accounts, context, &KelAccounts::closeResponse, "closeResponse", report);
    accounts.close();
}

const char registrationOptions[] =
    "--email=ADDRESS --user-name=NAME --mobile=NUMBER --captcha-id=ID --captcha-text=TEXT "
    "--first-name=NAME --last-name=NAME --country=CODE --language=CODE --question=ID "
    "--born=YYYY-MM-DD --marketing --no-device-account";

} // namespace

std::vector<Command> accountCommands()
{
    return {
        {"sign-in", "USER", "--no-device-account", "password",
         "sign in and set the account up on the device", "signInAndConfigure", true, signIn},
        {"register", "", registrationOptions, "password answer@--question",
         "register and set the account up on the device", "registerAccount", true, registerAccount},
        {"profile", "", "", "", "the profile of the signed-in user", "downloadProfile", true,
         profile},
        {"update-question", "QUESTION-ID", "", "answer", "change the security question",
         "updateSecurityQuestion", true, updateQuestion},
        {"change-password", "", "", "old-password new-password", "change the password",
         "changePassword", true, changePassword},
        {"change-user-name", "NAME", "", "", "give the account a user name", "userIdUpdate", true,
         changeUserName},
        {"ensure-token", "[CREDENTIALS-ID]", "", "", "make sure that there is an access token",
         "ensureTokenAvailable", true, ensureToken},
        {"close", "", "", "", "end the sign-on session", "close", false, closeSession},
    };
}
