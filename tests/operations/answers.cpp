// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/answers.h"

#include "operations/readers.h"
#include "rest/reply/msgparser.h"
#include "support/literals.h"

#include <kelaccount/errorstatus.h>

#include <QRegularExpression>

namespace operations {

using readers::line;
using wiredata::body;
using wiredata::expected;

namespace {

// Every transport error that has a status of its own, and behind them those that have none.
constexpr struct
{
    int error;
    int status;
} networkErrors[] = {
    {1, 401},    {2, 402},    {3, 403},    {4, 404},    {5, 405},    {6, 406},    {7, 407},
    {99, 420},   {101, 408},  {102, 409},  {103, 410},  {104, 411},  {105, 412},  {199, 421},
    {201, 413},  {202, 414},  {203, 415},  {204, 504},  {205, 417},  {299, 422},  {301, 418},
    {302, 419},  {399, 423},  {8, 1004},   {9, 1004},   {10, 1004},  {206, 1004}, {207, 1004},
    {401, 1004}, {402, 1004}, {403, 1004}, {499, 1004}, {511, 1004},
};

QString errorDocument(const Operation& row)
{
    return declaration + element("errorResponse"_s, row.error);
}

// The cases of one operation.
class Cases
{
public:
    explicit Cases(const Operation& row) : mRow(row)
    {
        addSuccesses();
        addServerErrors();
        addNetworkErrors();
        addMalformed();
    }

    QVector<Case> made;

private:
    void add(Ending ending, const QString& name, int error, const QString& text,
             const QStringList& lines)
    {
        made.append({mRow.number, ending, name, static_cast<QNetworkReply::NetworkError>(error),
                     head + text, lines});
    }

    void addSuccess(const char* name, const QString& text, const QStringList& record,
                    const QString& time = headTime, int error = QNetworkReply::NoError)
    {
        add(Ending::Success, QLatin1String(name), error, text, answer(mRow, 0, record, time));
    }

    void addSuccesses()
    {
        // The time at which the user was authenticated is the server's time.
        addSuccess("success", body(mRow.success), mRow.record,
                   mRow.number == SignIn ? tokenTime : headTime);
        addSuccess("success without a document", QString(), unfilled(mRow, 0));
        addFurtherForms();
        if (mRow.number == RetrieveUserNameAvailability) {
            addSuccess("taken, with suggestions", body("usernameavailability/suggestions"),
                       QStringList(line("available", readers::yesNo(false))) +
                           expected("usernameavailability/suggestions"),
                       headTime, QNetworkReply::UnknownContentError);
        }
        if (mRow.number == RetrieveCaptchaImage)
            addSuccess("picture", captchaReply(), readers::captchaLines(captchaId, QSize(3, 2)));
        if (mRow.number == RegisterAccount) {
            const QStringList noTerms = readers::answerTermsLines({false, false, false});
            addSuccess("with a SIM", body("phoneactivation/account-only"),
                       expected("phoneactivation/account-only") + noTerms);
            addSuccess("with the token's time",
                       body("signin/everything")
                           .replace(QLatin1String("tokenCreation"), QLatin1String("registration")),
                       expected("signin/everything").mid(0, 12) + noTerms, tokenTime);
        }
    }

    void addFurtherForms()
    {
        for (const QString& name : recordedForms(mRow)) {
            if (name == text(mRow.success))
                continue;
            const QStringList record = expected(qPrintable(name));
            const QString time = record.filter("time: "_s).value(0).section(": "_s, 1);
            addSuccess(qPrintable("success, "_s + name), body(qPrintable(name)), record,
                       mRow.number == SignIn && !time.isEmpty() ? time : headTime);
        }
    }

    void addServerErrors()
    {
        const QStringList lines = answer(mRow, mRow.errorStatus, mRow.nothing);
        add(Ending::ServerError, "server error"_s, QNetworkReply::NoError, errorDocument(mRow),
            lines);
        // The service's word counts more than the transport's.
        add(Ending::ServerError, "server error with HTTP 403"_s, QNetworkReply::ContentAccessDenied,
            errorDocument(mRow), lines);
        // Whatever mentions an error is one.
        add(Ending::ServerError, "success that mentions an error"_s, QNetworkReply::NoError,
            body("error/success-that-mentions-an-error"),
            answer(mRow, KelAccount::ErrorUndefined, mRow.nothing));
    }

