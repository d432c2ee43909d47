// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QStringList>

#include <iterator>

/// The operations of the service, typed by hand from its interface and from nothing else. Every
/// test that needs a number, an address, a verb, a root element or a signal has it from here.
namespace operations {

enum Trait : unsigned {
    WithToken = 1,    ///< the access token signs
    WithLanguage = 2, ///< "Accept-Language" is the caller's, not "en"
    WithDevice = 4,   ///< describes the device: the modem is asked
};

/// A text with a bar has two forms, the second for a registration with a SIM or for terms as HTML.
struct Facts
{
    int number;
    const char* requestClass;
    const char* verb;
    unsigned traits;
    const char* address; ///< below the base address; in braces what is put in
    const char* body;    ///< root of the document; null: none is sent
    const char* reply;   ///< root of the document that is read; null: none is
    const char* answers; ///< the signals, in their order; null: none
};

inline constexpr Facts table[] = {
    {1, "SignInRequest", "POST", 0, "tokens", "tokenCreationRequest", "tokenCreationResponse",
     "signInResponse(KelRestHandler::TokenCreationResponse)"},
    {2, "RefreshTokenRequest", "PUT", WithToken, "tokens/{token}", nullptr, "tokenRefreshResponse",
     "tokenRefreshResponse(KelRestHandler::TokenRefreshResponse)"},
    {3, "RetrieveUserNameAvailabilityRequest", "GET", 0, "availability/{user name}", nullptr,
     "userNameAvailabilityResponse",
     "userNameAvailabilityResponse(KelRestHandler::UserNameAvailabilityResponse)"},
    {4, "RetrieveCaptchaImageRequest", "POST", 0, "captchas", "captchaCreationRequest",
     "captchaCreationResponse", "retrieveCaptchaImageResponse(int,QPixmap,QString)"},
    {5, "RegisterAccountRequest", "POST", WithDevice, "accounts|phoneactivationregistration",
     "registrationRequest|phoneActivationRegistrationRequest",
     "registrationResponse|phoneActivationRegistrationResponse",
     "registerAccountResponse(int)|"
     "accountRegistrationResponse(KelRestHandler::RegistrationResponse)"},
    {6, "RetrieveSecurityQuestionListRequest", "GET", WithLanguage, "securityquestions", nullptr,
     "securityQuestionsResponse", "retrieveSecQueListResponse(int,QVariantMap)"},
    {7, "RetrievePreAccountInfoRequest", "POST", WithDevice, "autodetection",
     "autoDetectionRequest", "autoDetectionResponse",
     "detectPreAccountResponse(int,PreAccountInfo)"},
    {8, "RetrieveTermsOfServiceRequest", "GET", WithLanguage,
     "services/{service}?lang={language}&country={country}&format=text|"
     "services/{service}?lang={language}&country={country}&format=html",
     nullptr, "serviceQueryResponse", "retrieveTOSResponse(KelRestHandler::TermsUrlsResponse)"},
    {9, "DeleteTokenRequest", "DELETE", WithToken, "tokens/{token}", nullptr, nullptr,
     "tokenDeletionResponse(KelRestHandler::RESTResponseBase)"},
    {10, "SendResetMessageRequest", "POST", 0, "simplifiedpasswordrecovery/{user}/send",
     "simplifiedSendRecoveryMessageRequest", nullptr, "requestPasswordResetResponse(int)"},
    {11, "RetrieveEmailIdAvailabilityRequest", "POST", 0, "emailavailability/",
     "emailAvailabilityRequest", nullptr, "emailIdAvailabilityResponse(int)"},
    {12, "ConsentQueryVariantRequest", "POST", WithDevice, "consentqueryvariant",
     "consentQueryVariantRequest", "consentQueryVariantResponse",
     "queryMarketingVariantResponse(int,KelRestHandler::ConsentQueryVariant)"},
    {13, "ResetPasswordRequest", "PUT", WithLanguage, "simplifiedpasswordrecovery/{user}/change",
     "simplifiedChangePasswordRequest", nullptr,
     "passwordResetResponse(KelRestHandler::RESTResponseBase)"},
    {14, "RetrieveSecurityQuestionRequest", "GET", WithLanguage,
     "simplifiedpasswordrecovery/{user}/question", nullptr, "simplifiedPasswordQuestionResponse",
     "retrieveSecurityQuestionResponse(KelRestHandler::SecurityQuestionResponse)"},
    {15, "ChangePasswordRequest", "PUT", WithToken, "accounts/{account}/profile",
     "profileUpdateRequest", nullptr, "changePasswordResponse(KelRestHandler::RESTResponseBase)"},
    {16, "RetrieveMarketingConsentInfoRequest", "GET", WithToken, "accounts/{account}/marketing",
     nullptr, nullptr, nullptr},
    {17, "UpdateMarketingConsentInfoRequest", "PUT", WithToken, "accounts/{account}/marketing",
     "marketingConsentUpdateRequest", nullptr, nullptr},
    {18, "RetrieveContactsInfoRequest", "GET", WithToken, "accounts/{account}/contacts", nullptr,
     nullptr, nullptr},
    {19, "UpdateContactsInfoRequest", "PUT", WithToken, "accounts/{account}/contacts",
     "contactsUpdateRequest", nullptr, nullptr},
    {20, "RetrieveTermsAcceptanceRequest", "GET", WithToken | WithLanguage, "terms/{terms}",
     nullptr, "termsQueryResponse",
     "retrieveTermsAcceptanceResponse(KelRestHandler::TermsAcceptanceStatusResponse)"},
    {21, "UpdateTermsAcceptanceRequest", "POST", WithToken, "terms/{terms}", "termsUpdateRequest",
     nullptr, "updateTermsAcceptanceResponse(KelRestHandler::RESTResponseBase)"},
    {22, "DownloadProfileRequest", "GET", WithToken, "accounts/{account}/profile", nullptr,
     "profileQueryResponse", "downloadProfileResponse(KelRestHandler::DownloadProfileResponse)"},
    {23, "UpdateProfileRequest", "PUT", WithToken, "accounts/{account}/profile",
     "profileUpdateRequest", nullptr, nullptr},
    {24, "UpdateSecurityQuestion", "PUT", WithToken, "accounts/{account}/profile",
     "profileUpdateRequest", nullptr,
     "updateSecurityQuestionResponse(KelRestHandler::RESTResponseBase)"},
    {25, "SetUserNameRequest", "PUT", WithToken, "accounts/{account}/profile",
     "profileUpdateRequest", "profileUpdateResponse",
     "setUserIdResponse(KelRestHandler::DownloadProfileResponse)"},
    {26, "UpdateDeviceInfoRequest", "POST", WithToken | WithDevice, "accounts/{account}/devices",
     "devicesUpdateRequest", nullptr, "updateDeviceInfoResponse(KelRestHandler::RESTResponseBase)"},
};

/// Roots that the service answers with and that no operation insists on.
inline constexpr const char* furtherReplies[] = {
    "simplifiedChangePasswordResponse", "marketingConsentQueryResponse", "contactsUpdateResponse",
    "guardianTokenCreationResponse"};

/// The forms of a text of the table; none of null.
inline QStringList formsOf(const char* text)
{
    return text ? QString::fromLatin1(text).split(QLatin1Char('|')) : QStringList();
}

/// The row with that number; every test program may rely on it, since one holds that it is there.
inline const Facts& factsOf(int number)
{
    return table[number - 1];
}

/// Every root of a reply that is known.
inline QStringList replyRoots()
{
    QStringList roots;
    for (const Facts& row : table)
        roots += formsOf(row.reply);
    for (const char* root : furtherReplies)
        roots.append(QString::fromLatin1(root));
    return roots;
}

/// The declarations of all signals of answers.
inline QStringList answerSignatures()
{
    QStringList signatures;
    for (const Facts& row : table)
        signatures += formsOf(row.answers);
    return signatures;
}

inline QStringList namesOf(const QStringList& signatures)
{
    QStringList names;
    for (const QString& signature : signatures)
        names.append(signature.section(QLatin1Char('('), 0, 0));
    return names;
}

} // namespace operations

