// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/facadecalls.h"

#include "rest/restrequesthandler.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/registrationinfo.h>

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

/// What the service is asked for, what it replies, and what the signal of that carries; what those
/// of the answers carry stands in their rows.
Operation served(Operation operation, const char* target, const char* reply, const char* carried)
{
    const QString signal = text(operation.refusal).section(QLatin1Char('('), 0, 0) + "(%1)"_s;
    operation.target = target;
    operation.reply = reply;
    operation.lines = QStringList(signal.arg(text(carried)));
    for (Answer& answer : operation.answers)
        answer.lines[0] = signal.arg(answer.lines[0]);
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
Answer answer(const char* name, void (ServiceSignals::*signal)(Types...), const char* carried,
              Values... values)
{
    return {name,
            [=](RESTRequestHandler& handler) { (handler.*signal)(of(handler, values)...); },
            {text(carried)}};
}

// A structure with this status, and with what else is put in.
template <class Response, class Fill>
Answer structure(const char* name, void (ServiceSignals::*signal)(Response), const char* carried,
                 int status, Fill fill)
{
    Response response;
    response.status = status;
    fill(response);
    return answer(name, signal, carried, response);
}

// The picture is made when it is given: most programs that read these rows have no use for one.
Answer captcha(const char* name, int status, const QSize& size, const char* id, const char* carried)
{
    return {
        name,
        [=](RESTRequestHandler& handler) {
            handler.retrieveCaptchaImageResponse(status, size.isEmpty() ? QPixmap() : QPixmap(size),
                                                 text(id));
        },
        {text(carried), "retrieveCaptchaImageResponse(%1, '%2')"_s.arg(text(carried), text(id))}};
}

Operation captchaImage()
{
    Operation image =
        service("retrieveCaptchaImage", {120, 40}, "captchaImageResponse(%1, no picture)",
                RetrieveCaptchaImage, "Failed to send retrieveCaptchaImage request");
    image.answers = {captcha("captcha, no picture", 0, QSize(), "c-2", "0, no picture"),
                     captcha("captcha", 0, QSize(7, 5), "c-1", "0, picture 7x5"),
                     captcha("captcha, error", 404, QSize(), "", "404, no picture")};
    image = served(image, "captchas", "the picture", "0, picture 3x2");
    image.lines.append("retrieveCaptchaImageResponse(0, picture 3x2, 'captcha-9')"_s);
    return image;
}

Operation securityQuestionList()
{
    const auto signal = &ServiceSignals::retrieveSecQueListResponse;
    Operation list =
        service("retrieveSecurityQuestionList", {"de"_s}, "securityQuestionListResponse(%1, {})",
                RetrieveSecurityQuestionList, "Failed to send retrieveSecurityQuestionList");
    list.placed = {{0, Placed::Query, 1002, 802}};
    list.answers = {answer("questions", signal, "0, {1: Pet?, 2: ?}", 0,
                           QVariantMap{{"1"_s, "Pet?"_s}, {"2"_s, "?"_s}}),
                    answer("questions, error", signal, "501, {}", 501, QVariantMap())};
    return served(list, "securityquestions", "securityquestions/three-questions",
                  "0, {1: Wie heißt Ihre Mutter?, 10: , 2: What was your first pet's name?}");
}

// 73 is Finland's number in Qt's table.
Operation preAccount()
{
    const auto signal = &ServiceSignals::detectPreAccountResponse;
    Operation account =
        service("detectPreAccount", {}, "detectPreAccountResponse(%1, pre-account '' '' '' 0)",
                RetrievePreAccountInfo, "Failed to send detectPreAccount request");
    account.answers = {
        answer("pre-account", signal, "0, pre-account 'id' 'name' '+358' 73", 0,
               PreAccountInfo{"id"_s, "name"_s, "+358"_s, QLocale::Finland}),
        answer("pre-account, error", signal, "507, pre-account '' '' '' 0", 507, PreAccountInfo())};
    return served(account, "autodetection", "preaccount/known",
                  "0, pre-account 'pre-17' 'somebody' '+358401234567' 73");
}

Operation marketingVariant()
{
    const auto variant = [](const char* name, int status, int value, const char* carried) {
        return answer(name, &ServiceSignals::queryMarketingVariantResponse, carried, status,
                      static_cast<ConsentQueryVariant>(value));
    };
    Operation query = service("queryMarketingVariant", {}, "marketingVariantResponse(%1, 0)",
                              QueryConsentVariant, "Failed to send queryMarketingVariant Request");
    query.answers = {variant("variant 1", 0, 1, "0, 1"),
                     variant("variant 2", 0, 2, "0, 2"),
                     variant("variant 3", 0, 3, "0, 3"),
                     variant("variant 4", 0, 4, "0, 4"),
                     variant("variant 0", 0, 0, "0, 0"),
                     variant("variant 5", 0, 5, "0, 0"),
                     variant("variant -1", 0, -1, "0, 0"),
                     variant("variant with an error", 505, 0, "505, 0"),
                     variant("variant 3 with an error", 505, 3, "505, 3")};
    return served(query, "consentqueryvariant", "consentvariant/pre-ticked", "0, 2");
}

Operation recoveryMessage()
{
    const auto signal = &ServiceSignals::requestPasswordResetResponse;
    Operation message = service("requestPasswordReset", {"bob"_s, "x7Kq"_s, true, "the message"_s},
                                "requestPasswordResetResponse(%1)", SendResetMessage,
                                "Failed to send requestPasswordReset Request");
    message.sentArguments.insert(1, QString());
    message.tagPurpose = ":SSO_PASSWORD_RECOVERY";
    message.placed = {{0, Placed::Path, 1002, 802}};
    message.answers = {answer("recovery", signal, "0", 0),
                       answer("recovery, wrong captcha", signal, "517", 517)};
    return served(message, "simplifiedpasswordrecovery/bob/send", "", "0");
}

Operation nameAvailability()
{
    const auto row = [](const char* name, int status, bool available,
                        const QStringList& suggestions, const char* carried) {
        return structure(name, &ServiceSignals::userNameAvailabilityResponse, carried, status,
                         [&](UserNameAvailabilityResponse& response) {
                             response.available = available;
                             response.suggestions = suggestions;
                         });
    };
    Operation name = service(
        "isUserIdAvailable", {"bob"_s}, "isUserIdAvailableResponse(%1, false, [])",
        RetrieveUserNameAvailability, "Failed to send isUserIdAvailable request", needed({0}));
    name.placed = {{0, Placed::Path}};
    name.answers = {row("name, free", 0, true, {}, "0, true, []"),
                    row("name, taken", 0, false, {"alice1"_s, "a2"_s}, "0, false, [alice1, a2]"),
                    row("name, reserved", 512, false, {}, "512, false, []")};
    return served(name, "availability/bob", "usernameavailability/none", "0, true, []");
}

Operation termsOfService()
{
    const auto row = [](const char* name, int status, const QVariantMap& urls,
                        const char* carried) {
        return structure(name, &ServiceSignals::retrieveTOSResponse, carried, status,
                         [&](TermsUrlsResponse& response) { response.urls = urls; });
    };
    Operation terms = service("retrieveTermsOfService", {"shop"_s, "fi"_s, "FI"_s, 0},
                              "termsOfServiceResponse(%1, {})", RetrieveTermsOfService,
                              "Failed to send retrieveTermsOfService Request", needed({0}));
    terms.placed = {{0, Placed::Path}, {1, Placed::Query}, {2, Placed::Query}};
    terms.answers = {row("terms", 0, {{"privacy"_s, "https://p.example/"_s}},
                         "0, {privacy: https://p.example/}"),
                     row("terms, error", 503, {}, "503, {}")};
    return served(terms, "services/shop?lang=fi&country=FI&format=text", "termsurls/one-address",
                  "0, {tosUrl: }");
}

Operation emailAvailability()
{
    const auto signal = &ServiceSignals::emailIdAvailabilityResponse;
    Operation email = service("isEmailIdAvailable", {"bob@mail.example"_s},
                              "isEmailIdAvailableResponse(%1, false)", RetrieveEmailIdAvailability,
                              "Failed to send isEmailIdAvailable Request", needed({0}));
    email.tagPurpose = ":SSO_EMAIL_AVAILABILITY_CHECK";
    email.answers = {answer("address, free", signal, "0, true", 0),
                     answer("address, taken", signal, "0, false", 508),
                     answer("address, reserved", signal, "515, false", 515),
                     answer("address, network", signal, "404, false", 404),
                     answer("address, unknown", signal, "1004, false", 1004)};
    return served(email, "emailavailability/", "", "0, true");
}

Operation questionOfAUser()
{
    const auto signal = &ServiceSignals::retrieveSecurityQuestionResponse;
    Operation question =
        service("retrievePasswordResetSecQuestion", {"bob"_s, "de"_s},
                "retrievePasswordResetSecQuestionResponse(%1, {})", RetrieveSecurityQuestion,
                "Failed to send retrievePasswordResetSecQuestion", needed({0, 1}));
    question.placed = {{0, Placed::Path}, {1, Placed::Query}};
    question.answers = {
        structure("question", signal,
                  "0, {securityQuestionId: 12, securityQuestionText: Pet?, userId: u}", 0,
                  [](SecurityQuestionResponse& response) {
                      response.securityQuestion.username = "u"_s;
                      response.securityQuestion.passwordQuestionId = "12"_s;
                      response.securityQuestion.passwordQuestionText = "Pet?"_s;
                  }),
        structure("question, error", signal,
                  "519, {securityQuestionId: , securityQuestionText: , userId: }", 519,
                  [](SecurityQuestionResponse&) {})};
    return served(question, "simplifiedpasswordrecovery/bob/question", "securityquestion/of-a-user",
                  "0, {securityQuestionId: 3, securityQuestionText: What was your first pet's "
                  "name?, userId: somebody}");
}

Operation resetByQuestion()
{
    const auto signal = &ServiceSignals::passwordResetResponse;
    const auto nothing = [](RESTResponseBase&) {};
    Operation reset =
        service("resetPasswordUsingSecurityQuestion",
                {"bob"_s, "planted-token"_s, "planted-password"_s, "planted-answer"_s},
                "resetPasswordUsingSecurityQuestionResponse(%1)", ResetPassword,
                "Failed to send resetPasswordUsingSecurityQuestion Request", needed({0, 1, 2, 3}));
    reset.sentArguments.append("en"_s);
    reset.placed = {{0, Placed::Path}};
    reset.answers = {structure("reset", signal, "0", 0, nothing),
                     structure("reset, error", signal, "522", 522, nothing)};
    return served(reset, "simplifiedpasswordrecovery/bob/change", "", "0");
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
