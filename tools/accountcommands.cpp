// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accountcommands.h"

#include "clientsettings.h"
#include "tools/commandline/checks.h"

#include <kelaccount/client.h>
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
                                !input.has("--no-device-account"));
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
    info.setMarketingInfo(input.has("--marketing"));
    accounts.registerAccount(info, !input.has("--no-device-account"));
}

// An answer to a security question is as good as a password.
bool isSecret(const QMetaProperty& property)
{
    return qstrcmp(property.name(), "securityAnswer") == 0;
}

Field::Type fieldType(const QMetaProperty& property)
{
    switch (property.type()) {
    case QVariant::Bool:
        return Field::Type::YesNo;
    case QVariant::Int:
    case QVariant::UInt:
    case QVariant::LongLong:
        return Field::Type::Number;
    case QVariant::StringList:
        return Field::Type::Texts;
    default:
        return Field::Type::Text;
    }
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
                if (isSecret(property))
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

// Which the facade does not offer.
void signOut(KelAccounts& /*accounts*/, QObject* context, const CommandInput& input,
             const Report& report)
{
    auto* const client = new KelAccount::Client(context);
    const ClientSettings& settings = *input.settings;
    client->initialize(settings.consumerKey, settings.consumerSecret,
                       static_cast<KelAccount::Server>(settings.server), settings.service);
    const auto answer = [report](int status) {
        report({QStringLiteral("none, answered by the call"), status, {}});
    };
    client->signOut().then(
        context, [answer](const KelAccount::Done&) { answer(KelAccount::ErrorNone); },
        [answer](const KelAccount::Failure& failure) { answer(failure.status); });
}

void closeSession(KelAccounts& accounts, QObject* context, const CommandInput& /*input*/,
                  const Report& report)
{
    reportStatus(accounts, context, &KelAccounts::closeResponse, "closeResponse", report);
    accounts.close();
}

std::vector<CommandLine::Option> registrationOptions()
{
    return {
        {"--email", {"ADDRESS"}, "the e-mail address to register with"},
        {"--user-name", {"NAME"}, "the user name to register with"},
        {"--mobile", {"NUMBER"}, "the mobile number, beginning with +"},
        {"--captcha-id", {"ID"}, "of the captcha that was solved"},
        {"--captcha-text", {"TEXT"}, "what its picture says"},
        {"--first-name", {"NAME"}, "the first name"},
        {"--last-name", {"NAME"}, "the last name"},
        {"--country", {"CODE", countryProblem}, "the country, such as FI"},
        {"--language", {"CODE", languageProblem}, "the language, such as fi"},
        {"--question", {"ID"}, "the security question, see security-questions"},
        {"--born", {"YYYY-MM-DD", CommandLine::date}, "the birthday"},
        {"--marketing", {}, "agree to marketing messages"},
        {"--no-device-account", {}, "set up no account on the device"},
    };
}

std::vector<Field> accountFields()
{
    return {{"IdentityId", Field::Type::Number, false},
            {"AccountId", Field::Type::Text, false},
            {"LoginId", Field::Type::Text, false},
            {"UserId", Field::Type::Text, false},
            {"EmailAddress", Field::Type::Text, false}};
}

std::vector<ClientCommand> setUpCommands()
{
    return {
        {{"sign-in",
          {{{"USER"}, "user name, e-mail address or mobile number"}},
          {{"--no-device-account", {}, "set up no account on the device"}},
          "sign in and set the account up on the device",
          "sign-in alice"},
         {{"password"}},
         "signInAndConfigure",
         true,
         accountFields(),
         signIn},
        {{"register",
          {},
          registrationOptions(),
          "register and set the account up on the device",
          "register --email bob@example.org --country FI --language fi --born 1990-02-28"},
         {{"password"}, {"answer", "--question"}},
         "registerAccount",
         true,
         accountFields(),
         registerAccount},
        {{"sign-out", {}, {}, "take token, credentials and account off the device", "sign-out"},
         {},
         "signOut",
         true,
         {},
         signOut},
        {{"close", {}, {}, "end the sign-on session", "close"},
         {},
         "close",
         false,
         {},
         closeSession},
    };
}

std::vector<Field> profileFields()
{
    std::vector<Field> fields;
    const QMetaObject& meta = ProfileInfo::staticMetaObject;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        if (!isSecret(property))
            fields.push_back({property.name(), fieldType(property), false});
    }
    return fields;
}

std::vector<ClientCommand> signedInCommands()
{
    return {
        {{"profile", {}, {}, "show the profile of the signed-in user", "profile"},
         {},
         "downloadProfile",
         true,
         profileFields(),
         profile},
        {{"update-question",
          {{{"QUESTION-ID"}, "see security-questions"}},
          {},
          "change the security question",
          "update-question 4"},
         {{"answer"}},
         "updateSecurityQuestion",
         true,
         {},
         updateQuestion},
        {{"change-password", {}, {}, "change the password", "change-password"},
         {{"old-password"}, {"new-password"}},
         "changePassword",
         true,
         {},
         changePassword},
        {{"change-user-name",
          {{{"NAME"}, "the user name, which is for good"}},
          {},
          "give the account a user name",
          "change-user-name bob"},
         {},
         "userIdUpdate",
         true,
         {},
         changeUserName},
        {{"ensure-token",
          {{{"CREDENTIALS-ID", CommandLine::number<1, 4294967295>},
            "whose token, instead of the device account's",
            true}},
          {},
          "make sure that there is an access token",
          "ensure-token"},
         {},
         "ensureTokenAvailable",
         true,
         {},
         ensureToken},
    };
}

} // namespace

std::vector<ClientCommand> accountCommands()
{
    std::vector<ClientCommand> all = setUpCommands();
    for (const ClientCommand& command : signedInCommands())
        all.push_back(command);
    return all;
}
