// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/facadecalls.h"

#include "rest/restrequesthandler.h"

#include <QMetaMethod>
#include <QPixmap>

#include <type_traits>

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

/// What the service is asked for, what it replies, and the signals of that.
Operation served(Operation operation, const char* target, const char* reply,
                 const QStringList& lines)
{
    operation.target = target;
    operation.reply = reply;
    operation.lines = lines;
    return operation;
}

Operation placing(Operation operation, const QVector<Placed>& placed)
{
    operation.placed = placed;
    return operation;
}

Operation answered(Operation operation, const QVector<Answer>& answers)
{
    operation.answers = answers;
    return operation;
}

// A structure bears the request that is being answered.
template <class Value>
Value of(const RESTRequestHandler& handler, Value value)
{
    if constexpr (std::is_base_of_v<RESTResponseBase, Value>)
        value.requestId = handler.answering().requestId;
    return value;
}

template <class... Types, class... Values>
Answer answer(const char* name, void (ServiceSignals::*signal)(Types...), const char* line,
              Values... values)
{
    return {name,
            [=](RESTRequestHandler& handler) { (handler.*signal)(of(handler, values)...); },
            {text(line)}};
}

// The picture is made when it is given: most programs that read these rows have no use for one.
Answer captcha(const char* name, int status, const QSize& size, const char* id,
               const QStringList& lines)
{
    return {name,
            [=](RESTRequestHandler& handler) {
                handler.retrieveCaptchaImageResponse(
                    status, size.isEmpty() ? QPixmap() : QPixmap(size), text(id));
            },
            lines};
}

Answer name(const char* name, int status, bool available, const QStringList& suggestions,
            const char* line)
{
    UserNameAvailabilityResponse response;
    response.status = status;
    response.available = available;
    response.suggestions = suggestions;
    return answer(name, &ServiceSignals::userNameAvailabilityResponse, line, response);
}

Answer email(const char* name, int status, const char* line)
{
    return answer(name, &ServiceSignals::emailIdAvailabilityResponse, line, status);
}

Answer variant(const char* name, int status, int value, const char* line)
{
    return answer(name, &ServiceSignals::queryMarketingVariantResponse, line, status,
                  static_cast<ConsentQueryVariant>(value));
}

Answer terms(const char* name, int status, const QVariantMap& urls, const char* line)
{
    TermsUrlsResponse response;
    response.status = status;
    response.urls = urls;
    return answer(name, &ServiceSignals::retrieveTOSResponse, line, response);
}

Answer question(const char* name, int status, const char* user, const char* id,
                const char* question, const char* line)
{
    SecurityQuestionResponse response;
    response.status = status;
    response.securityQuestion.username = text(user);
    response.securityQuestion.passwordQuestionId = text(id);
    response.securityQuestion.passwordQuestionText = text(question);
    return answer(name, &ServiceSignals::retrieveSecurityQuestionResponse, line, response);
}

Answer reset(const char* name, int status, const char* line)
{
    RESTResponseBase response;
    response.status = status;
    return answer(name, &ServiceSignals::passwordResetResponse, line, response);
}

Operation captchaImage()
{
    return answered(
        served(service("retrieveCaptchaImage", {120, 40}, "captchaImageResponse(%1, no picture)",
                       RetrieveCaptchaImage, "Failed to send retrieveCaptchaImage request"),
               "captchas", "the picture",
               {"captchaImageResponse(0, picture 3x2)"_s,
                "retrieveCaptchaImageResponse(0, picture 3x2, 'captcha-9')"_s}),
        {captcha("captcha, no picture", 0, QSize(), "c-2",
                 {"captchaImageResponse(0, no picture)"_s,
                  "retrieveCaptchaImageResponse(0, no picture, 'c-2')"_s}),
         captcha("captcha", 0, QSize(7, 5), "c-1",
                 {"captchaImageResponse(0, picture 7x5)"_s,
                  "retrieveCaptchaImageResponse(0, picture 7x5, 'c-1')"_s}),
         captcha("captcha, error", 404, QSize(), "",
                 {"captchaImageResponse(404, no picture)"_s,
                  "retrieveCaptchaImageResponse(404, no picture, '')"_s})});
}

