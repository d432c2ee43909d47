// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/errorstatus.h>

#include <QObject>
#include <QtQml/qqml.h>

/// The statuses as QML sees them: Status.ErrorInvalidCaptcha. moc lists what it reads here, so they
/// stand here once more; those that have no name in KelAccount::ErrorStatus have one.
namespace KelQmlStatus {
Q_NAMESPACE
QML_NAMED_ELEMENT(Status)

enum Status {
    ErrorNone = KelAccount::ErrorNone,
    ErrorConnectionRefused = KelAccount::ErrorConnectionRefused,
    ErrorRemoteHostClosed = KelAccount::ErrorRemoteHostClosed,
    ErrorHostNotFound = KelAccount::ErrorHostNotFound,
    ErrorTimeout = KelAccount::ErrorTimeout,
    ErrorOperationCanceled = KelAccount::ErrorOperationCanceled,
    ErrorSslHandshakeFailed = KelAccount::ErrorSslHandshakeFailed,
    ErrorTemporaryNetworkFailure = KelAccount::ErrorTemporaryNetworkFailure,
    ErrorProxyConnectionRefused = KelAccount::ErrorProxyConnectionRefused,
    ErrorProxyConnectionClosed = KelAccount::ErrorProxyConnectionClosed,
    ErrorProxyNotFound = KelAccount::ErrorProxyNotFound,
    ErrorProxyTimeout = KelAccount::ErrorProxyTimeout,
    ErrorProxyAuthenticationRequired = KelAccount::ErrorProxyAuthenticationRequired,
    ErrorContentAccessDenied = 413, ///< HTTP 403: the server does not allow it.
    ErrorContentOperationNotPermitted = KelAccount::ErrorContentOperationNotPermitted,
    ErrorContentNotFound = KelAccount::ErrorContentNotFound,
    ErrorAuthenticationRequired = KelAccount::ErrorAuthenticationRequired,
    ErrorContentReSend = KelAccount::ErrorContentReSend,
    ErrorProtocolUnknown = KelAccount::ErrorProtocolUnknown,
    ErrorProtocolInvalidOperation = KelAccount::ErrorProtocolInvalidOperation,
    ErrorUnknownNetwork = KelAccount::ErrorUnknownNetwork,
    ErrorUnknownProxy = KelAccount::ErrorUnknownProxy,
    ErrorUnknownContent = KelAccount::ErrorUnknownContent,
    ErrorProtocolFailure = KelAccount::ErrorProtocolFailure,
    ErrorInvalidAccessToken = KelAccount::ErrorInvalidAccessToken,
    ErrorIllegalRequestMethod = KelAccount::ErrorIllegalRequestMethod,
    ErrorUnknownContentType = KelAccount::ErrorUnknownContentType,
    ErrorInvalidUrl = KelAccount::ErrorInvalidUrl,
    ErrorNotAuthorized = KelAccount::ErrorNotAuthorized,
    ErrorGeneralError = KelAccount::ErrorGeneralError,
    ErrorInvalidMessageFormat = KelAccount::ErrorInvalidMessageFormat,
    ErrorResourceNotFound = KelAccount::ErrorResourceNotFound,
    ErrorOperationFailed = KelAccount::ErrorOperationFailed,
    ErrorUserPreregistered = KelAccount::ErrorUserPreregistered,
    ErrorAccountLocked = KelAccount::ErrorAccountLocked,
    ErrorContactUpdate = KelAccount::ErrorContactUpdate,
    ErrorUserNameReserved = 512, ///< The user name is reserved.
    ErrorCaptchaError = KelAccount::ErrorCaptchaError,
    ErrorServicetagError = KelAccount::ErrorServicetagError,
    ErrorEmailAddressReserved = KelAccount::ErrorEmailAddressReserved,
    ErrorInvalidServiceTag = KelAccount::ErrorInvalidServiceTag,
    ErrorInvalidCaptcha = KelAccount::ErrorInvalidCaptcha,
    ErrorInvalidContact = KelAccount::ErrorInvalidContact,
    ErrorUserNotFound = KelAccount::ErrorUserNotFound,
    ErrorEmailSendingFailed = KelAccount::ErrorEmailSendingFailed,
    ErrorSMSendingFailed = KelAccount::ErrorSMSendingFailed,
    ErrorAttributeSyntaxError = KelAccount::ErrorAttributeSyntaxError,
    ErrorAgeVerificationSimpleConsent = KelAccount::ErrorAgeVerificationSimpleConsent,
    ErrorAgeVerificationDisallowed = KelAccount::ErrorAgeVerificationDisallowed,
    ErrorTooYoung = KelAccount::ErrorTooYoung,
    ErrorIllegalUpdate = KelAccount::ErrorIllegalUpdate,
    ErrorConsumerKeyMissing = KelAccount::ErrorConsumerKeyMissing,
    ErrorConsumerSecretMissing = KelAccount::ErrorConsumerSecretMissing,
    ErrorClientInfoNotFound = KelAccount::ErrorClientInfoNotFound,
    ErrorUntrustedClient = KelAccount::ErrorUntrustedClient,
    ErrorTokenDoesnotExist = KelAccount::ErrorTokenDoesnotExist,
    ErrorZorAuthPluginInternalError = KelAccount::ErrorZorAuthPluginInternalError,
    ErrorSignInCancelled = KelAccount::ErrorSignInCancelled,
    ErrorRetrieveTermsDataFailed = KelAccount::ErrorRetrieveTermsDataFailed,
    ErrorUserNameAlreadySet = KelAccount::ErrorUserNameAlreadySet,
    ErrorTermsAcceptancePending = KelAccount::ErrorTermsAcceptancePending,
    ErrorTermsAcceptanceUpdateFailed = KelAccount::ErrorTermsAcceptanceUpdateFailed,
    ErrorServiceTagAndCaptchaMissing = KelAccount::ErrorServiceTagAndCaptchaMissing,
    ErrorUserForgotPassword = KelAccount::ErrorUserForgotPassword,
    ErrorSignOnUIFailure = KelAccount::ErrorSignOnUIFailure,
    ErrorOldPasswordMismatch = KelAccount::ErrorOldPasswordMismatch,
    ErrorSignInPasswordEmpty = KelAccount::ErrorSignInPasswordEmpty,
    ErrorAccountNotConfigured = KelAccount::ErrorAccountNotConfigured,
    ErrorAuthSessionBusy = KelAccount::ErrorAuthSessionBusy,
    ErrorNotInitialized = KelAccount::ErrorNotInitialized,
    ErrorAccountConfigurationIncomplete = KelAccount::ErrorAccountConfigurationIncomplete,
    ErrorAuthSessionInitializationFailed = KelAccount::ErrorAuthSessionInitializationFailed,
    ErrorSetUsernameIncomplete = KelAccount::ErrorSetUsernameIncomplete,
    ErrorAccountDisabled = KelAccount::ErrorAccountDisabled,
    ErrorStoreCredentialsFailed = KelAccount::ErrorStoreCredentialsFailed,
    ErrorCredentialsNotAvailable = KelAccount::ErrorCredentialsNotAvailable,
    ErrorInitializationPending = KelAccount::ErrorInitializationPending,
    ErrorAccountAlreadyPresent = KelAccount::ErrorAccountAlreadyPresent,
    ErrorAccountConfigurationInProgress = KelAccount::ErrorAccountConfigurationInProgress,
    ErrorFailedToConfigureAccount = KelAccount::ErrorFailedToConfigureAccount,
    ErrorFailedToEstablishZorAuthSession = KelAccount::ErrorFailedToEstablishZorAuthSession,
    ErrorCountryUnknown = 807, ///< The device's country is not known.
    ErrorInvalidRequest = KelAccount::ErrorInvalidRequest,
    ErrorInvalidParameter = KelAccount::ErrorInvalidParameter,
    ErrorUnabletoSendRequest = KelAccount::ErrorUnabletoSendRequest,
    ErrorUnknown = KelAccount::ErrorUnknown,
    ErrorUndefined = KelAccount::ErrorUndefined,
};
Q_ENUM_NS(Status)

} // namespace KelQmlStatus
