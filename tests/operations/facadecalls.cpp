// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/facadecalls.h"

#include <QMetaMethod>

namespace facadecalls {

using namespace KelRestHandler;

namespace {

QMetaMethod methodOf(const char* name, const QVariantList& arguments)
{
    const QMetaObject& facade = KelAccounts::staticMetaObject;
    for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
        const QMetaMethod method = facade.method(i);
        bool fits = method.name() == name && method.parameterCount() == arguments.size();
        for (int at = 0; fits && at < arguments.size(); ++at)
            fits = method.parameterType(at) == arguments.at(at).userType();
        if (fits)
            return method;
    }
    qFatal("the facade has no %s with such arguments", name);
}

void invoke(KelAccounts& accounts, const char* name, const QVariantList& arguments)
{
    QGenericArgument values[4];
    for (int at = 0; at < arguments.size(); ++at)
        values[at] = {arguments.at(at).typeName(), arguments.at(at).constData()};
    methodOf(name, arguments)
        .invoke(&accounts, Qt::DirectConnection, values[0], values[1], values[2], values[3]);
}

// Texts that must not be empty, at these positions.
QMap<int, QVariant> needed(std::initializer_list<int> positions)
{
    QMap<int, QVariant> values;
    for (const int position : positions)
        values.insert(position, QString());
    return values;
}

Operation service(const char* name, const QVariantList& arguments, const char* refusal,
                  NetRequestType sent, const char* failure, const QMap<int, QVariant>& bad = {})
{
    Operation operation{name, arguments, refusal, nullptr, bad};
    operation.sent = sent;
    operation.sentArguments = arguments;
    operation.failure = failure;
    return operation;
}

Operation withTag(Operation operation, const char* purpose)
{
    operation.tagPurpose = purpose;
    return operation;
}

Operation sending(Operation operation, const QVariantList& arguments)
{
    operation.sentArguments = arguments;
    return operation;
}

Operation session(const char* name, const QVariantList& arguments, const char* answer,
                  const char* mechanism, const QMap<int, QVariant>& bad = {})
{
    Operation operation{name, arguments, answer, answer, bad};
    operation.mechanism = mechanism;
    return operation;
}

KelAccount::RegistrationInfo registration()
{
    KelAccount::RegistrationInfo info;
    info.setUsername("new.user"_s);
    info.setEmailAddress("new.user@mail.example"_s);
    info.setPassword("the-new-password"_s);
    return info;
}

} // namespace

void Operation::call(KelAccounts& accounts) const
{
    invoke(accounts, name, arguments);
}

QVector<BadCall> Operation::badCalls() const
{
    QVector<BadCall> calls;
    const auto add = [&](const QByteArray& what, const QVariantList& changed) {
        const char* const method = name;
        calls.append({what, [=](KelAccounts& accounts) { invoke(accounts, method, changed); }});
    };
    const QList<QByteArray> names = methodOf(name, arguments).parameterNames();
    QVariantList all = arguments;
    for (auto value = bad.cbegin(); value != bad.cend(); ++value) {
        QVariantList one = arguments;
        one[value.key()] = all[value.key()] = *value;
        add(names.at(value.key()), one);
    }
    if (bad.size() > 1)
        add("any", all);
    return calls;
}

