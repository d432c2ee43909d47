// SPDX-License-Identifier: LGPL-2.1-or-later
// Which operation each send operation sends.
#include "rest/restrequesthandler.h"

#include "rest/sending.h"

namespace KelRestHandler {

int RESTRequestHandler::sendSignInRequest(ISignatureProvider& provider, QString const& userName,
                                          QString const& password, QString const& consumerKey,
                                          QString const& baseAddress, OAuthRequest** request)
{
    return send<SignIn>(request, provider, userName, password, consumerKey, baseAddress);
}

int RESTRequestHandler::sendTokenRefreshRequest(ISignatureProvider& provider,
                                                QString const& consumerKey,
                                                QString const& baseAddress, OAuthRequest** request)
{
    return send<RefreshToken>(request, provider, consumerKey, baseAddress);
}

int RESTRequestHandler::sendisUserIdAvailRequest(ISignatureProvider& provider,
                                                 QString const& userName,
                                                 QString const& consumerKey,
                                                 QString const& baseAddress, OAuthRequest** request)
{
    return send<RetrieveUserNameAvailability>(request, provider, userName, consumerKey,
                                              baseAddress);
}

int RESTRequestHandler::sendRetrieveCaptchaImageRequest(ISignatureProvider& provider, int width,
                                                        int height, QString const& consumerKey,
                                                        QString const& baseAddress)
{
    return send<RetrieveCaptchaImage>(provider, width, height, consumerKey, baseAddress);
}

int RESTRequestHandler::sendRegisterAccountRequest(ISignatureProvider& provider,
                                                   RegistrationInfoData const& registration,
                                                   QString const& captchaId,
                                                   QByteArray const& serviceTag,
                                                   QString const& consumerKey,
                                                   QString const& baseAddress)
{
    return send<RegisterAccount>(provider, registration, captchaId, serviceTag, consumerKey,
                                 baseAddress);
}

int RESTRequestHandler::sendRegisterAccountRequest(
    ISignatureProvider& provider, RegistrationInfoData const& registration,
    QString const& captchaId, QByteArray const& serviceTag, QString const& consumerKey,
    QString const& baseAddress, OAuthRequest** request)
{
    return send<RegisterAccount>(request, provider, registration, captchaId, serviceTag,
                                 consumerKey, baseAddress);
}

int RESTRequestHandler::sendRetrieveSecQueListRequest(ISignatureProvider& provider,
                                                      QString const& language,
                                                      QString const& consumerKey,
                                                      QString const& baseAddress)
{
    return send<RetrieveSecurityQuestionList>(provider, language, consumerKey, baseAddress);
}

int RESTRequestHandler::senddetectPreAccountRequest(ISignatureProvider& provider,
                                                    QString const& consumerKey,
                                                    QString const& baseAddress)
{
    return send<RetrievePreAccountInfo>(provider, consumerKey, baseAddress);
}

int RESTRequestHandler::sendretrieveTOSRequest(ISignatureProvider& provider,
                                               QString const& serviceId, QString const& language,
                                               QString const& country, TermsFormat format,
                                               QString const& consumerKey,
                                               QString const& baseAddress)
{
    return send<RetrieveTermsOfService>(provider, serviceId, language, country, format, consumerKey,
                                        baseAddress);
}

int RESTRequestHandler::sendDeleteTokenRequest(ISignatureProvider& provider,
                                               QString const& consumerKey,
                                               QString const& baseAddress, OAuthRequest** request)
{
    return send<DeleteToken>(request, provider, consumerKey, baseAddress);
}

int RESTRequestHandler::sendresetPasswordRequest(
    ISignatureProvider& provider, QString const& userId, QString const& captchaId,
    QString const& captchaText, bool sendMessage, QString const& messageBody,
    QByteArray const& serviceTag, QString const& consumerKey, QString const& baseAddress)
{
    return send<SendResetMessage>(provider, userId, captchaId, captchaText, sendMessage,
                                  messageBody, serviceTag, consumerKey, baseAddress);
}

int RESTRequestHandler::sendisEmailAddAvailableRequest(ISignatureProvider& provider,
                                                       QString const& emailAddress,
                                                       QByteArray const& serviceTag,
                                                       QString const& consumerKey,
                                                       QString const& baseAddress)
{
    return send<RetrieveEmailIdAvailability>(provider, emailAddress, serviceTag, consumerKey,
                                             baseAddress);
}

int RESTRequestHandler::sendQueryMarketingRequest(ISignatureProvider& provider,
                                                  QString const& consumerKey,
                                                  QString const& baseAddress)
{
    return send<QueryConsentVariant>(provider, consumerKey, baseAddress);
}

int RESTRequestHandler::sendResetPasswordRequest(
    ISignatureProvider& provider, QString const& userId, QString const& securityToken,
    QString const& newPassword, QString const& securityAnswer, QString const& language,
    QString const& consumerKey, QString const& baseAddress)
{
    return send<ResetPassword>(provider, userId, securityToken, newPassword, securityAnswer,
                               language, consumerKey, baseAddress);
}

int RESTRequestHandler::sendRetrieveSecurityQuestionRequest(ISignatureProvider& provider,
                                                            QString const& userId,
                                                            QString const& language,
                                                            QString const& consumerKey,
                                                            QString const& baseAddress)
{
    return send<RetrieveSecurityQuestion>(provider, userId, language, consumerKey, baseAddress);
}

int RESTRequestHandler::sendChangePasswordRequest(
    ISignatureProvider& provider, QString const& accountId, QString const& newPassword,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return send<ChangePassword>(request, provider, accountId, newPassword, consumerKey,
                                baseAddress);
}

int RESTRequestHandler::sendRetrieveMarketingConsentRequest(ISignatureProvider& provider,
                                                            QString const& accountId,
                                                            QString const& consumerKey,
                                                            QString const& baseAddress,
                                                            OAuthRequest** request)
{
    return send<RetrieveMarketingConsentInfo>(request, provider, accountId, consumerKey,
                                              baseAddress);
}

int RESTRequestHandler::sendUpdateMarketingConsentRequest(
    ISignatureProvider& provider, MarketingConsentInfo const& consent, QString const& accountId,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return send<UpdateMarketingConsentInfo>(request, provider, consent, accountId, consumerKey,
                                            baseAddress);
}

int RESTRequestHandler::sendRetrieveContactsInfoRequest(ISignatureProvider& provider,
                                                        QString const& accountId,
                                                        QString const& consumerKey,
                                                        QString const& baseAddress,
                                                        OAuthRequest** request)
{
    return send<RetrieveContactsInfo>(request, provider, accountId, consumerKey, baseAddress);
}

int RESTRequestHandler::sendUpdateContactsInfoRequest(
    ISignatureProvider& provider, ContactsInfo const& contacts, QString const& accountId,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return send<UpdateContactsInfo>(request, provider, contacts, accountId, consumerKey,
                                    baseAddress);
}

int RESTRequestHandler::sendRetrieveTermsAcceptanceRequest(
    ISignatureProvider& provider, QString const& identifier, QString const& language,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return send<RetrieveTermsAcceptance>(request, provider, identifier, language, consumerKey,
                                         baseAddress);
}

int RESTRequestHandler::sendUpdateTermsAcceptanceRequest(
    ISignatureProvider& provider, TermsAcceptanceData const& acceptance, QString const& identifier,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return send<UpdateTermsAcceptance>(request, provider, acceptance, identifier, consumerKey,
                                       baseAddress);
}

int RESTRequestHandler::sendDownloadProfileRequest(ISignatureProvider& provider,
                                                   QString const& accountId,
                                                   QString const& consumerKey,
                                                   QString const& baseAddress,
                                                   OAuthRequest** request)
{
    return send<DownloadProfile>(request, provider, accountId, consumerKey, baseAddress);
}

int RESTRequestHandler::sendUpdateProfileRequest(ISignatureProvider& provider,
                                                 ProfileInfo const& profile,
                                                 QString const& accountId,
                                                 QString const& consumerKey,
                                                 QString const& baseAddress, OAuthRequest** request)
{
    return send<UpdateProfile>(request, provider, profile, accountId, consumerKey, baseAddress);
}

int RESTRequestHandler::sendUpdateSecurityQuestionRequest(
    ISignatureProvider& provider, ProfileInfo const& profile, QString const& accountId,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return send<UpdateSecurityQuestionType>(request, provider, profile, accountId, consumerKey,
                                            baseAddress);
}

int RESTRequestHandler::sendSetUserNameRequest(ISignatureProvider& provider,
                                               QString const& accountId, QString const& newUserName,
                                               QString const& consumerKey,
                                               QString const& baseAddress, OAuthRequest** request)
{
    return send<SetUserName>(request, provider, accountId, newUserName, consumerKey, baseAddress);
}

int RESTRequestHandler::sendUpdateDeviceInfoRequest(ISignatureProvider& provider,
                                                    QString const& accountId,
                                                    QString const& consumerKey,
                                                    QString const& baseAddress,
                                                    OAuthRequest** request)
{
    return send<UpdateDeviceInfo>(request, provider, accountId, consumerKey, baseAddress);
}

} // namespace KelRestHandler
