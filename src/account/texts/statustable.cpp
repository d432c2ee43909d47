// SPDX-License-Identifier: LGPL-2.1-or-later
// What is said of each status. The sentences are the source of the catalogues beside this file;
// after a change of one, see docs/texts.md.
#include "account/texts/statustable.h"

#include <kelaccount/errorstatus.h>

#include <algorithm>
#include <iterator>

namespace KelAccount {

namespace {

constexpr bool lasting = false;
constexpr bool passing = true;

// Sentences of more than one status: what the user can do about them is the same.
constexpr const char* notUnderstood =
    QT_TRANSLATE_NOOP("KelAccount::StatusText",
                      "The account service did not understand the request of this application. "
                      "Updating the application may help.");
constexpr const char* notFound = QT_TRANSLATE_NOOP(
    "KelAccount::StatusText", "The account service could not find what was asked for.");
constexpr const char* notAccepted =
    QT_TRANSLATE_NOOP("KelAccount::StatusText",
                      "The account service did not accept the sign-in. Please check user name and "
                      "password.");
constexpr const char* wrongCharacters =
    QT_TRANSLATE_NOOP("KelAccount::StatusText",
                      "The characters in the picture were not entered correctly. Please try again "
                      "with a new picture.");
constexpr const char* deviceNotAccepted =
    QT_TRANSLATE_NOOP("KelAccount::StatusText", "The account service did not accept this device.");
constexpr const char* notIdentified = QT_TRANSLATE_NOOP(
    "KelAccount::StatusText", "This application did not identify itself to the account service.");
constexpr const char* notAllowed = QT_TRANSLATE_NOOP(
    "KelAccount::StatusText", "This application is not allowed to use your account.");
constexpr const char* signOnTrouble =
    QT_TRANSLATE_NOOP("KelAccount::StatusText",
                      "The sign-in service of this device has a problem. Please try again.");
constexpr const char* signOnAway =
    QT_TRANSLATE_NOOP("KelAccount::StatusText",
                      "The sign-in service of this device cannot be reached. Please try again.");
constexpr const char* unexpected =
    QT_TRANSLATE_NOOP("KelAccount::StatusText", "Something unexpected happened. Please try again.");

// What the daemon itself reports: codes of its client library, below those of ErrorStatus.
constexpr int lastDaemonStatus = 399;
constexpr StatusRow daemonRow{1, passing, "", signOnTrouble};
constexpr StatusRow unknownRow{ErrorUnknown, passing, "", unexpected};

// Ordered by status for the search. 413, 512 and 807 have no member.
constexpr StatusRow rows[] = {
    {ErrorNone, lasting, "", QT_TRANSLATE_NOOP("KelAccount::StatusText", "Done.")},

    {ErrorConnectionRefused, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The account service cannot be reached right now. Please try again later.")},
    {ErrorRemoteHostClosed, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The connection to the account service was lost. Please try again.")},
    {ErrorHostNotFound, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The account service was not found on the network. Please check your "
                       "internet connection.")},
    {ErrorTimeout, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The account service did not answer in time. Please try again.")},
    {ErrorOperationCanceled, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "The request was cancelled.")},
    {ErrorSslHandshakeFailed, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "No secure connection to the account service could be made. Please check "
                       "date and time of this device, or try another network.")},
    {ErrorTemporaryNetworkFailure, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The network is unavailable for the moment. Please try again.")},
    {ErrorProxyConnectionRefused, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The proxy of this network refused the connection. Please check the "
                       "network settings.")},
    {ErrorProxyConnectionClosed, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The proxy of this network ended the connection. Please try again.")},
    {ErrorProxyNotFound, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The proxy of this network was not found. Please check the network "
                       "settings.")},
    {ErrorProxyTimeout, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The proxy of this network did not answer in time. Please try again.")},
    {ErrorProxyAuthenticationRequired, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The proxy of this network asks for a user name and a password. Please "
                       "check the network settings.")},
    {413, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "The account service denied access.")},
    {ErrorContentOperationNotPermitted, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The account service does not allow this operation.")},
    {ErrorContentNotFound, lasting, "", notFound},
    {ErrorAuthenticationRequired, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "The account service requires you to sign in.")},
    {ErrorContentReSend, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "Sending was interrupted. Please try again.")},
    {ErrorProtocolUnknown, lasting, "", notUnderstood},
    {ErrorProtocolInvalidOperation, lasting, "", notUnderstood},
    {ErrorUnknownNetwork, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "There is a problem with the network. Please check your internet "
                       "connection and try again.")},
    {ErrorUnknownProxy, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "There is a problem with the proxy of this network. Please check the "
                       "network settings.")},
    // Among these is HTTP 429, a service that has been asked too often.
    {ErrorUnknownContent, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The account service could not accept the request. Please try again "
                       "later.")},
    {ErrorProtocolFailure, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The answer of the account service could not be read. Please try again "
                       "later.")},

    {ErrorInvalidAccessToken, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "You are no longer signed in. Please sign in again.")},
    {ErrorIllegalRequestMethod, lasting, "", notUnderstood},
    {ErrorUnknownContentType, lasting, "", notUnderstood},
    {ErrorInvalidUrl, lasting, "", notUnderstood},
    // The service tells neither user name nor password from the application's key.
    {ErrorNotAuthorized, lasting, "", notAccepted},
    {ErrorGeneralError, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The account service has a problem. Please try again later.")},
    {ErrorInvalidMessageFormat, lasting, "", notUnderstood},
    {ErrorResourceNotFound, lasting, "", notFound},
    {ErrorOperationFailed, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The account service could not do this. Please try again later.")},
    {ErrorUserPreregistered, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "An account has already been prepared for this user.")},
    {ErrorAccountLocked, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "This account is locked.")},
    {ErrorContactUpdate, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "Your contact details could not be changed. Please check them.")},
    {512, lasting, "userName",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "This user name is reserved. Please choose another one.")},
    {ErrorCaptchaError, lasting, "captchaText", wrongCharacters},
    {ErrorServicetagError, lasting, "", deviceNotAccepted},
    {ErrorEmailAddressReserved, lasting, "emailAddress",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "This e-mail address is reserved. Please enter another one.")},
    {ErrorInvalidServiceTag, lasting, "", deviceNotAccepted},
    {ErrorInvalidCaptcha, lasting, "captchaText", wrongCharacters},
    // Of an e-mail address or of a phone number.
    {ErrorInvalidContact, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "This e-mail address or phone number cannot be used. Please enter another "
                       "one.")},
    {ErrorUserNotFound, lasting, "userName",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "This user does not exist. Please check what you entered.")},
    {ErrorEmailSendingFailed, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The e-mail could not be sent. Please try again later.")},
    {ErrorSMSendingFailed, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The text message could not be sent. Please try again later.")},
    {ErrorAttributeSyntaxError, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "One of your entries does not have the right form. Please check your "
                       "entries.")},
    {ErrorAgeVerificationSimpleConsent, lasting, "dateOfBirth",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "Because of your age, a parent has to agree first.")},
    {ErrorAgeVerificationDisallowed, lasting, "dateOfBirth",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "This is not allowed at your age.")},
    {ErrorTooYoung, lasting, "dateOfBirth",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "You are too young for this.")},
    {ErrorIllegalUpdate, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The account service does not allow this change.")},

    {ErrorConsumerKeyMissing, lasting, "consumerKey", notIdentified},
    {ErrorConsumerSecretMissing, lasting, "consumerSecret", notIdentified},
    {ErrorClientInfoNotFound, lasting, "", notAllowed},
    {ErrorUntrustedClient, lasting, "", notAllowed},
    {ErrorTokenDoesnotExist, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "You are not signed in. Please sign in.")},
    {ErrorZorAuthPluginInternalError, passing, "", signOnTrouble},
    {ErrorSignInCancelled, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "Signing in was cancelled.")},
    {ErrorRetrieveTermsDataFailed, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The terms of use could not be fetched. Please try again later.")},
    {ErrorUserNameAlreadySet, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "Your account already has a user name.")},
    {ErrorTermsAcceptancePending, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "Please accept the terms of use first.")},
    {ErrorTermsAcceptanceUpdateFailed, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "Your acceptance of the terms of use could not be saved. Please try again "
                       "later.")},
    {ErrorServiceTagAndCaptchaMissing, lasting, "captchaText",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "Please enter the characters shown in the picture.")},
    {ErrorUserForgotPassword, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "You said that you have forgotten your password. Please set a new one.")},
    {ErrorSignOnUIFailure, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The sign-in window could not be shown. Please try again.")},
    {ErrorOldPasswordMismatch, lasting, "oldPassword",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The old password is wrong. Please enter it again.")},
    {ErrorSignInPasswordEmpty, lasting, "password",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "Please enter your password.")},

    {ErrorAccountNotConfigured, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "No account is set up on this device. Please sign in first.")},
    {ErrorAuthSessionBusy, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "Something else is still being done with your account. Please try again "
                       "in a moment.")},
    {ErrorNotInitialized, passing, "", signOnTrouble},
    {ErrorAccountConfigurationIncomplete, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "Your account is not completely set up. Please sign in again.")},
    {ErrorAuthSessionInitializationFailed, passing, "", signOnAway},
    {ErrorSetUsernameIncomplete, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "Choosing your user name was not finished. Please choose it again.")},
    {ErrorAccountDisabled, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "The account on this device is switched off.")},

    {ErrorStoreCredentialsFailed, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "Your sign-in details could not be saved on this device. Please try "
                       "again.")},
    {ErrorCredentialsNotAvailable, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "No sign-in details are saved on this device. Please sign in.")},
    {ErrorInitializationPending, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "This application has not been prepared for the account service.")},
    {ErrorAccountAlreadyPresent, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "There is already an account on this device.")},
    {ErrorAccountConfigurationInProgress, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The account on this device is just being set up or removed. Please wait "
                       "until that is finished.")},
    {ErrorFailedToConfigureAccount, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "The account could not be set up on this device or removed from it. "
                       "Please try signing in or out again.")},
    {ErrorFailedToEstablishZorAuthSession, passing, "", signOnAway},
    // The modem may not be there yet.
    {807, passing, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "The country of this device is not known.")},

    {ErrorInvalidRequest, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "This is not possible at the moment.")},
    {ErrorInvalidParameter, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText",
                       "An entry is missing or not valid. Please check your entries.")},
    {ErrorUnabletoSendRequest, lasting, "",
     QT_TRANSLATE_NOOP("KelAccount::StatusText", "The request could not be sent.")},
    {ErrorUndefined, passing, "", unexpected},
    {ErrorMax, passing, "", unexpected},
};

} // namespace

const StatusRow& statusRow(int status)
{
    const auto* const row =
        std::lower_bound(std::begin(rows), std::end(rows), status,
                         [](const StatusRow& each, int wanted) { return each.status < wanted; });
    if (row != std::end(rows) && row->status == status)
        return *row;
    return status > 0 && status <= lastDaemonStatus ? daemonRow : unknownRow;
}

} // namespace KelAccount
