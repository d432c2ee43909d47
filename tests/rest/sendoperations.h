// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "operationtable.h"
#include "rest/restrequesthandler.h"

/// The 27 send operations of the request handler, each with the operation that it is to send and
/// what it says when the request cannot be made.
namespace sendoperations {

using namespace KelRestHandler;
using operationtable::consumerKey;
using operationtable::Values;

/// What every send operation is given.
struct Sending
{
    RESTRequestHandler& handler;
    ISignatureProvider& provider;
    const Values& values;
    QString base;
    OAuthRequest** out; ///< only for those that hand the request out
};

struct SendOperation
{
    const char* name;
    int type;
    bool handsOut;
    const char* creationFailure;
    std::function<int(const Sending&)> send;
};

/// Those that keep the request.
inline QVector<SendOperation> keeping()
{
    return {
        {"sendRetrieveCaptchaImageRequest", 4, false,
         "Retreive Captcha request object creation failed",
         [](const Sending& s) {
             return s.handler.sendRetrieveCaptchaImageRequest(s.provider, s.values.width,
                                                              s.values.height, consumerKey, s.base);
         }},
        {"sendRegisterAccountRequest", 5, false, "Register account request object creation failed",
         [](const Sending& s) {
             return s.handler.sendRegisterAccountRequest(s.provider, s.values.registration,
                                                         s.values.captchaId, s.values.serviceTag,
                                                         consumerKey, s.base);
         }},
        {"sendRetrieveSecQueListRequest", 6, false,
         "Security question request object creation failed",
         [](const Sending& s) {
             return s.handler.sendRetrieveSecQueListRequest(s.provider, s.values.language,
                                                            consumerKey, s.base);
         }},
        // The same words as for a registration: intended.
        {"senddetectPreAccountRequest", 7, false, "Register account request object creation failed",
         [](const Sending& s) {
             return s.handler.senddetectPreAccountRequest(s.provider, consumerKey, s.base);
         }},
        {"sendretrieveTOSRequest", 8, false, "TOS request object creation failed",
         [](const Sending& s) {
             return s.handler.sendretrieveTOSRequest(s.provider, s.values.serviceId,
                                                     s.values.language, s.values.country,
                                                     s.values.format, consumerKey, s.base);
         }},
        {"sendresetPasswordRequest", 10, false, "SendResetMessageRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendresetPasswordRequest(s.provider, s.values.userId,
                                                       s.values.captchaId, s.values.captchaText,
                                                       s.values.sendMessage, s.values.messageBody,
                                                       s.values.serviceTag, consumerKey, s.base);
         }},
        {"sendisEmailAddAvailableRequest", 11, false, "Email Avail object creation failed",
         [](const Sending& s) {
             return s.handler.sendisEmailAddAvailableRequest(
                 s.provider, s.values.emailAddress, s.values.serviceTag, consumerKey, s.base);
         }},
        {"sendQueryMarketingRequest", 12, false, "Consent query object creation failed",
         [](const Sending& s) {
             return s.handler.sendQueryMarketingRequest(s.provider, consumerKey, s.base);
         }},
        {"sendResetPasswordRequest", 13, false, "resetPasswordRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendResetPasswordRequest(
                 s.provider, s.values.userId, s.values.securityToken, s.values.newPassword,
                 s.values.securityAnswer, s.values.language, consumerKey, s.base);
         }},
        {"sendRetrieveSecurityQuestionRequest", 14, false,
         "retrieveSecurityQuestionRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendRetrieveSecurityQuestionRequest(
                 s.provider, s.values.userId, s.values.language, consumerKey, s.base);
         }},
    };
}

