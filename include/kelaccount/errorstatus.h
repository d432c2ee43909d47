// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QMetaType>

namespace KelAccount {

/// Outcome of an operation: the first argument of every response signal. 0 is success.
///
/// The values are grouped in hundreds by the layer that detects the failure. Three values that the
/// library can report have no member: 413 (HTTP 403), 512 (the user name is reserved) and 807 (the
/// device's country is unknown). So handle a status as a number, with these names for the known
/// ones.
///
/// To Qt the type, known as "KelAccount::ErrorStatus" in signals, is another name of `int`: in a
/// QVariant and in the records of a QSignalSpy it is one, and it travels in queued connections.
/// This header declares it so; an application that declares it with Q_DECLARE_METATYPE, too, does
/// not compile, and needs no declaration of its own.
enum ErrorStatus : int {
    ErrorNone = 0, ///< The operation succeeded.

    // Network: nothing usable came back.
    ErrorConnectionRefused = 401, ///< The server refused the connection.
    ErrorRemoteHostClosed = 402,  ///< The server closed the connection before it had answered.
    ErrorHostNotFound = 403,      ///< The server's host name was not found.
    ErrorTimeout = 404, ///< No answer came within 60 seconds, or the connection timed out.
    ErrorOperationCanceled = 405, ///< The request was cancelled.
    /// TLS could not be established, for instance because the certificate is not trusted.
    ErrorSslHandshakeFailed = 406,
    ErrorTemporaryNetworkFailure = 407,     ///< The network went away for a moment.
    ErrorProxyConnectionRefused = 408,      ///< The proxy refused the connection.
    ErrorProxyConnectionClosed = 409,       ///< The proxy closed the connection early.
    ErrorProxyNotFound = 410,               ///< The proxy's host name was not found.
    ErrorProxyTimeout = 411,                ///< The proxy did not answer in time.
    ErrorProxyAuthenticationRequired = 412, ///< The proxy wants credentials.
    /// HTTP 405: the server does not allow this on the resource.
    ErrorContentOperationNotPermitted = 414,
    ErrorContentNotFound = 415,        ///< HTTP 404: there is no such resource.
    ErrorAuthenticationRequired = 416, ///< Reserved; an HTTP 401 is reported as ErrorNotAuthorized.
    ErrorContentReSend = 417,          ///< The request would have to be sent again.
    ErrorProtocolUnknown = 418,        ///< The address's protocol is unknown.
    ErrorProtocolInvalidOperation = 419, ///< HTTP 400 and the like: invalid for this protocol.
    ErrorUnknownNetwork = 420,           ///< A network failure of unknown kind.
    ErrorUnknownProxy = 421,             ///< A proxy failure of unknown kind.
    ErrorUnknownContent = 422,           ///< HTTP 4xx of unknown kind.
    ErrorProtocolFailure = 423,          ///< The protocol broke down; the reply could not be read.

    // Server: the service answered with an error.
    ErrorInvalidAccessToken = 500,   ///< The access token is not valid.
    ErrorIllegalRequestMethod = 501, ///< The resource does not know this REST verb.
    ErrorUnknownContentType = 502,   ///< The content type is unknown to the service.
    ErrorInvalidUrl = 503,           ///< The address is not one of the service's.
    ErrorNotAuthorized = 504,        ///< Key, signature or token were not accepted.
    ErrorGeneralError = 505, ///< The service failed, or named a cause unknown to this library.
    ErrorInvalidMessageFormat = 506, ///< The service could not read the request's document.
    ErrorResourceNotFound = 507,     ///< The service has no such resource.
    ErrorOperationFailed = 508,      ///< The service could not do it.
    ErrorUserPreregistered = 509,    ///< The user is registered in advance.
    ErrorAccountLocked = 510,        ///< The account is locked.
    ErrorContactUpdate = 511,        ///< Updating the contacts failed.
    ErrorCaptchaError = 513,         ///< The captcha was not solved.
    ErrorServicetagError = 514,      ///< The service tag was not accepted.
    ErrorEmailAddressReserved = 515, ///< The e-mail address is reserved.
    ErrorInvalidServiceTag = 516,    ///< The service tag is invalid.
    ErrorInvalidCaptcha = 517,       ///< The captcha is invalid.
    ErrorInvalidContact = 518,       ///< The contact is invalid.
    ErrorUserNotFound = 519,         ///< There is no such user.
    ErrorEmailSendingFailed = 520,   ///< The e-mail could not be sent.
    ErrorSMSendingFailed = 521,      ///< The text message could not be sent.
    ErrorAttributeSyntaxError = 522, ///< A value does not have the form that the service wants.
    /// A parent's consent is needed because of the user's age.
    ErrorAgeVerificationSimpleConsent = 523,
    ErrorAgeVerificationDisallowed = 524, ///< The user's age does not allow it.
    ErrorTooYoung = 525,                  ///< The user is too young.
    ErrorIllegalUpdate = 526,             ///< The service does not allow this change.

