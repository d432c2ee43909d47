// SPDX-License-Identifier: LGPL-2.1-or-later
#include "servicecommands.h"

#include "clientsettings.h"
#include "tools/commandline/checks.h"

#include <QPixmap>

using KelAccount::ConsentQueryVariant;
using KelAccount::ErrorStatus;
using KelAccount::KelAccounts;
using KelAccount::PreAccountInfo;

namespace {

Outcome statusOnly(const char* signal, ErrorStatus status)
{
    return {QLatin1String(signal), status, {}};
}

Outcome withMap(const char* signal, ErrorStatus status, const QVariantMap& map)
{
    Outcome outcome = statusOnly(signal, status);
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        outcome.values.push_back({it.key(), it.value()});
    return outcome;
}

void checkUser(KelAccounts& accounts, QObject* context, const CommandInput& input,
               const Report& report)
{
    QObject::connect(&accounts, &KelAccounts::isUserIdAvailableResponse, context,
                     [report](ErrorStatus status, bool available, const QStringList& suggestions) {
                         report({QStringLiteral("isUserIdAvailableResponse"),
                                 status,
                                 {{QStringLiteral("available"), available},
                                  {QStringLiteral("suggestions"), suggestions}}});
                     });
    accounts.isUserIdAvailable(input.arguments.at(0));
}

void checkEmail(KelAccounts& accounts, QObject* context, const CommandInput& input,
                const Report& report)
{
    QObject::connect(&accounts, &KelAccounts::isEmailIdAvailableResponse, context,
                     [report](ErrorStatus status, bool available) {
                         report({QStringLiteral("isEmailIdAvailableResponse"),
                                 status,
                                 {{QStringLiteral("available"), available}}});
                     });
    accounts.isEmailIdAvailable(input.arguments.at(0));
}

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

void captcha(KelAccounts& accounts, QObject* context, const CommandInput& input,
             const Report& report)
{
    // A refusal comes by the short signal alone.
    QObject::connect(&accounts, &KelAccounts::captchaImageResponse, context,
                     [report](ErrorStatus status) {
                         if (status != KelAccount::ErrorNone)
                             report(statusOnly("captchaImageResponse", status));
                     });
    QObject::connect(&accounts, &KelAccounts::retrieveCaptchaImageResponse, context,
                     [report, file = input.option("--out")](
                         ErrorStatus status, const QPixmap& picture, const QString& captchaId) {
                         report(savedPicture(status, picture, captchaId, file));
                     });
    accounts.retrieveCaptchaImage(input.option("--width", "200").toInt(),
                                  input.option("--height", "80").toInt());
}

void securityQuestions(KelAccounts& accounts, QObject* context, const CommandInput& input,
                       const Report& report)
{
    QObject::connect(&accounts, &KelAccounts::securityQuestionListResponse, context,
                     [report](ErrorStatus status, const QVariantMap& questions) {
                         report(withMap("securityQuestionListResponse", status, questions));
                     });
    accounts.retrieveSecurityQuestionList(input.arguments.value(0, QStringLiteral("en")));
}

void detectPreAccount(KelAccounts& accounts, QObject* context, const CommandInput& /*input*/,
                      const Report& report)
{
    QObject::connect(&accounts, &KelAccounts::detectPreAccountResponse, context,
                     [report](ErrorStatus status, const PreAccountInfo& info) {
                         const QString country = info.country == QLocale::AnyCountry
                                                     ? QString()
                                                     : QLocale::countryToString(info.country);
                         report({QStringLiteral("detectPreAccountResponse"),
                                 status,
                                 {{QStringLiteral("preAccountId"), info.preAccountId},
                                  {QStringLiteral("username"), info.username},
                                  {QStringLiteral("mobile"), info.mobile},
                                  {QStringLiteral("country"), country}}});
                     });
    accounts.detectPreAccount();
}

void terms(KelAccounts& accounts, QObject* context, const CommandInput& input, const Report& report)
{
    QObject::connect(&accounts, &KelAccounts::termsOfServiceResponse, context,
                     [report](ErrorStatus status, const QVariantMap& addresses) {
                         report(withMap("termsOfServiceResponse", status, addresses));
                     });
    accounts.retrieveTermsOfService(input.arguments.at(0), input.option("--language"),
                                    input.option("--country"), input.has("--html") ? 1 : 0);
}

void marketingVariant(KelAccounts& accounts, QObject* context, const CommandInput& /*input*/,
                      const Report& report)
{
    QObject::connect(&accounts, &KelAccounts::marketingVariantResponse, context,
                     [report](ErrorStatus status, ConsentQueryVariant variant) {
                         report({QStringLiteral("marketingVariantResponse"),
                                 status,
                                 {{QStringLiteral("variant"), static_cast<int>(variant)}}});
                     });
    accounts.queryMarketingVariant();
}

void resetPassword(KelAccounts& accounts, QObject* context, const CommandInput& input,
                   const Report& report)
{
    QObject::connect(&accounts, &KelAccounts::requestPasswordResetResponse, context,
                     [report](ErrorStatus status) {
                         report(statusOnly("requestPasswordResetResponse", status));
                     });
    const QString message = input.option("--message");
    // A captcha belongs to the object that fetched it, so this one shows the device's service tag.
    accounts.requestPasswordReset(input.arguments.at(0), QString(), !message.isEmpty(), message);
}

void securityQuestion(KelAccounts& accounts, QObject* context, const CommandInput& input,
                      const Report& report)
{
    QObject::connect(&accounts, &KelAccounts::retrievePasswordResetSecQuestionResponse, context,
                     [report](ErrorStatus status, const QVariantMap& question) {
                         report(
                             withMap("retrievePasswordResetSecQuestionResponse", status, question));
                     });
    accounts.retrievePasswordResetSecQuestion(input.arguments.at(0),
                                              input.arguments.value(1, QStringLiteral("en")));
}

void resetWithQuestion(KelAccounts& accounts, QObject* context, const CommandInput& input,
                       const Report& report)
{
    QObject::connect(&accounts, &KelAccounts::resetPasswordUsingSecurityQuestionResponse, context,
                     [report](ErrorStatus status) {
                         report(statusOnly("resetPasswordUsingSecurityQuestionResponse", status));
                     });
    accounts.resetPasswordUsingSecurityQuestion(input.arguments.at(0), input.secrets.at(0),
                                                input.secrets.at(1), input.secrets.at(2));
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
         checkUser},
        {{"check-email",
          {{{"ADDRESS"}, "the e-mail address"}},
          {},
          "ask whether an e-mail address is free",
          "check-email bob@example.org"},
         {},
         "isEmailIdAvailable",
         true,
         {{"available", Field::Type::YesNo}},
         checkEmail},
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
         securityQuestions},
        {{"detect-pre-account",
          {},
          {},
          "show the account that is held ready for the SIM",
          "detect-pre-account"},
         {},
         "detectPreAccount",
         true,
         {{"preAccountId"}, {"username"}, {"mobile"}, {"country"}},
         detectPreAccount},
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
         terms},
        {{"marketing-variant",
          {},
          {},
          "show how to ask for marketing consent",
          "marketing-variant"},
         {},
         "queryMarketingVariant",
         true,
         {{"variant", Field::Type::Number}},
         marketingVariant},
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
         resetPassword},
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
         securityQuestion},
        {{"reset-with-question",
          {{{"USER"}, "user name, e-mail address or mobile number"}},
          {},
          "set a new password with the recovery token and the security answer",
          "reset-with-question bob"},
         {{"recovery-token"}, {"new-password"}, {"answer"}},
         "resetPasswordUsingSecurityQuestion",
         true,
         {},
         resetWithQuestion},
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