Operation securityQuestionList()
{
    const auto signal = &ServiceSignals::retrieveSecQueListResponse;
    return placing(
        answered(
            served(service("retrieveSecurityQuestionList", {"de"_s},
                           "securityQuestionListResponse(%1, {})", RetrieveSecurityQuestionList,
                           "Failed to send retrieveSecurityQuestionList"),
                   "securityquestions", "securityquestions/three-questions",
                   {"securityQuestionListResponse(0, {1: Wie heißt Ihre Mutter?, 10: , 2: What was "
                    "your first pet's name?})"_s}),
            {answer("questions", signal, "securityQuestionListResponse(0, {1: Pet?, 2: ?})", 0,
                    QVariantMap{{"1"_s, "Pet?"_s}, {"2"_s, "?"_s}}),
             answer("questions, error", signal, "securityQuestionListResponse(501, {})", 501,
                    QVariantMap())}),
        {{0, Placed::Query, 1002, 802}});
}

// 73 is Finland's number in Qt's table.
Operation preAccount()
{
    const auto signal = &ServiceSignals::detectPreAccountResponse;
    return answered(
        served(service("detectPreAccount", {},
                       "detectPreAccountResponse(%1, pre-account '' '' '' 0)",
                       RetrievePreAccountInfo, "Failed to send detectPreAccount request"),
               "autodetection", "preaccount/known",
               {"detectPreAccountResponse(0, pre-account 'pre-17' 'somebody' '+358401234567' "
                "73)"_s}),
        {answer("pre-account", signal,
                "detectPreAccountResponse(0, pre-account 'id' 'name' '+358' 73)", 0,
                PreAccountInfo{"id"_s, "name"_s, "+358"_s, QLocale::Finland}),
         answer("pre-account, error", signal,
                "detectPreAccountResponse(507, pre-account '' '' '' 0)", 507, PreAccountInfo())});
}

Operation marketingVariant()
{
    return answered(
        served(service("queryMarketingVariant", {}, "marketingVariantResponse(%1, 0)",
                       QueryConsentVariant, "Failed to send queryMarketingVariant Request"),
               "consentqueryvariant", "consentvariant/pre-ticked",
               {"marketingVariantResponse(0, 2)"_s}),
        {variant("variant 1", 0, 1, "marketingVariantResponse(0, 1)"),
         variant("variant 2", 0, 2, "marketingVariantResponse(0, 2)"),
         variant("variant 3", 0, 3, "marketingVariantResponse(0, 3)"),
         variant("variant 4", 0, 4, "marketingVariantResponse(0, 4)"),
         variant("variant 0", 0, 0, "marketingVariantResponse(0, 0)"),
         variant("variant 5", 0, 5, "marketingVariantResponse(0, 0)"),
         variant("variant -1", 0, -1, "marketingVariantResponse(0, 0)"),
         variant("variant with an error", 505, 0, "marketingVariantResponse(505, 0)"),
         variant("variant 3 with an error", 505, 3, "marketingVariantResponse(505, 3)")});
}

Operation recoveryMessage()
{
    const auto signal = &ServiceSignals::requestPasswordResetResponse;
    const Operation plain =
        service("requestPasswordReset", {"bob"_s, "x7Kq"_s, true, "the message"_s},
                "requestPasswordResetResponse(%1)", SendResetMessage,
                "Failed to send requestPasswordReset Request");
    return placing(answered(served(sending(withTag(plain, ":SSO_PASSWORD_RECOVERY"),
                                           {"bob"_s, QString(), "x7Kq"_s, true, "the message"_s}),
                                   "simplifiedpasswordrecovery/bob/send", "",
                                   {"requestPasswordResetResponse(0)"_s}),
                            {answer("recovery", signal, "requestPasswordResetResponse(0)", 0),
                             answer("recovery, wrong captcha", signal,
                                    "requestPasswordResetResponse(517)", 517)}),
                   {{0, Placed::Path, 1002, 802}});
}

Operation nameAvailability()
{
    return placing(
        answered(
            served(service("isUserIdAvailable", {"bob"_s},
                           "isUserIdAvailableResponse(%1, false, [])", RetrieveUserNameAvailability,
                           "Failed to send isUserIdAvailable request", needed({0})),
                   "availability/bob", "usernameavailability/none",
                   {"isUserIdAvailableResponse(0, true, [])"_s}),
            {name("name, free", 0, true, {}, "isUserIdAvailableResponse(0, true, [])"),
             name("name, taken", 0, false, {"alice1"_s, "a2"_s},
                  "isUserIdAvailableResponse(0, false, [alice1, a2])"),
             name("name, reserved", 512, false, {}, "isUserIdAvailableResponse(512, false, [])")}),
        {{0, Placed::Path}});
}

