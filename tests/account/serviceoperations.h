// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/literals.h"

#include <kelaccount/kelaccounts.h>

#include <QVariantList>
#include <QVector>

#include <functional>

/// The ten operations that need no sign-on session, as an application and the REST layer see them.
namespace serviceoperations {

using KelAccount::KelAccounts;
using Call = std::function<void(KelAccounts&)>;

struct BadCall
{
    const char* name; ///< the argument that is missing
    Call call;
};

struct Operation
{
    const char* name;
    Call call; ///< with arguments that nothing is wrong with
    QVector<BadCall> badCalls;
    const char* refusal;    ///< the one signal of a refusal, with %1 for the status
    const char* sent;       ///< the REST layer's operation
    QVariantList arguments; ///< that it is given, but for the service tag at their end
    const char* failure;    ///< logged when it cannot be sent
    const char* tagPurpose; ///< null: without a service tag
};

inline QVector<Operation> withoutChecks()
{
    return {
        {"retrieveCaptchaImage",
         [](KelAccounts& a) { a.retrieveCaptchaImage(120, 40); },
         {},
         "captchaImageResponse(%1, no picture)",
         "sendRetrieveCaptchaImageRequest",
         {120, 40},
         "Failed to send retrieveCaptchaImage request",
         nullptr},
        {"retrieveSecurityQuestionList",
         [](KelAccounts& a) { a.retrieveSecurityQuestionList("fi"_s); },
         {},
         "securityQuestionListResponse(%1, {})",
         "sendRetrieveSecQueListRequest",
         {"fi"_s},
         "Failed to send retrieveSecurityQuestionList",
         nullptr},
        {"detectPreAccount",
         [](KelAccounts& a) { a.detectPreAccount(); },
         {},
         "detectPreAccountResponse(%1, pre-account '' '' '' 0)",
         "senddetectPreAccountRequest",
         {},
         "Failed to send detectPreAccount request",
         nullptr},
        {"queryMarketingVariant",
         [](KelAccounts& a) { a.queryMarketingVariant(); },
         {},
         "marketingVariantResponse(%1, 0)",
         "sendQueryMarketingRequest",
         {},
         "Failed to send queryMarketingVariant Request",
         nullptr},
        {"requestPasswordReset",
         [](KelAccounts& a) { a.requestPasswordReset("user"_s, "x7Kq"_s, true, "the message"_s); },
         {},
         "requestPasswordResetResponse(%1)",
         "sendresetPasswordRequest",
         {"user"_s, QString(), "x7Kq"_s, true, "the message"_s},
         "Failed to send requestPasswordReset Request",
         ":SSO_PASSWORD_RECOVERY"},
    };
}

inline QVector<Operation> withOneCheck()
{
    return {
        {"isUserIdAvailable",
         [](KelAccounts& a) { a.isUserIdAvailable("alice"_s); },
         {{"name", [](KelAccounts& a) { a.isUserIdAvailable(QString()); }}},
         "isUserIdAvailableResponse(%1, false, [])",
         "sendisUserIdAvailRequest",
         {"alice"_s},
         "Failed to send isUserIdAvailable request",
         nullptr},
        {"retrieveTermsOfService",
         [](KelAccounts& a) { a.retrieveTermsOfService("service"_s, "sv"_s, "FI"_s, 2); },
         {{"service",
           [](KelAccounts& a) { a.retrieveTermsOfService(QString(), "sv"_s, "FI"_s, 0); }}},
         "termsOfServiceResponse(%1, {})",
         "sendretrieveTOSRequest",
         {"service"_s, "sv"_s, "FI"_s, 1},
         "Failed to send retrieveTermsOfService Request",
         nullptr},
        {"isEmailIdAvailable",
         [](KelAccounts& a) { a.isEmailIdAvailable("a@b.example"_s); },
         {{"address", [](KelAccounts& a) { a.isEmailIdAvailable(QString()); }}},
         "isEmailIdAvailableResponse(%1, false)",
         "sendisEmailAddAvailableRequest",
         {"a@b.example"_s},
         "Failed to send isEmailIdAvailable Request",
         ":SSO_EMAIL_AVAILABILITY_CHECK"},
    };
}

inline QVector<Operation> withSeveralChecks()
{
    const auto reset = [](const char* a, const char* b, const char* c, const char* d) -> Call {
        return [=](KelAccounts& accounts) {
            accounts.resetPasswordUsingSecurityQuestion(text(a), text(b), text(c), text(d));
        };
    };
    const auto question = [](const char* a, const char* b) -> Call {
        return [=](KelAccounts& accounts) {
            accounts.retrievePasswordResetSecQuestion(text(a), text(b));
        };
    };
    return {
        {"retrievePasswordResetSecQuestion",
         question("user", "de"),
         {{"user", question("", "de")},
          {"language", question("user", "")},
          {"both", question("", "")}},
         "retrievePasswordResetSecQuestionResponse(%1, {})",
         "sendRetrieveSecurityQuestionRequest",
         {"user"_s, "de"_s},
         "Failed to send retrievePasswordResetSecQuestion",
         nullptr},
        {"resetPasswordUsingSecurityQuestion",
         reset("user", "token", "new", "answer"),
         {{"user", reset("", "token", "new", "answer")},
          {"token", reset("user", "", "new", "answer")},
          {"password", reset("user", "token", "", "answer")},
          {"answer", reset("user", "token", "new", "")},
          {"all", reset("", "", "", "")}},
         "resetPasswordUsingSecurityQuestionResponse(%1)",
         "sendResetPasswordRequest",
         {"user"_s, "token"_s, "new"_s, "answer"_s, "en"_s},
         "Failed to send resetPasswordUsingSecurityQuestion Request",
         nullptr},
    };
}

inline QVector<Operation> all()
{
    return withoutChecks() + withOneCheck() + withSeveralChecks();
}

} // namespace serviceoperations
