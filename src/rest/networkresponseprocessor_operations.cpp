// SPDX-License-Identifier: LGPL-2.1-or-later
// What each operation makes of its reply. A function emits last: a receiver may delete the processor.
#include "rest/msgparser.h"
#include "rest/networkresponseprocessor.h"
#include "rest/picture/captchapicture.h"

#include <kelaccount/errorstatus.h>

#include <QPointer>

using namespace KelAccount;

namespace KelRestHandler {

void NetworkResponseProcessor::processSignInResponse(HttpResponse* response)
{
    const Outcome outcome = decide(response);
    TokenCreationResponse answer;
    if (outcome.info.statusCode == ErrorNone) {
        MsgParser::parseTokenResponseInfoNode(answer.userName, answer.tokenInfo, answer.accountInfo,
                                              answer.termsInfo, outcome.document);
        takeTimeOfSignIn(response, answer.tokenInfo);
    }
    updateResponseWithBasicData(response, answer, outcome.info);
    Q_EMIT signInResponse(answer);
}

void NetworkResponseProcessor::processTokenResponse(HttpResponse* response)
{
    const Outcome outcome = decide(response);
    TokenRefreshResponse answer;
    if (outcome.info.statusCode == ErrorNone) {
        MsgParser::parseTokenResponseInfoNode(answer.userName, answer.tokenInfo, answer.accountInfo,
                                              answer.termsInfo, outcome.document);
    }
    updateResponseWithBasicData(response, answer, outcome.info);
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
    updateResponseWithBasicData(response, answer, outcome.info);
    Q_EMIT userNameAvailabilityResponse(answer);
}

void NetworkResponseProcessor::processRetrieveCaptchaResponse(HttpResponse* response)
{
    const Outcome outcome = decide(response);
    QString captchaId;
    QString imageType; // the data itself says what it is
    QByteArray imageData;
    if (outcome.info.statusCode == ErrorNone) {
        MsgParser::parseCaptchaCreationResponse(captchaId, imageType, imageData,
                                                outcome.document);
    }
    // The status is always 0: receivers tell a failure by the null picture.
    withCaptchaPicture(imageData, [this, &captchaId](const QPixmap& picture) {
        Q_EMIT retrieveCaptchaImageResponse(ErrorNone, picture, captchaId);
    });
}

void NetworkResponseProcessor::processRegisterAccountResponse(HttpResponse* response)
{
    const Outcome outcome = decide(response);
    RegistrationResponse answer;
    if (outcome.info.statusCode == ErrorNone) {
        MsgParser::parseRegistrationResponseInfoNode(answer.userName, answer.accountInfo,
                                                     answer.tokenInfo, outcome.document);
        takeTimeOfSignIn(response, answer.tokenInfo);
    }
    updateResponseWithBasicData(response, answer, outcome.info);
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
        MsgParser::parseSecurityQuestionsResponse(questions, outcome.document);
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
    const Outcome outcome = decide(response);
    TermsUrlsResponse answer;
    if (outcome.info.statusCode == ErrorNone)
        MsgParser::parseServiceQueryResponse(answer.urls, outcome.document);
    updateResponseWithBasicData(response, answer, outcome.info);
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
    const Outcome outcome = decide(response);
    SecurityQuestionResponse answer;
    if (outcome.info.statusCode == ErrorNone)
        MsgParser::parseSecurityQuestionResponse(answer.securityQuestion, outcome.document);
    updateResponseWithBasicData(response, answer, outcome.info);
    Q_EMIT retrieveSecurityQuestionResponse(answer);
}

void NetworkResponseProcessor::processChangePasswordResponse(HttpResponse* response)
{
    Q_EMIT changePasswordResponse(statusOf(response));
}

void NetworkResponseProcessor::processRetrieveTermsAcceptanceResponse(HttpResponse* response)
{
    const Outcome outcome = decide(response);
    TermsAcceptanceStatusResponse answer;
    if (outcome.info.statusCode == ErrorNone)
        MsgParser::parseTermsInfoNode(answer.termsInfo, outcome.document);
    updateResponseWithBasicData(response, answer, outcome.info);
    Q_EMIT retrieveTermsAcceptanceResponse(answer);
}

void NetworkResponseProcessor::processUpdateTermsAcceptanceResponse(HttpResponse* response)
{
    Q_EMIT updateTermsAcceptanceResponse(statusOf(response));
}

void NetworkResponseProcessor::processDownloadProfileResponse(HttpResponse* response)
{
    const Outcome outcome = decide(response);
    DownloadProfileResponse answer;
    if (outcome.info.statusCode == ErrorNone) {
        MsgParser::parseProfileQueryResponseNode(answer.userName, answer.profile,
                                                 outcome.document);
    }
    updateResponseWithBasicData(response, answer, outcome.info);
    Q_EMIT downloadProfileResponse(answer);
}

void NetworkResponseProcessor::processUpdateSecurityQuestionResponse(HttpResponse* response)
{
    Q_EMIT updateSecurityQuestionResponse(statusOf(response));
}

void NetworkResponseProcessor::processSetUserNameResponse(HttpResponse* response)
{
    const Outcome outcome = decide(response);
    DownloadProfileResponse answer;
    if (outcome.info.statusCode == ErrorNone) {
        MsgParser::parseProfileUpdateResponseNode(answer.userName, answer.profile,
                                                  outcome.document);
    }
    updateResponseWithBasicData(response, answer, outcome.info);
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