Operation termsOfService()
{
    return placing(
        answered(served(service("retrieveTermsOfService", {"shop"_s, "fi"_s, "FI"_s, 0},
                                "termsOfServiceResponse(%1, {})", RetrieveTermsOfService,
                                "Failed to send retrieveTermsOfService Request", needed({0})),
                        "services/shop?lang=fi&country=FI&format=text", "termsurls/one-address",
                        {"termsOfServiceResponse(0, {tosUrl: })"_s}),
                 {terms("terms", 0, {{"privacy"_s, "https://p.example/"_s}},
                        "termsOfServiceResponse(0, {privacy: https://p.example/})"),
                  terms("terms, error", 503, {}, "termsOfServiceResponse(503, {})")}),
        {{0, Placed::Path}, {1, Placed::Query}, {2, Placed::Query}});
}

Operation emailAvailability()
{
    const Operation plain = service(
        "isEmailIdAvailable", {"bob@mail.example"_s}, "isEmailIdAvailableResponse(%1, false)",
        RetrieveEmailIdAvailability, "Failed to send isEmailIdAvailable Request", needed({0}));
    return answered(served(withTag(plain, ":SSO_EMAIL_AVAILABILITY_CHECK"), "emailavailability/",
                           "", {"isEmailIdAvailableResponse(0, true)"_s}),
                    {email("address, free", 0, "isEmailIdAvailableResponse(0, true)"),
                     email("address, taken", 508, "isEmailIdAvailableResponse(0, false)"),
                     email("address, reserved", 515, "isEmailIdAvailableResponse(515, false)"),
                     email("address, network", 404, "isEmailIdAvailableResponse(404, false)"),
                     email("address, unknown", 1004, "isEmailIdAvailableResponse(1004, false)")});
}

Operation questionOfAUser()
{
    return placing(
        answered(
            served(service("retrievePasswordResetSecQuestion", {"bob"_s, "de"_s},
                           "retrievePasswordResetSecQuestionResponse(%1, {})",
                           RetrieveSecurityQuestion,
                           "Failed to send retrievePasswordResetSecQuestion", needed({0, 1})),
                   "simplifiedpasswordrecovery/bob/question", "securityquestion/of-a-user",
                   {"retrievePasswordResetSecQuestionResponse(0, {securityQuestionId: 3, "
                    "securityQuestionText: What was your first pet's name?, userId: somebody})"_s}),
            {question("question", 0, "u", "12", "Pet?",
                      "retrievePasswordResetSecQuestionResponse(0, {securityQuestionId: 12, "
                      "securityQuestionText: Pet?, userId: u})"),
             question("question, error", 519, "", "", "",
                      "retrievePasswordResetSecQuestionResponse(519, {securityQuestionId: , "
                      "securityQuestionText: , userId: })")}),
        {{0, Placed::Path}, {1, Placed::Query}});
}

Operation resetByQuestion()
{
    const QString token = "planted-token"_s;
    const QString password = "planted-password"_s;
    const QString reply = "planted-answer"_s;
    return placing(
        answered(
            served(sending(service("resetPasswordUsingSecurityQuestion",
                                   {"bob"_s, token, password, reply},
                                   "resetPasswordUsingSecurityQuestionResponse(%1)", ResetPassword,
                                   "Failed to send resetPasswordUsingSecurityQuestion Request",
                                   needed({0, 1, 2, 3})),
                           {"bob"_s, token, password, reply, "en"_s}),
                   "simplifiedpasswordrecovery/bob/change", "",
                   {"resetPasswordUsingSecurityQuestionResponse(0)"_s}),
            {reset("reset", 0, "resetPasswordUsingSecurityQuestionResponse(0)"),
             reset("reset, error", 522, "resetPasswordUsingSecurityQuestionResponse(522)")}),
        {{0, Placed::Path}});
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

BadCall Operation::with(int position, const QVariant& value) const
{
    QVariantList changed = arguments;
    changed[position] = value;
    return {methodOf(name, arguments).parameterNames().at(position),
            [method = name, changed](KelAccounts& accounts) { invoke(accounts, method, changed); }};
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

const QVector<Operation>& ofTheService()
{
    static const QVector<Operation> all = {
        captchaImage(),    securityQuestionList(), preAccount(),     marketingVariant(),
        recoveryMessage(), nameAvailability(),     termsOfService(), emailAvailability(),
        questionOfAUser(), resetByQuestion(),
    };
    return all;
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
