// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "replyreaders.h"
#include "rest/reply/servicesignals.h"

#include <QPixmap>

/// Writes down every signal of the REST layer with all that it carries, one field per line, in the
/// form of the .expect files in data/.
class RecordedAnswers : public QObject
{
public:
    explicit RecordedAnswers(KelRestHandler::ServiceSignals& source)
    {
        watchStructures(source);
        watchStatuses(source);
        watchStatusesWithMore(source);
    }

    /// Of all answers so far; each begins with "signal: NAME".
    const QStringList& lines() const { return mLines; }
    /// Names of the signals so far.
    const QStringList& names() const { return mNames; }

    QPixmap lastPicture;

private:
    using Signals = KelRestHandler::ServiceSignals;

    void add(const char* name, const QStringList& fields)
    {
        mNames.append(QLatin1String(name));
        mLines.append(replyreaders::line("signal", mNames.last()));
        mLines.append(fields);
    }

    static QStringList statusLine(int status)
    {
        return {replyreaders::line("status", QString::number(status))};
    }

    static QStringList baseLines(const KelRestHandler::RESTResponseBase& base)
    {
        return {replyreaders::line("status", QString::number(base.status)),
                replyreaders::line("key", base.consumerKey),
                replyreaders::line("request", QString::number(base.requestId)),
                replyreaders::line("server time", replyreaders::timeText(base.serverTime))};
    }

    template <class Structure>
    void watch(Signals& source, void (Signals::*signal)(Structure), const char* name,
               QStringList (*fields)(const Structure&))
    {
        connect(&source, signal, this, [this, name, fields](const Structure& answer) {
            add(name, baseLines(answer) + fields(answer));
        });
    }

    void watchStructures(Signals& source)
    {
        using namespace KelRestHandler;
        using namespace replyreaders;
        watch<TokenCreationResponse>(source, &Signals::signInResponse, "signInResponse",
                                     &tokenAnswerLines<TokenCreationResponse>);
        watch<TokenRefreshResponse>(source, &Signals::tokenRefreshResponse, "tokenRefreshResponse",
                                    &tokenAnswerLines<TokenRefreshResponse>);
        watch<UserNameAvailabilityResponse>(
            source, &Signals::userNameAvailabilityResponse, "userNameAvailabilityResponse",
            [](const UserNameAvailabilityResponse& answer) {
                return QStringList(line("available", yesNo(answer.available))) + answer.suggestions;
            });
        watch<TermsUrlsResponse>(
            source, &Signals::retrieveTOSResponse, "retrieveTOSResponse",
            [](const TermsUrlsResponse& answer) { return serviceLines(answer.urls); });
        watch<DownloadProfileResponse>(source, &Signals::downloadProfileResponse,
                                       "downloadProfileResponse", &profileAnswerLines);
        watch<DownloadProfileResponse>(source, &Signals::setUserIdResponse, "setUserIdResponse",
                                       &profileAnswerLines);
        watch<SecurityQuestionResponse>(source, &Signals::retrieveSecurityQuestionResponse,
                                        "retrieveSecurityQuestionResponse",
                                        [](const SecurityQuestionResponse& answer) {
                                            return questionLines(answer.securityQuestion);
                                        });
        watch<RegistrationResponse>(source, &Signals::accountRegistrationResponse,
                                    "accountRegistrationResponse",
                                    [](const RegistrationResponse& answer) {
                                        return QStringList(line("user name", answer.userName)) +
                                               tokenLines(answer.tokenInfo) +
                                               accountLines(answer.accountInfo) +
                                               acceptanceLines(answer.termsAcceptance);
                                    });
        watch<TermsAcceptanceStatusResponse>(source, &Signals::retrieveTermsAcceptanceResponse,
                                             "retrieveTermsAcceptanceResponse",
                                             [](const TermsAcceptanceStatusResponse& answer) {
                                                 return termsLines(answer.termsInfo);
                                             });
    }

    void watchStatuses(Signals& source)
    {
        using Base = KelRestHandler::RESTResponseBase;
        const auto nothingMore = [](const Base&) { return QStringList(); };
        watch<Base>(source, &Signals::tokenDeletionResponse, "tokenDeletionResponse", nothingMore);
        watch<Base>(source, &Signals::updateSecurityQuestionResponse,
                    "updateSecurityQuestionResponse", nothingMore);
        watch<Base>(source, &Signals::updateTermsAcceptanceResponse,
                    "updateTermsAcceptanceResponse", nothingMore);
        watch<Base>(source, &Signals::updateDeviceInfoResponse, "updateDeviceInfoResponse",
                    nothingMore);
        watch<Base>(source, &Signals::changePasswordResponse, "changePasswordResponse",
                    nothingMore);
        watch<Base>(source, &Signals::passwordResetResponse, "passwordResetResponse", nothingMore);
        connect(&source, &Signals::registerAccountResponse, this,
                [this](int status) { add("registerAccountResponse", statusLine(status)); });
        connect(&source, &Signals::emailIdAvailabilityResponse, this,
                [this](int status) { add("emailIdAvailabilityResponse", statusLine(status)); });
        connect(&source, &Signals::requestPasswordResetResponse, this,
                [this](int status) { add("requestPasswordResetResponse", statusLine(status)); });
    }

    void watchStatusesWithMore(Signals& source)
    {
        using namespace replyreaders;
        connect(&source, &Signals::retrieveCaptchaImageResponse, this,
                [this](int status, const QPixmap& picture, const QString& captchaId) {
                    lastPicture = picture;
                    const QString size = QStringLiteral("%1 by %2");
                    add("retrieveCaptchaImageResponse",
                        statusLine(status) +
                            QStringList{
                                line("captcha id", captchaId),
                                line("picture", size.arg(picture.width()).arg(picture.height()))});
                });
        connect(&source, &Signals::retrieveSecQueListResponse, this,
                [this](int status, const QVariantMap& questions) {
                    add("retrieveSecQueListResponse",
                        statusLine(status) + questionsLines(questions));
                });
        connect(&source, &Signals::detectPreAccountResponse, this,
                [this](int status, const PreAccountInfo& account) {
                    add("detectPreAccountResponse", statusLine(status) + preAccountLines(account));
                });
        connect(&source, &Signals::queryMarketingVariantResponse, this,
                [this](int status, ConsentQueryVariant variant) {
                    add("queryMarketingVariantResponse",
                        statusLine(status) +
                            QStringList(line("variant", QString::number(variant))));
                });
    }

    template <class Answer>
    static QStringList tokenAnswerLines(const Answer& answer)
    {
        using namespace replyreaders;
        return QStringList(line("user name", answer.userName)) + tokenLines(answer.tokenInfo) +
               accountLines(answer.accountInfo) + termsLines(answer.termsInfo);
    }

    static QStringList profileAnswerLines(const KelRestHandler::DownloadProfileResponse& answer)
    {
        return replyreaders::profileLines(answer.userName, answer.profile);
    }

    static QStringList acceptanceLines(const KelRestHandler::TermsAcceptanceData& acceptance)
    {
        using namespace replyreaders;
        return {line("terms", yesNo(acceptance.hasAcceptedTos)),
                line("service terms", yesNo(acceptance.hasAcceptedServiceSpecificTos)),
                line("privacy policy", yesNo(acceptance.hasAcceptedPrivacyPolicy))};
    }

    QStringList mLines;
    QStringList mNames;
};
