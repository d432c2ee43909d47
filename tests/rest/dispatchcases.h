// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "replyreaders.h"
#include "wiredata.h"

#include <QNetworkReply>
#include <QVector>

/// Replies to every operation, and the answers that they are to become. The answers are written by
/// hand, here and in the .expect files of data/.
namespace dispatchcases {

using replyreaders::line;

enum class Ending { Success, ServerError, NetworkError, Malformed };

struct Case
{
    int type;
    Ending ending;
    QString name;
    QNetworkReply::NetworkError error;
    QString text;       ///< status line, headers and body, as the transport hands them over
    QStringList answer; ///< as RecordedAnswers writes it; empty when no signal answers
};

inline const auto consumerKey = QStringLiteral("the key");
constexpr int requestId = 17;

// Every reply here carries the same date.
inline const auto head = QStringLiteral("200 OK\r\nDate: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n");
inline const auto headTime = QStringLiteral("1994-11-15T08:12:31.000Z");

inline const auto declaration = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");

inline QString element(const QString& tag, const QString& content)
{
    return QStringLiteral("<%1>%2</%1>").arg(tag, content);
}

/// A picture of three by two pixels, all of them ff8000, as PNG. Made with Python's zlib.
inline const auto picture = QStringLiteral(
    "iVBORw0KGgoAAAANSUhEUgAAAAMAAAACCAIAAAASFvFNAAAAEElEQVR4nGP438AAQQxwFgBf0gj7joAK"
    "VQAAAABJRU5ErkJggg==");

/// What answers an operation, apart from the record that it carries.
struct Row
{
    int type;
    const char* signal;  ///< null: none
    bool structure;      ///< RESTResponseBase or more; otherwise the first argument is the status
    const char* success; ///< case in data/, or the body itself
    QStringList record;  ///< what the success carries
    QStringList nothing; ///< what the record is when it was not filled
    const char* errorContent; ///< of an error document
    int errorStatus;
};

inline QStringList expected(const char* name)
{
    QStringList lines =
        wiredata::text(QLatin1String(name) + QLatin1String(".expect")).split(QLatin1Char('\n'));
    lines.removeLast(); // behind the last line's end
    return lines;
}

/// The body of a reply.
inline QString body(const char* success)
{
    const QString text = QString::fromUtf8(success);
    return text.isEmpty() || text.startsWith(QLatin1Char('<'))
               ? text
               : wiredata::text(text + QLatin1String(".reply"));
}

inline QString captchaReply()
{
    return declaration +
           element(QStringLiteral("captchaCreationResponse"),
                   element(QStringLiteral("captchaId"), QStringLiteral("captcha-9")) +
                       element(QStringLiteral("imageType"), QStringLiteral("image/jpeg")) +
                       element(QStringLiteral("imageData"), picture));
}

inline QStringList noTerms()
{
    return {line("terms", QStringLiteral("no")), line("service terms", QStringLiteral("no")),
            line("privacy policy", QStringLiteral("no"))};
}

inline QStringList noTermsInReply()
{
    return {line("terms present", QStringLiteral("no")), line("terms", QStringLiteral("no")),
            line("privacy policy", QStringLiteral("no")),
            line("service terms", QStringLiteral("no"))};
}

/// Operations 1 to 14; the captcha's success is not here, it is written out below.
inline QVector<Row> withoutAccount()
{
    const QStringList noRegistration = expected("signin/nothing").mid(0, 12) + noTerms();
    const QStringList noPicture = {line("captcha id", QString()),
                                   line("picture", QStringLiteral("0 by 0"))};
    return {
        {1, "signInResponse", true, "signin/everything", expected("signin/everything"),
         expected("signin/nothing"), "<errorCode>accountLocked</errorCode>", 510},
        {2, "tokenRefreshResponse", true, "tokenrefresh/token-only",
         expected("tokenrefresh/token-only"), expected("signin/nothing"),
         "<errorCode>invalidAccessToken</errorCode>", 500},
        {3,
         "userNameAvailabilityResponse",
         true,
         "usernameavailability/none",
         {QStringLiteral("available: yes")},
         {QStringLiteral("available: no")},
         "<errorCode>operationFailed</errorCode>",
         508},
        {4, "retrieveCaptchaImageResponse", false, "captcha/no-picture", noPicture, noPicture,
         "<errorCode>generalError</errorCode>", 505},
        {5, "accountRegistrationResponse", true, "registration/account-and-token",
         expected("registration/account-and-token") + noTerms(), noRegistration,
         "<registrationError><captchaError/></registrationError>", 513},
        {6,
         "retrieveSecQueListResponse",
         false,
         "securityquestions/three-questions",
         expected("securityquestions/three-questions"),
         {},
         "<errorCode>illegalRequestMethod</errorCode>",
         501},
        {7, "detectPreAccountResponse", false, "preaccount/known", expected("preaccount/known"),
         expected("preaccount/nothing"), "<errorCode>resourceNotFound</errorCode>", 507},
        {8,
         "retrieveTOSResponse",
         true,
         "termsurls/everything",
         expected("termsurls/everything"),
         {},
         "<errorCode>invalidUrl</errorCode>",
         503},
        {9, "tokenDeletionResponse", true, "", {}, {}, "<errorCode>notAuthorized</errorCode>", 504},
        {10,
         "requestPasswordResetResponse",
         false,
         "",
         {},
         {},
         "<errorCode>captchaError</errorCode><extensions><detailedErrorCode>invalidCaptcha"
         "</detailedErrorCode></extensions>",
         517},
        {11,
         "emailIdAvailabilityResponse",
         false,
         "",
         {},
         {},
         "<errorCode>operationFailed</errorCode>",
         508},
        {12, "queryMarketingVariantResponse", false, "consentvariant/pre-ticked",
         expected("consentvariant/pre-ticked"), expected("consentvariant/unknown"),
         "<errorCode>unknownContentType</errorCode>", 502},
        {13,
         "passwordResetResponse",
         true,
         "<?xml version=\"1.0\"?><simplifiedChangePasswordResponse/>",
         {},
         {},
         "<errorCode>attributeSyntaxError</errorCode>",
         522},
        {14, "retrieveSecurityQuestionResponse", true, "securityquestion/of-a-user",
         expected("securityquestion/of-a-user"), expected("securityquestion/nothing"),
         "<errorCode>x</errorCode><extensions><detailedErrorCode>userNotFound</detailedErrorCode>"
         "</extensions>",
         519},
    };
}

/// Operations 15 to 26.
inline QVector<Row> withAccount()
{
    return {
        {15,
         "changePasswordResponse",
         true,
         "usernameupdate/new-name",
         {},
         {},
         "<profileUpdateError><attributeSyntaxError/></profileUpdateError>",
         522},
        {16,
         nullptr,
         true,
         "marketingconsent/mobile-only",
         {},
         {},
         "<errorCode>notAuthorized</errorCode>",
         504},
        {17, nullptr, true, "", {}, {}, "<errorCode>notAuthorized</errorCode>", 504},
        {18,
         nullptr,
         true,
         "contactsupdate/three-contacts",
         {},
         {},
         "<errorCode>notAuthorized</errorCode>",
         504},
        {19, nullptr, true, "contactsupdate/three-contacts", {}, {}, "<contactUpdateError/>", 511},
        {20, "retrieveTermsAcceptanceResponse", true, "termsacceptance/mixed",
         expected("termsacceptance/mixed"), noTermsInReply(),
         "<errorCode>invalidMessageFormat</errorCode>", 506},
        {21,
         "updateTermsAcceptanceResponse",
         true,
         "",
         {},
         {},
         "<errorCode>userPreregistered</errorCode>",
         509},
        {22, "downloadProfileResponse", true, "profiledownload/everything",
         expected("profiledownload/everything"), expected("profiledownload/nothing"),
         "<errorCode>invalidAccessToken</errorCode>", 500},
        {23,
         nullptr,
         true,
         "usernameupdate/new-name",
         {},
         {},
         "<profileUpdateError><illegalUpdate/></profileUpdateError>",
         526},
        {24,
         "updateSecurityQuestionResponse",
         true,
         "usernameupdate/new-name",
         {},
         {},
         "<profileUpdateError><illegalUpdate>answer</illegalUpdate></profileUpdateError>",
         526},
        {25, "setUserIdResponse", true, "usernameupdate/new-name",
         expected("usernameupdate/new-name"), expected("profiledownload/nothing"),
         "<errorCode>usernameReserved</errorCode>", 512},
        {26,
         "updateDeviceInfoResponse",
         true,
         "",
         {},
         {},
         "<errorCode>somethingNew</errorCode>",
         505},
    };
}

inline const QVector<Row>& rows()
{
    static const QVector<Row> all = withoutAccount() + withAccount();
    return all;
}

/// The answer of an operation that ends with the status.
inline QStringList answer(const Row& row, int status, const QStringList& record,
                          const QString& time = headTime)
{
    if (!row.signal)
        return {};
    QStringList lines;
    if (row.type == 5) {
        lines = QStringList{line("signal", QStringLiteral("registerAccountResponse")),
                            line("status", QString::number(status))};
    }
    // A captcha tells a failure by its picture alone.
    const int told = row.type == 4 ? 0 : status;
    lines += QStringList{line("signal", QLatin1String(row.signal)),
                         line("status", QString::number(told))};
    if (row.structure) {
        lines += QStringList{line("key", consumerKey), line("request", QString::number(requestId)),
                             line("server time", time)};
    }
    return lines + record;
}

/// What the record is when a reply without readable contents ends with the status.
inline QStringList unfilled(const Row& row, int status)
{
    // A name about which nothing bad was said is free.
    if (row.type == 3 && status == 0)
        return {QStringLiteral("available: yes")};
    return row.nothing;
}

/// Every transport error that has a status of its own, and one that has none.
inline const QVector<QPair<int, int>>& networkErrors()
{
    static const QVector<QPair<int, int>> errors = {
        {1, 401},   {2, 402},   {3, 403},   {4, 404},   {5, 405},   {6, 406},
        {7, 407},   {99, 420},  {101, 408}, {102, 409}, {103, 410}, {104, 411},
        {105, 412}, {199, 421}, {201, 413}, {202, 414}, {203, 415}, {204, 504},
        {205, 417}, {299, 422}, {301, 418}, {302, 419}, {399, 423}, {401, 1004},
    };
    return errors;
}

inline void addSuccesses(QVector<Case>& cases, const Row& row)
{
    const auto add = [&](const QString& name, QNetworkReply::NetworkError error,
                         const QString& text, const QStringList& lines) {
        cases.append({row.type, Ending::Success, name, error, head + text, lines});
    };
    // The time at which the user was authenticated is the server's time.
    const QString time = row.type == 1 ? QStringLiteral("2012-03-04T05:06:07.089Z") : headTime;
    add(QStringLiteral("success"), QNetworkReply::NoError, body(row.success),
        answer(row, 0, row.record, time));
    add(QStringLiteral("success without a document"), QNetworkReply::NoError, QString(),
        answer(row, 0, unfilled(row, 0)));
    if (row.type == 3) {
        add(QStringLiteral("taken, with suggestions"), QNetworkReply::UnknownContentError,
            body("usernameavailability/suggestions"),
            answer(row, 0,
                   QStringList(QStringLiteral("available: no")) +
                       expected("usernameavailability/suggestions")));
    }
    if (row.type == 4) {
        add(QStringLiteral("picture"), QNetworkReply::NoError, captchaReply(),
            answer(row, 0,
                   {line("captcha id", QStringLiteral("captcha-9")),
                    line("picture", QStringLiteral("3 by 2"))}));
    }
    if (row.type == 5) {
        add(QStringLiteral("with a SIM"), QNetworkReply::NoError,
            body("phoneactivation/account-only"),
            answer(row, 0, expected("phoneactivation/account-only") + noTerms()));
        add(QStringLiteral("with the token's time"), QNetworkReply::NoError,
            body("signin/everything")
                .replace(QLatin1String("tokenCreation"), QLatin1String("registration")),
            answer(row, 0, expected("signin/everything").mid(0, 12) + noTerms(),
                   QStringLiteral("2012-03-04T05:06:07.089Z")));
    }
}

inline void addServerErrors(QVector<Case>& cases, const Row& row)
{
    const QString text =
        head + declaration +
        element(QStringLiteral("errorResponse"), QString::fromLatin1(row.errorContent));
    const QStringList lines = answer(row, row.errorStatus, row.nothing);
    cases.append({row.type, Ending::ServerError, QStringLiteral("server error"),
                  QNetworkReply::NoError, text, lines});
    // The service's word counts more than the transport's.
    cases.append({row.type, Ending::ServerError, QStringLiteral("server error with HTTP 403"),
                  QNetworkReply::ContentAccessDenied, text, lines});
    // Whatever mentions an error is one.
    cases.append({row.type, Ending::ServerError, QStringLiteral("success that mentions an error"),
                  QNetworkReply::NoError, head + body("error/success-that-mentions-an-error"),
                  answer(row, 1004, row.nothing)});
}

inline void addNetworkErrors(QVector<Case>& cases, const Row& row)
{
    for (const auto& error : networkErrors()) {
        const auto code = static_cast<QNetworkReply::NetworkError>(error.first);
        const QStringList lines = answer(row, error.second, row.nothing);
        cases.append({row.type, Ending::NetworkError,
                      QStringLiteral("network error %1").arg(error.first), code, head, lines});
    }
    // A document of success does not undo a transport error.
    cases.append({row.type, Ending::NetworkError, QStringLiteral("success document with HTTP 405"),
                  QNetworkReply::ContentOperationNotPermittedError, head + body(row.success),
                  answer(row, 414, row.nothing)});
}

inline void addMalformed(QVector<Case>& cases, const Row& row)
{
    const QString success =
        body(row.success).isEmpty() ? body("signin/everything") : body(row.success);
    const QString error = declaration + element(QStringLiteral("errorResponse"),
                                                QString::fromLatin1(row.errorContent));
    const QMap<QString, QString> texts = {
        {QStringLiteral("cut"), success.left(success.size() - 10)},
        {QStringLiteral("cut error"), error.left(error.size() - 3)},
        {QStringLiteral("declaration alone"), QStringLiteral("<?xml")},
        {QStringLiteral("unknown root"), declaration + QStringLiteral("<html><body/></html>")},
        {QStringLiteral("two roots"), declaration + QStringLiteral("<a/><b/>")},
        {QStringLiteral("entity"),
         declaration + QStringLiteral("<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>")},
        {QStringLiteral("not XML"), QStringLiteral("{\"errorCode\": 1}")},
    };
    for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
        cases.append({row.type, Ending::Malformed, text.key(), QNetworkReply::NoError,
                      head + text.value(), answer(row, 0, unfilled(row, 0))});
        cases.append({row.type, Ending::Malformed, text.key() + QStringLiteral(", connection lost"),
                      QNetworkReply::RemoteHostClosedError, head + text.value(),
                      answer(row, 402, row.nothing)});
    }
}

inline const QVector<Case>& all()
{
    static const QVector<Case> cases = [] {
        QVector<Case> made;
        for (const Row& row : rows()) {
            addSuccesses(made, row);
            addServerErrors(made, row);
            addNetworkErrors(made, row);
            addMalformed(made, row);
        }
        return made;
    }();
    return cases;
}

} // namespace dispatchcases