    void addNetworkErrors()
    {
        for (const auto& row : networkErrors)
            add(Ending::NetworkError, "network error %1"_s.arg(row.error), row.error, QString(),
                answer(mRow, row.status, mRow.nothing));
        // A document of success does not undo a transport error.
        add(Ending::NetworkError, "success document with HTTP 405"_s,
            QNetworkReply::ContentOperationNotPermittedError, body(mRow.success),
            answer(mRow, 414, mRow.nothing));
    }

    void addMalformed()
    {
        const QString success =
            body(body(mRow.success).isEmpty() ? "signin/everything" : mRow.success);
        const QMap<QString, QString> texts = {
            {"cut"_s, success.left(success.size() - 10)},
            {"cut error"_s, errorDocument(mRow).chopped(3)},
            {"declaration alone"_s, "<?xml"_s},
            {"unknown root"_s, declaration + "<html><body/></html>"_s},
            {"two roots"_s, declaration + "<a/><b/>"_s},
            {"entity"_s, declaration + "<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>"_s},
            {"not XML"_s, "{\"errorCode\": 1}"_s},
        };
        for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
            add(Ending::Malformed, text.key(), QNetworkReply::NoError, text.value(),
                answer(mRow, 0, unfilled(mRow, 0)));
            add(Ending::Malformed, text.key() + ", connection lost"_s,
                QNetworkReply::RemoteHostClosedError, text.value(),
                answer(mRow, 402, mRow.nothing));
        }
    }

    const Operation& mRow;
};

} // namespace

QString element(const QString& tag, const QString& content)
{
    return "<%1>%2</%1>"_s.arg(tag, content);
}

QString captchaReply()
{
    return declaration +
           element("captchaCreationResponse"_s, element("captchaId"_s, captchaId) +
                                                    element("imageType"_s, "image/jpeg"_s) +
                                                    element("imageData"_s, picture));
}

QStringList recordedForms(const Operation& operation)
{
    const QString folder = text(operation.success).section(QLatin1Char('/'), 0, 0);
    if (folder.isEmpty() || folder.startsWith(QLatin1Char('<')) || !operation.isAnswered() ||
        operation.record != expected(operation.success))
        return {};
    return wiredata::cases("reply"_s).filter(
        QRegularExpression(QLatin1Char('^') + folder + QLatin1Char('/')));
}

QStringList successes(const Operation& operation)
{
    if (operation.number == RetrieveCaptchaImage)
        return {captchaReply()};
    QStringList bodies(body(operation.success));
    if (operation.number == RegisterAccount)
        bodies.append(body("phoneactivation/account-only"));
    return bodies;
}

QStringList answer(const Operation& operation, int status, const QStringList& record,
                   const QString& time)
{
    QStringList lines;
    for (const QString& signature : formsOf(operation.answers)) {
        // A captcha tells a failure by its picture alone.
        const int told = operation.number == RetrieveCaptchaImage ? 0 : status;
        lines +=
            {line("signal", namesOf({signature}).first()), line("status", QString::number(told))};
        if (!signature.contains(QLatin1String("(int")))
            lines += {line("key", consumerKey), line("request", QString::number(requestId)),
                      line("server time", time)};
    }
    return lines.isEmpty() ? lines : lines + record;
}

QStringList unfilled(const Operation& operation, int status)
{
    // A name about which nothing bad was said is free.
    return operation.number == RetrieveUserNameAvailability && status == 0 ? operation.record
                                                                           : operation.nothing;
}

bool isWhatItClaims(const Case& testCase)
{
    RequestInfoData info;
    info.statusCode = KelAccount::ErrorMax;
    const QString text = testCase.text.mid(head.size());
    const QDomNode root = MsgParser::processXml(info, text);
    const bool error = info.statusCode == KelAccount::ErrorUndefined;
    const bool lost = testCase.error != QNetworkReply::NoError;
    const bool told = testCase.number == RetrieveUserNameAvailability; // by HTTP 422
    switch (testCase.ending) {
    case Ending::Success:
        return !error && (!lost || told) && (text.isEmpty() || !root.isNull());
    case Ending::ServerError:
        return error;
    case Ending::NetworkError:
        return lost && !error;
    case Ending::Malformed:
        return !text.isEmpty() && root.isNull();
    }
    return false;
}

const QVector<Case>& cases()
{
    static const QVector<Case> all = [] {
        QVector<Case> made;
        for (const Operation& row : operations::all())
            made += Cases(row).made;
        return made;
    }();
    return all;
}

} // namespace operations
