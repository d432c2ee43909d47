// SPDX-License-Identifier: LGPL-2.1-or-later
#include "servicecommands.h"

#include "localecodes.h"
#include "tools/commandline/checks.h"

#include <kelaccount/kelaccounts.h>

#include <QPixmap>

using KelAccount::ErrorStatus;
using KelAccount::KelAccounts;

namespace {

// The picture is written to the file that --out names.
Outcome savedPicture(ErrorStatus status, const QPixmap& picture, const QString& captchaId,
                     const QString& file)
{
    Outcome outcome{QStringLiteral("retrieveCaptchaImageResponse"),
                    status,
                    {{QStringLiteral("captchaId"), captchaId}}};
    if (picture.isNull()) {
        outcome.failure = QStringLiteral("no picture came");
        return outcome;
    }
    outcome.values.push_back(
        {QStringLiteral("size"),
         QStringLiteral("%1 x %2").arg(picture.width()).arg(picture.height())});
    if (file.isEmpty())
        return outcome;
    if (picture.save(file, "PNG"))
        outcome.values.push_back({QStringLiteral("file"), file});
    else
        outcome.failure = QStringLiteral("cannot write '%1'").arg(file);
    return outcome;
}

void captcha(KelAccounts& accounts, const CommandInput& input, const Report& report)
{
    // A refusal comes by the short signal alone.
    QObject::connect(&accounts, &KelAccounts::captchaImageResponse, &accounts,
                     [report](ErrorStatus status) {
                         if (status != KelAccount::ErrorNone)
                             report({QStringLiteral("captchaImageResponse"), status, {}});
                     });
    QObject::connect(&accounts, &KelAccounts::retrieveCaptchaImageResponse, &accounts,
                     [report, file = input.option("--out")](
                         ErrorStatus status, const QPixmap& picture, const QString& captchaId) {
                         report(savedPicture(status, picture, captchaId, file));
                     });
    accounts.retrieveCaptchaImage(input.option("--width", "200").toInt(),
                                  input.option("--height", "80").toInt());
}

std::vector<ClientCommand> lookupCommands()
{
    return {
        {{"check-user",
          {{{"NAME"}, "the user name"}},
          {},
          "ask whether a user name is free",
          "check-user bob"},
         {},
         "isUserIdAvailable",
         true,
         {{"available", Field::Type::YesNo}, {"suggestions", Field::Type::Texts}},
         [](KelAccounts& a, const CommandInput& i) { a.isUserIdAvailable(i.arguments.at(0)); }},
        {{"check-email",
          {{{"ADDRESS"}, "the e-mail address"}},
          {},
          "ask whether an e-mail address is free",
          "check-email bob@example.org"},
         {},
         "isEmailIdAvailable",
         true,
         {{"available", Field::Type::YesNo}},
         [](KelAccounts& a, const CommandInput& i) { a.isEmailIdAvailable(i.arguments.at(0)); }},
        {{"captcha",
          {},
          {{"--out", {"FILE", nullptr, CommandLine::Completion::Files}, "write the picture here"},
           {"--width", {"PIXELS", CommandLine::number<1, 10000>}, "of the picture (200)"},
           {"--height", {"PIXELS", CommandLine::number<1, 10000>}, "of the picture (80)"}},
          "fetch a captcha picture",
          "captcha --out captcha.png"},
         {},
         "retrieveCaptchaImage",
         true,
         {{"captchaId", Field::Type::Text, false},
          {"size", Field::Type::Text, false},
          {"file", Field::Type::Text, false}},
         nullptr,
         captcha},
        {{"security-questions",
          {{{"LANGUAGE", languageProblem}, "of the questions (en)", true}},
          {},
          "show the security questions to choose from",
          "security-questions fi"},
         {},
         "retrieveSecurityQuestionList",
         true,
         {{"*"}},
         [](KelAccounts& a, const CommandInput& i) {
             a.retrieveSecurityQuestionList(i.arguments.value(0, QStringLiteral("en")));
         }},
        {{"detect-pre-account",
          {},
          {},
          "show the account that is held ready for the SIM",
          "detect-pre-account"},
         {},
         "detectPreAccount",
         true,
         {{"preAccountId"}, {"username"}, {"mobile"}, {"country"}},
         [](KelAccounts& a, const CommandInput& /*input*/) { a.detectPreAccount(); }},
        {{"terms",
          {{{"SERVICE"}, "the service's name"}},
          {{"--language", {"CODE", languageProblem}, "of the terms"},
           {"--country", {"CODE", countryProblem}, "of the user"},
           {"--html", {}, "as web pages instead of plain text"}},
          "show where a service's terms are",
          "terms music --language fi --country FI"},
         {},
         "retrieveTermsOfService",
         true,
         {{"serviceUrl", Field::Type::Text, false},
          {"tosUrl", Field::Type::Text, false},
          {"privacyPolicyUrl", Field::Type::Text, false},
          {"serviceSpecificTosUrl", Field::Type::Text, false},
          {"emailVerified", Field::Type::YesNo, false},
          {"extensions", Field::Type::TextsByName, false}},
         [](KelAccounts& a, const CommandInput& i) {
             a.retrieveTermsOfService(i.arguments.at(0), i.option("--language"),
                                      i.option("--country"), i.has("--html") ? 1 : 0);
         }},
        {{"marketing-variant",
          {},
          {},
          "show how to ask for marketing consent",
          "marketing-variant"},
         {},
         "queryMarketingVariant",
         true,
         {{"variant", Field::Type::Number}},
         [](KelAccounts& a, const CommandInput& /*input*/) { a.queryMarketingVariant(); }},
    };
}

std::vector<ClientCommand> recoveryCommands()
{
    return {
        {{"reset-password",
          {{{"USER"}, "user name, e-mail address or mobile number"}},
          {{"--message", {"TEXT"}, "what the message says before the code"}},
          "have a recovery message sent",
          "reset-password bob --message 'Your code:'"},
         {},
         "requestPasswordReset",
         true,
         {},
         [](KelAccounts& a, const CommandInput& i) {
             const QString message = i.option("--message");
             // A captcha belongs to the object that fetched it, so this one shows the device's
             // service tag.
             a.requestPasswordReset(i.arguments.at(0), QString(), !message.isEmpty(), message);
         }},
        {{"security-question",
          {{{"USER"}, "user name, e-mail address or mobile number"},
           {{"LANGUAGE", languageProblem}, "of the question (en)", true}},
          {},
          "show the security question of a user",
          "security-question bob fi"},
         {},
         "retrievePasswordResetSecQuestion",
         true,
         {{"userId", Field::Type::Text, false},
          {"securityQuestionId", Field::Type::Text, false},
          {"securityQuestionText", Field::Type::Text, false}},
         [](KelAccounts& a, const CommandInput& i) {
             a.retrievePasswordResetSecQuestion(i.arguments.at(0),
                                                i.arguments.value(1, QStringLiteral("en")));
         }},
        {{"reset-with-question",
          {{{"USER"}, "user name, e-mail address or mobile number"}},
          {},
          "set a new password with the recovery token and the security answer",
          "reset-with-question bob"},
         {{"recovery-token"}, {"new-password"}, {"answer"}},
         "resetPasswordUsingSecurityQuestion",
         true,
         {},
         [](KelAccounts& a, const CommandInput& i) {
             a.resetPasswordUsingSecurityQuestion(i.arguments.at(0), i.secrets.at(0),
                                                  i.secrets.at(1), i.secrets.at(2));
         }},
    };
}

} // namespace

std::vector<ClientCommand> serviceCommands()
{
    std::vector<ClientCommand> all = lookupCommands();
    for (const ClientCommand& command : recoveryCommands())
        all.push_back(command);
    return all;
}
