// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accountcommands.h"

#include "answers.h"
#include "clientsettings.h"
#include "localecodes.h"
#include "tools/commandline/checks.h"

#include <kelaccount/client.h>
#include <kelaccount/kelaccounts.h>
#include <kelaccount/registrationinfo.h>

using KelAccount::KelAccounts;
using KelAccount::RegistrationInfo;

namespace {

void registerAccount(KelAccounts& accounts, const CommandInput& input)
{
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

// Which the facade does not offer.
void signOut(KelAccounts& accounts, const CommandInput& input, const Report& report)
{
    auto* const client = new KelAccount::Client(&accounts);
    const ClientSettings& settings = *input.settings;
    client->initialize(settings.consumerKey, settings.consumerSecret,
                       static_cast<KelAccount::Server>(settings.server), settings.service);
    const auto answer = [report](int status) {
        report({QStringLiteral("none, answered by the call"), status, {}});
    };
    client->signOut().then(
        client, [answer](const KelAccount::Done&) { answer(KelAccount::ErrorNone); },
        [answer](const KelAccount::Failure& failure) { answer(failure.status); });
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
         [](KelAccounts& a, const CommandInput& i) {
             a.signInAndConfigure(i.arguments.at(0), i.secrets.at(0),
                                  !i.has("--no-device-account"));
         }},
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
         nullptr,
         signOut},
        {{"close", {}, {}, "end the sign-on session", "close"},
         {},
         "close",
         false,
         {},
         [](KelAccounts& a, const CommandInput& /*input*/) { a.close(); }},
    };
}

std::vector<ClientCommand> signedInCommands()
{
    return {
        {{"profile", {}, {}, "show the profile of the signed-in user", "profile"},
         {},
         "downloadProfile",
         true,
         profileFields(),
         [](KelAccounts& a, const CommandInput& /*input*/) { a.downloadProfile(); }},
        {{"update-question",
          {{{"QUESTION-ID"}, "see security-questions"}},
          {},
          "change the security question",
          "update-question 4"},
         {{"answer"}},
         "updateSecurityQuestion",
         true,
         {},
         [](KelAccounts& a, const CommandInput& i) {
             a.updateSecurityQuestion(i.arguments.at(0), i.secrets.at(0));
         }},
        {{"change-password", {}, {}, "change the password", "change-password"},
         {{"old-password"}, {"new-password"}},
         "changePassword",
         true,
         {},
         [](KelAccounts& a, const CommandInput& i) {
             a.changePassword(i.secrets.at(0), i.secrets.at(1));
         }},
        {{"change-user-name",
          {{{"NAME"}, "the user name, which is for good"}},
          {},
          "give the account a user name",
          "change-user-name bob"},
         {},
         "userIdUpdate",
         true,
         {},
         [](KelAccounts& a, const CommandInput& i) { a.userIdUpdate(i.arguments.at(0)); }},
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
         [](KelAccounts& a, const CommandInput& i) {
             a.ensureTokenAvailable(i.arguments.value(0).toUInt());
         }},
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
