// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/recordedanswers.h"

#include "operations/readers.h"
#include "support/literals.h"

#include <QHash>

#include <functional>

using namespace KelRestHandler;
using namespace readers;

namespace {

using Writer = std::function<QStringList(const void*)>;

template <class Value>
Writer plain(QStringList (*lines)(const Value&))
{
    return [lines](const void* value) { return lines(*static_cast<const Value*>(value)); };
}

// A structure says what all answers say, and then its own.
template <class Answer>
Writer structure(QStringList (*lines)(const Answer&))
{
    return [lines](const void* value) {
        const auto& answer = *static_cast<const Answer*>(value);
        return QStringList{line("status", QString::number(answer.status)),
                           line("key", answer.consumerKey),
                           line("request", QString::number(answer.requestId)),
                           line("server time", timeText(answer.serverTime))} +
               lines(answer);
    };
}

template <class Answer>
QStringList tokenAnswer(const Answer& answer)
{
    return QStringList(line("user name", answer.userName)) + tokenLines(answer.tokenInfo) +
           accountLines(answer.accountInfo) + termsLines(answer.termsInfo);
}

QStringList registration(const RegistrationResponse& answer)
{
    return QStringList(line("user name", answer.userName)) + tokenLines(answer.tokenInfo) +
           accountLines(answer.accountInfo) + answerTermsLines(answer.termsAcceptance);
}

QStringList availability(const UserNameAvailabilityResponse& answer)
{
    return QStringList(line("available", yesNo(answer.available))) + answer.suggestions;
}

// By the type of the signal's argument.
const QHash<QByteArray, Writer>& writers()
{
    static const QHash<QByteArray, Writer> all = {
        {"int", plain<int>([](const int& status) {
             return QStringList(line("status", QString::number(status)));
         })},
        {"QVariantMap", plain(&questionsLines)},
        {"PreAccountInfo", plain(&preAccountLines)},
        {"KelRestHandler::ConsentQueryVariant", plain(&variantLines)},
        {"KelRestHandler::RESTResponseBase",
         structure<RESTResponseBase>([](const RESTResponseBase&) { return QStringList(); })},
        {"KelRestHandler::TokenCreationResponse", structure(&tokenAnswer<TokenCreationResponse>)},
        {"KelRestHandler::TokenRefreshResponse", structure(&tokenAnswer<TokenRefreshResponse>)},
        {"KelRestHandler::RegistrationResponse", structure(&registration)},
        {"KelRestHandler::UserNameAvailabilityResponse", structure(&availability)},
        {"KelRestHandler::TermsUrlsResponse",
         structure<TermsUrlsResponse>(
             [](const TermsUrlsResponse& answer) { return serviceLines(answer.urls); })},
        {"KelRestHandler::DownloadProfileResponse",
         structure<DownloadProfileResponse>([](const DownloadProfileResponse& answer) {
             return profileLines(answer.userName, answer.profile);
         })},
        {"KelRestHandler::SecurityQuestionResponse",
         structure<SecurityQuestionResponse>([](const SecurityQuestionResponse& answer) {
             return questionLines(answer.securityQuestion);
         })},
        {"KelRestHandler::TermsAcceptanceStatusResponse",
         structure<TermsAcceptanceStatusResponse>([](const TermsAcceptanceStatusResponse& answer) {
             return termsLines(answer.termsInfo);
         })},
    };
    return all;
}

} // namespace

void RecordedAnswers::record(const QMetaMethod& signal, void** arguments)
{
    mNames.append(QString::fromLatin1(signal.name()));
    mLines.append(line("signal", mNames.last()));
    const QList<QByteArray> types = signal.parameterTypes();
    for (int i = 0; i < types.size(); ++i) {
        if (types.at(i) == "QPixmap") { // a captcha, with its identifier behind the picture
            lastPicture = *static_cast<const QPixmap*>(arguments[i]);
            const auto& captchaId = *static_cast<const QString*>(arguments[i + 1]);
            mLines += captchaLines(captchaId, lastPicture.size());
            return;
        }
        const Writer write = writers().value(types.at(i));
        mLines += write ? write(arguments[i]) : QStringList("a type that nobody writes down"_s);
    }
}