    // Sign-on plugin, passed on as it reports them.
    ErrorConsumerKeyMissing = 600,    ///< The request reached the plugin without a consumer key.
    ErrorConsumerSecretMissing = 601, ///< The request reached the plugin without a consumer secret.
    ErrorClientInfoNotFound = 602,    ///< The plugin does not know the client.
    ErrorUntrustedClient = 603,       ///< The plugin does not trust the client.
    ErrorTokenDoesnotExist = 604,     ///< There is no access token.
    ErrorZorAuthPluginInternalError = 605,  ///< The plugin failed.
    ErrorSignInCancelled = 606,             ///< The user cancelled signing in.
    ErrorRetrieveTermsDataFailed = 607,     ///< The terms could not be fetched.
    ErrorUserNameAlreadySet = 608,          ///< The user name is set already.
    ErrorTermsAcceptancePending = 609,      ///< The user has yet to accept the terms.
    ErrorTermsAcceptanceUpdateFailed = 610, ///< Accepting the terms could not be recorded.
    ErrorServiceTagAndCaptchaMissing = 611, ///< Neither a service tag nor a captcha was given.
    ErrorUserForgotPassword = 612,          ///< The user said that the password is forgotten.
    ErrorSignOnUIFailure = 613,             ///< The sign-on dialogue failed.
    ErrorOldPasswordMismatch = 614,         ///< The old password is wrong.
    ErrorSignInPasswordEmpty = 615,         ///< The password is empty.

    // State of the account on the device.
    ErrorAccountNotConfigured = 700,           ///< No account is set up on the device.
    ErrorAuthSessionBusy = 701,                ///< The authentication session is busy.
    ErrorNotInitialized = 702,                 ///< The plugin was not initialised.
    ErrorAccountConfigurationIncomplete = 703, ///< The account is only partly set up.
    /// The authentication session could not be started.
    ErrorAuthSessionInitializationFailed = 704,
    ErrorSetUsernameIncomplete = 705, ///< Setting the user name was not finished.
    ErrorAccountDisabled = 710,       ///< The account on the device is disabled.

    // Refusals and local failures.
    ErrorStoreCredentialsFailed = 800,         ///< The credentials could not be stored.
    ErrorCredentialsNotAvailable = 801,        ///< There are no stored credentials.
    ErrorInitializationPending = 802,          ///< `initialize` has not been called successfully.
    ErrorAccountAlreadyPresent = 803,          ///< An account is on the device already.
    ErrorAccountConfigurationInProgress = 804, ///< A set-up or a sign-out is in progress.
    /// The service accepted, but the account could not be created on the device, or removed from
    /// it.
    ErrorFailedToConfigureAccount = 805,
    ErrorFailedToEstablishZorAuthSession = 806, ///< No authentication session could be opened.

    // Generic.
    /// The request makes no sense now, for instance a second `initialize`.
    ErrorInvalidRequest = 1000,
    ErrorInvalidParameter = 1001,    ///< A required argument is missing or invalid.
    ErrorUnabletoSendRequest = 1002, ///< The request could not be sent.
    ErrorUnknown = 1003,             ///< Something unexpected happened.
    ErrorUndefined = 1004,           ///< The outcome is not one of the others.
    ErrorMax = 1005,                 ///< End marker; never reported.
};

} // namespace KelAccount

template <>
struct QMetaTypeId<KelAccount::ErrorStatus>
{
    enum { Defined = 1 };
    static int qt_metatype_id() { return QMetaType::Int; }
};