/// Those that hand it out, of operations 1 to 15.
inline QVector<SendOperation> handingOut()
{
    return {
        {"sendSignInRequest", 1, true, "SignInRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendSignInRequest(s.provider, s.values.userName, s.values.password,
                                                consumerKey, s.base, s.out);
         }},
        {"sendTokenRefreshRequest", 2, true, "Token request object creation failed",
         [](const Sending& s) {
             return s.handler.sendTokenRefreshRequest(s.provider, consumerKey, s.base, s.out);
         }},
        {"sendisUserIdAvailRequest", 3, true, "Retreive Username request object creation failed",
         [](const Sending& s) {
             return s.handler.sendisUserIdAvailRequest(s.provider, s.values.userName, consumerKey,
                                                       s.base, s.out);
         }},
        {"sendRegisterAccountRequest, handing out", 5, true,
         "Register account request object creation failed",
         [](const Sending& s) {
             return s.handler.sendRegisterAccountRequest(s.provider, s.values.registration,
                                                         s.values.captchaId, s.values.serviceTag,
                                                         consumerKey, s.base, s.out);
         }},
        {"sendDeleteTokenRequest", 9, true, "Token delete object creation failed",
         [](const Sending& s) {
             return s.handler.sendDeleteTokenRequest(s.provider, consumerKey, s.base, s.out);
         }},
        {"sendChangePasswordRequest", 15, true, "changePasswordRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendChangePasswordRequest(
                 s.provider, s.values.accountId, s.values.newPassword, consumerKey, s.base, s.out);
         }},
    };
}

/// Those that hand it out, of operations 16 to 26.
inline QVector<SendOperation> handingOutWithAccount()
{
    return {
        {"sendRetrieveMarketingConsentRequest", 16, true,
         "retrieveMarketingConsentRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendRetrieveMarketingConsentRequest(s.provider, s.values.accountId,
                                                                  consumerKey, s.base, s.out);
         }},
        {"sendUpdateMarketingConsentRequest", 17, true,
         "updateMarketingConsentRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendUpdateMarketingConsentRequest(
                 s.provider, s.values.consent, s.values.accountId, consumerKey, s.base, s.out);
         }},
        {"sendRetrieveContactsInfoRequest", 18, true,
         "retrieveContactsInfoRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendRetrieveContactsInfoRequest(s.provider, s.values.accountId,
                                                              consumerKey, s.base, s.out);
         }},
        {"sendUpdateContactsInfoRequest", 19, true,
         "updateContactsInfoRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendUpdateContactsInfoRequest(
                 s.provider, s.values.contacts, s.values.accountId, consumerKey, s.base, s.out);
         }},
        {"sendRetrieveTermsAcceptanceRequest", 20, true,
         "retrieveTermsAcceptanceRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendRetrieveTermsAcceptanceRequest(
                 s.provider, s.values.termsId, s.values.language, consumerKey, s.base, s.out);
         }},
        {"sendUpdateTermsAcceptanceRequest", 21, true,
         "updateTermsAcceptanceRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendUpdateTermsAcceptanceRequest(
                 s.provider, s.values.acceptance, s.values.termsId, consumerKey, s.base, s.out);
         }},
        {"sendDownloadProfileRequest", 22, true, "downloadProfileRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendDownloadProfileRequest(s.provider, s.values.accountId,
                                                         consumerKey, s.base, s.out);
         }},
        {"sendUpdateProfileRequest", 23, true, "updateProfileRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendUpdateProfileRequest(
                 s.provider, s.values.profile, s.values.accountId, consumerKey, s.base, s.out);
         }},
        // The same words as for the profile: intended.
        {"sendUpdateSecurityQuestionRequest", 24, true,
         "updateProfileRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendUpdateSecurityQuestionRequest(
                 s.provider, s.values.profile, s.values.accountId, consumerKey, s.base, s.out);
         }},
        {"sendSetUserNameRequest", 25, true, "setUsrNameRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendSetUserNameRequest(
                 s.provider, s.values.accountId, s.values.newUserName, consumerKey, s.base, s.out);
         }},
        {"sendUpdateDeviceInfoRequest", 26, true,
         "SendUpdateDeviceInfoRequest object creation failed",
         [](const Sending& s) {
             return s.handler.sendUpdateDeviceInfoRequest(s.provider, s.values.accountId,
                                                          consumerKey, s.base, s.out);
         }},
    };
}

inline const QVector<SendOperation>& all()
{
    static const QVector<SendOperation> operations =
        keeping() + handingOut() + handingOutWithAccount();
    return operations;
}

} // namespace sendoperations