/// The signals of the facade in their order, each with the types that it carries: as text for the
/// meta-object, and as types for a receiver.
// clang-format off
#define KEL_FACADE_SIGNALS(ROW) \
    ROW(initializeResponse, KelAccount::ErrorStatus) \
    ROW(isUserIdAvailableResponse, KelAccount::ErrorStatus, bool, QStringList) \
    ROW(captchaImageResponse, KelAccount::ErrorStatus, QPixmap) \
    ROW(retrieveCaptchaImageResponse, KelAccount::ErrorStatus, QPixmap, QString) \
    ROW(registerAccountResponse, KelAccount::ErrorStatus, QVariantMap) \
    ROW(securityQuestionListResponse, KelAccount::ErrorStatus, QVariantMap) \
    ROW(detectPreAccountResponse, KelAccount::ErrorStatus, KelAccount::PreAccountInfo) \
    ROW(termsOfServiceResponse, KelAccount::ErrorStatus, QVariantMap) \
    ROW(signInAndConfigureResponse, KelAccount::ErrorStatus, QVariantMap) \
    ROW(isEmailIdAvailableResponse, KelAccount::ErrorStatus, bool) \
    ROW(marketingVariantResponse, KelAccount::ErrorStatus, KelAccount::ConsentQueryVariant) \
    ROW(requestPasswordResetResponse, KelAccount::ErrorStatus) \
    ROW(downloadProfileResponse, KelAccount::ErrorStatus, KelAccount::ProfileInfo*) \
    ROW(updateSecurityQuestionResponse, KelAccount::ErrorStatus) \
    ROW(ensureTokenAvailableResponse, KelAccount::ErrorStatus) \
    ROW(changePasswordResponse, KelAccount::ErrorStatus) \
    ROW(userIdUpdateResponse, KelAccount::ErrorStatus) \
    ROW(retrievePasswordResetSecQuestionResponse, KelAccount::ErrorStatus, QVariantMap) \
    ROW(resetPasswordUsingSecurityQuestionResponse, KelAccount::ErrorStatus) \
    ROW(closeResponse, KelAccount::ErrorStatus) \
    ROW(retrieveCountryCodeResponse, KelAccount::ErrorStatus, QString)
// clang-format on