QVector<Operation> ofTheService()
{
    const QString user = "user"_s;
    return {
        service("retrieveCaptchaImage", {120, 40}, "captchaImageResponse(%1, no picture)",
                RetrieveCaptchaImage, "Failed to send retrieveCaptchaImage request"),
        service("retrieveSecurityQuestionList", {"fi"_s}, "securityQuestionListResponse(%1, {})",
                RetrieveSecurityQuestionList, "Failed to send retrieveSecurityQuestionList"),
        service("detectPreAccount", {}, "detectPreAccountResponse(%1, pre-account '' '' '' 0)",
                RetrievePreAccountInfo, "Failed to send detectPreAccount request"),
        service("queryMarketingVariant", {}, "marketingVariantResponse(%1, 0)", QueryConsentVariant,
                "Failed to send queryMarketingVariant Request"),
        sending(withTag(service("requestPasswordReset", {user, "x7Kq"_s, true, "the message"_s},
                                "requestPasswordResetResponse(%1)", SendResetMessage,
                                "Failed to send requestPasswordReset Request"),
                        ":SSO_PASSWORD_RECOVERY"),
                {user, QString(), "x7Kq"_s, true, "the message"_s}),
        service("isUserIdAvailable", {"alice"_s}, "isUserIdAvailableResponse(%1, false, [])",
                RetrieveUserNameAvailability, "Failed to send isUserIdAvailable request",
                needed({0})),
        sending(service("retrieveTermsOfService", {"service"_s, "sv"_s, "FI"_s, 2},
                        "termsOfServiceResponse(%1, {})", RetrieveTermsOfService,
                        "Failed to send retrieveTermsOfService Request", needed({0})),
                {"service"_s, "sv"_s, "FI"_s, 1}),
        withTag(service("isEmailIdAvailable", {"a@b.example"_s},
                        "isEmailIdAvailableResponse(%1, false)", RetrieveEmailIdAvailability,
                        "Failed to send isEmailIdAvailable Request", needed({0})),
                ":SSO_EMAIL_AVAILABILITY_CHECK"),
        service("retrievePasswordResetSecQuestion", {user, "de"_s},
                "retrievePasswordResetSecQuestionResponse(%1, {})", RetrieveSecurityQuestion,
                "Failed to send retrievePasswordResetSecQuestion", needed({0, 1})),
        sending(service("resetPasswordUsingSecurityQuestion",
                        {user, "token"_s, "new"_s, "answer"_s},
                        "resetPasswordUsingSecurityQuestionResponse(%1)", ResetPassword,
                        "Failed to send resetPasswordUsingSecurityQuestion Request",
                        needed({0, 1, 2, 3})),
                {user, "token"_s, "new"_s, "answer"_s, "en"_s}),
    };
}

QVector<Operation> ofTheSession()
{
    Operation download = session("downloadProfile", {}, "downloadProfileResponse(%1, profile)",
                                 "privateMechanism_downloadProfile");
    download.refusal = "downloadProfileResponse(%1, no profile)";
    return {
        download,
        session("updateSecurityQuestion", {"question-7"_s, "Ünser Hund"_s},
                "updateSecurityQuestionResponse(%1)", "privateMechanism_updateSecurityQuestion"),
        session("changePassword", {"the old öne"_s, "the new one"_s}, "changePasswordResponse(%1)",
                "privateMechanism_changepassword", needed({0, 1})),
        session("userIdUpdate", {"näme"_s}, "userIdUpdateResponse(%1)", "setUserId", needed({0})),
        // Credentials that nobody knows.
        session("ensureTokenAvailable", {0U}, "ensureTokenAvailableResponse(%1)",
                "privateMechanism_ensureToken", {{0, 4711U}}),
    };
}

QVector<SetUp> setUps()
{
    return {
        {"sign in",
         [](KelAccounts& a, bool configureOnDb) {
             a.signInAndConfigure("usér"_s, "the-passwörd"_s, configureOnDb);
         },
         [](KelAccounts& a) { a.signInAndConfigure(QString(), QString(), true); },
         "signInAndConfigureResponse", "signIn", "usér", "the-passwörd",
         "Failed to store credentials during signInAndConfigure",
         "Signin was successful.. but failed to configure the account on device"},
        {"register",
         [](KelAccounts& a, bool configureOnDb) {
             a.registerAccount(registration(), configureOnDb);
         },
         [](KelAccounts& a) { a.registerAccount(KelAccount::RegistrationInfo(), true); },
         "registerAccountResponse", "privateMechanism_registerAccount", "new.user@mail.example",
         "the-new-password", "Failed to store credentials during registration",
         "Registration was successful.. but failed to configure the account on device"},
    };
}

QString failure(const SetUp& setUp, int status)
{
    return "%1(%2, {})"_s.arg(text(setUp.answer)).arg(status);
}

} // namespace facadecalls
