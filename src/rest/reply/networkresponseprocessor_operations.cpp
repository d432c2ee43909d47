// SPDX-License-Identifier: LGPL-2.1-or-later
// What each operation makes of its reply. A function emits last: a receiver may delete the
// processor.
#include "rest/picture/captchapicture.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"

#include <kelaccount/errorstatus.h>

#include <QPointer>

using namespace KelAccount;

namespace KelRestHandler {

template <class Answer, class Parse>
Answer NetworkResponseProcessor::read(HttpResponse* response, Parse parse)
{
    const Outcome outcome = decide(response);
    Answer answer;
    if (outcome.info.statusCode == ErrorNone)
        parse(answer, outcome.document);
    updateResponseWithBasicData(response, answer, outcome.info);
    return answer;
}

void NetworkResponseProcessor::processSignInResponse(HttpResponse* response)
{
    const auto answer =
        read<TokenCreationResponse>(response, [response](auto& into, const QDomNode& document) {
            MsgParser::parseTokenResponseInfoNode(into.userName, into.tokenInfo, into.accountInfo,
                                                  into.termsInfo, document);
            takeTimeOfSignIn(response, into.tokenInfo);
        });
    Q_EMIT signInResponse(answer);
}

void NetworkResponseProcessor::processTokenResponse(HttpResponse* response)
{
    const auto answer =
        read<TokenRefreshResponse>(response, [](auto& into, const QDomNode& document) {
            MsgParser::parseTokenResponseInfoNode(into.userName, into.tokenInfo, into.accountInfo,
                                                  into.termsInfo, document);
        });
    Q_EMIT tokenRefreshResponse(answer);
}

void NetworkResponseProcessor::processUsernameAvailabilityResponse(HttpResponse* response)
{
    Outcome outcome = decide(response);
    UserNameAvailabilityResponse answer;
    answer.available = outcome.info.statusCode == ErrorNone;
    // HTTP 422 with suggestions is how the service says that a name is taken.
    if (outcome.info.statusCode == ErrorUnknownContent) {
        MsgParser::parseUserNameSuggestionsResponseNode(answer.suggestions, outcome.document);
        if (!answer.suggestions.isEmpty())
            outcome.info.statusCode = ErrorNone;
    }
    mAnswering->details.status = outcome.info.statusCode;
    updateResponseWithBasicData(response, answer, outcome.info);
    Q_EMIT userNameAvailabilityResponse(answer);
}

void NetworkResponseProcessor::processRetrieveCaptchaResponse(HttpResponse* response)
{
    const Outcome outcome = decide(response);
    QString captchaId;
    AnswerDetails& details = mAnswering->details;
    if (outcome.info.statusCode == ErrorNone) {
        MsgParser::parseCaptchaCreationResponse(captchaId, details.pictureFormat, details.picture,
                                                outcome.document);
    }
    // The status is always 0: receivers tell a failure by the null picture.
    withCaptchaPicture(details.picture, [this, &captchaId](const QPixmap& picture) {
        Q_EMIT retrieveCaptchaImageResponse(ErrorNone, picture, captchaId);
    });
}

void NetworkResponseProcessor::processRegisterAccountResponse(HttpResponse* response)
{
    const auto answer =
        read<RegistrationResponse>(response, [response](auto& into, const QDomNode& document) {
            MsgParser::parseRegistrationResponseInfoNode(into.userName, into.accountInfo,
                                                         into.tokenInfo, document);
            takeTimeOfSignIn(response, into.tokenInfo);
        });
    const QPointer<NetworkResponseProcessor> alive(this);
    Q_EMIT registerAccountResponse(answer.status);
    if (alive)
        Q_EMIT accountRegistrationResponse(answer);
}

void NetworkResponseProcessor::processRetrieveSecQueListResponse(HttpResponse* response)
{
    const Outcome outcome = decide(response);
    QVariantMap questions;
    if (outcome.info.statusCode == ErrorNone)
        MsgParser::parseOrderedSecurityQuestions(questions, mAnswering->details.order,
                                                 outcome.document);
    Q_EMIT retrieveSecQueListResponse(outcome.info.statusCode, questions);
}

void NetworkResponseProcessor::processDetectPreAccountResponse(HttpResponse* response)
{
    const Outcome outcome = decide(response);
    PreAccountInfo account;
    if (outcome.info.statusCode == ErrorNone)
        MsgParser::parseDetectPreAccount(account, outcome.document);
    Q_EMIT detectPreAccountResponse(outcome.info.statusCode, account);
}

void NetworkResponseProcessor::processretrieveTOSResponse(HttpResponse* response)
{
    const auto answer = read<TermsUrlsResponse>(response, [](auto& into, const QDomNode& document) {
        MsgParser::parseServiceQueryResponse(into.urls, document);
    });
    Q_EMIT retrieveTOSResponse(answer);
}

void NetworkResponseProcessor::processDeleteTokenResponse(HttpResponse* response)
{
    Q_EMIT tokenDeletionResponse(statusOf(response));
}

void NetworkResponseProcessor::processrequestPasswordResetResponse(HttpResponse* response)
{
    Q_EMIT requestPasswordResetResponse(statusOf(response).status);
}

void NetworkResponseProcessor::processEmailAvailabilityResponse(HttpResponse* response)
{
    Q_EMIT emailIdAvailabilityResponse(statusOf(response).status);
}

void NetworkResponseProcessor::processQueryVariantResponse(HttpResponse* response)
{
    const Outcome outcome = decide(response);
    auto variant = static_cast<ConsentQueryVariant>(0);
    if (outcome.info.statusCode == ErrorNone)
        MsgParser::parseConsentQueryVariantResponseNode(variant, outcome.document);
    Q_EMIT queryMarketingVariantResponse(outcome.info.statusCode, variant);
}

void NetworkResponseProcessor::processResetPasswordUsingSecurityQuestionResponse(
    HttpResponse* response)
{
    Q_EMIT passwordResetResponse(statusOf(response));
}

void NetworkResponseProcessor::processRetrieveSecuirtyQuestonResponse(HttpResponse* response)
{
    const auto answer =
        read<SecurityQuestionResponse>(response, [](auto& into, const QDomNode& document) {
            MsgParser::parseSecurityQuestionResponse(into.securityQuestion, document);
        });
    Q_EMIT retrieveSecurityQuestionResponse(answer);
}

void NetworkResponseProcessor::processChangePasswordResponse(HttpResponse* response)
{
    Q_EMIT changePasswordResponse(statusOf(response));
}

void NetworkResponseProcessor::processRetrieveTermsAcceptanceResponse(HttpResponse* response)
{
    const auto answer =
        read<TermsAcceptanceStatusResponse>(response, [](auto& into, const QDomNode& document) {
            MsgParser::parseTermsInfoNode(into.termsInfo, document);
        });
    Q_EMIT retrieveTermsAcceptanceResponse(answer);
}

void NetworkResponseProcessor::processUpdateTermsAcceptanceResponse(HttpResponse* response)
{
    Q_EMIT updateTermsAcceptanceResponse(statusOf(response));
}

void NetworkResponseProcessor::processDownloadProfileResponse(HttpResponse* response)
{
    const auto answer =
        read<DownloadProfileResponse>(response, [](auto& into, const QDomNode& document) {
            MsgParser::parseProfileQueryResponseNode(into.userName, into.profile, document);
        });
    Q_EMIT downloadProfileResponse(answer);
}

void NetworkResponseProcessor::processUpdateSecurityQuestionResponse(HttpResponse* response)
{
    Q_EMIT updateSecurityQuestionResponse(statusOf(response));
}

void NetworkResponseProcessor::processSetUserNameResponse(HttpResponse* response)
{
    const auto answer =
        read<DownloadProfileResponse>(response, [](auto& into, const QDomNode& document) {
            MsgParser::parseProfileUpdateResponseNode(into.userName, into.profile, document);
        });
    Q_EMIT setUserIdResponse(answer);
}

void NetworkResponseProcessor::processUpdateDeviceInfoResponse(HttpResponse* response)
{
    Q_EMIT updateDeviceInfoResponse(statusOf(response));
}

void NetworkResponseProcessor::takeTimeOfSignIn(HttpResponse* response, const TokenInfoData& token)
{
    // The token's time is the server's clock to the millisecond; a reply may leave it out.
    if (token.time.isValid())
        response->setServerTime(token.time);
}

} // namespace KelRestHandler
