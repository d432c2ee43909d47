// SPDX-License-Identifier: LGPL-2.1-or-later
#include <kelaccount/commonutils.h>

#include <kelaccount/errorstatus.h>

#include <algorithm>
#include <iterator>

using namespace KelAccount;

namespace {

struct StatusName
{
    int value;
    const char* name;
};

// The name is the member's own spelling, so the two cannot drift apart.
#define KELACCOUNT_STATUS(member)                                                                  \
    StatusName                                                                                     \
    {                                                                                              \
        member, "ZorKeLDefs::" #member                                                             \
    }

// Ordered by value for the search.
constexpr StatusName statusNames[] = {
    KELACCOUNT_STATUS(ErrorNone),
    KELACCOUNT_STATUS(ErrorConnectionRefused),
    KELACCOUNT_STATUS(ErrorRemoteHostClosed),
    KELACCOUNT_STATUS(ErrorHostNotFound),
    KELACCOUNT_STATUS(ErrorTimeout),
    KELACCOUNT_STATUS(ErrorOperationCanceled),
    KELACCOUNT_STATUS(ErrorSslHandshakeFailed),
    KELACCOUNT_STATUS(ErrorTemporaryNetworkFailure),
    KELACCOUNT_STATUS(ErrorProxyConnectionRefused),
    KELACCOUNT_STATUS(ErrorProxyConnectionClosed),
    KELACCOUNT_STATUS(ErrorProxyNotFound),
    KELACCOUNT_STATUS(ErrorProxyTimeout),
    KELACCOUNT_STATUS(ErrorProxyAuthenticationRequired),
    KELACCOUNT_STATUS(ErrorContentOperationNotPermitted),
    KELACCOUNT_STATUS(ErrorContentNotFound),
    KELACCOUNT_STATUS(ErrorAuthenticationRequired),
    KELACCOUNT_STATUS(ErrorContentReSend),
    KELACCOUNT_STATUS(ErrorProtocolUnknown),
    KELACCOUNT_STATUS(ErrorProtocolInvalidOperation),
    KELACCOUNT_STATUS(ErrorUnknownNetwork),
    KELACCOUNT_STATUS(ErrorUnknownProxy),
    KELACCOUNT_STATUS(ErrorUnknownContent),
    KELACCOUNT_STATUS(ErrorProtocolFailure),
    KELACCOUNT_STATUS(ErrorInvalidAccessToken),
    KELACCOUNT_STATUS(ErrorIllegalRequestMethod),
    KELACCOUNT_STATUS(ErrorUnknownContentType),
    KELACCOUNT_STATUS(ErrorInvalidUrl),
    KELACCOUNT_STATUS(ErrorNotAuthorized),
    KELACCOUNT_STATUS(ErrorGeneralError),
    KELACCOUNT_STATUS(ErrorInvalidMessageFormat),
    KELACCOUNT_STATUS(ErrorResourceNotFound),
    KELACCOUNT_STATUS(ErrorOperationFailed),
    KELACCOUNT_STATUS(ErrorUserPreregistered),
    KELACCOUNT_STATUS(ErrorAccountLocked),
    KELACCOUNT_STATUS(ErrorContactUpdate),
    KELACCOUNT_STATUS(ErrorCaptchaError),
    KELACCOUNT_STATUS(ErrorServicetagError),
    KELACCOUNT_STATUS(ErrorEmailAddressReserved),
    KELACCOUNT_STATUS(ErrorInvalidServiceTag),
    KELACCOUNT_STATUS(ErrorInvalidCaptcha),
    KELACCOUNT_STATUS(ErrorInvalidContact),
    KELACCOUNT_STATUS(ErrorUserNotFound),
    KELACCOUNT_STATUS(ErrorEmailSendingFailed),
    KELACCOUNT_STATUS(ErrorSMSendingFailed),
    KELACCOUNT_STATUS(ErrorAttributeSyntaxError),
    KELACCOUNT_STATUS(ErrorAgeVerificationSimpleConsent),
    KELACCOUNT_STATUS(ErrorAgeVerificationDisallowed),
    KELACCOUNT_STATUS(ErrorTooYoung),
    KELACCOUNT_STATUS(ErrorIllegalUpdate),
    KELACCOUNT_STATUS(ErrorConsumerKeyMissing),
    KELACCOUNT_STATUS(ErrorConsumerSecretMissing),
    KELACCOUNT_STATUS(ErrorClientInfoNotFound),
    KELACCOUNT_STATUS(ErrorUntrustedClient),
    KELACCOUNT_STATUS(ErrorTokenDoesnotExist),
    KELACCOUNT_STATUS(ErrorZorAuthPluginInternalError),
    KELACCOUNT_STATUS(ErrorSignInCancelled),
    KELACCOUNT_STATUS(ErrorRetrieveTermsDataFailed),
    KELACCOUNT_STATUS(ErrorUserNameAlreadySet),
    KELACCOUNT_STATUS(ErrorTermsAcceptancePending),
    KELACCOUNT_STATUS(ErrorTermsAcceptanceUpdateFailed),
    KELACCOUNT_STATUS(ErrorServiceTagAndCaptchaMissing),
    KELACCOUNT_STATUS(ErrorUserForgotPassword),
    KELACCOUNT_STATUS(ErrorSignOnUIFailure),
    KELACCOUNT_STATUS(ErrorOldPasswordMismatch),
    KELACCOUNT_STATUS(ErrorSignInPasswordEmpty),
    KELACCOUNT_STATUS(ErrorAccountNotConfigured),
    KELACCOUNT_STATUS(ErrorAuthSessionBusy),
    KELACCOUNT_STATUS(ErrorNotInitialized),
    KELACCOUNT_STATUS(ErrorAccountConfigurationIncomplete),
    KELACCOUNT_STATUS(ErrorAuthSessionInitializationFailed),
    KELACCOUNT_STATUS(ErrorSetUsernameIncomplete),
    KELACCOUNT_STATUS(ErrorAccountDisabled),
    KELACCOUNT_STATUS(ErrorStoreCredentialsFailed),
    KELACCOUNT_STATUS(ErrorCredentialsNotAvailable),
    KELACCOUNT_STATUS(ErrorInitializationPending),
    KELACCOUNT_STATUS(ErrorAccountAlreadyPresent),
    KELACCOUNT_STATUS(ErrorAccountConfigurationInProgress),
    KELACCOUNT_STATUS(ErrorFailedToConfigureAccount),
    KELACCOUNT_STATUS(ErrorFailedToEstablishZorAuthSession),
    KELACCOUNT_STATUS(ErrorInvalidRequest),
    KELACCOUNT_STATUS(ErrorInvalidParameter),
    KELACCOUNT_STATUS(ErrorUnabletoSendRequest),
    KELACCOUNT_STATUS(ErrorUnknown),
    KELACCOUNT_STATUS(ErrorUndefined),
    KELACCOUNT_STATUS(ErrorMax),
};

#undef KELACCOUNT_STATUS

} // namespace

QString CommonUtils::ConvertErrorCodeToString(int code)
{
    const auto found =
        std::lower_bound(std::begin(statusNames), std::end(statusNames), code,
                         [](const StatusName& row, int value) { return row.value < value; });
    if (found != std::end(statusNames) && found->value == code)
        return QString::fromLatin1(found->name);
    // Lower-case "el", unlike the names above: that is how logs tell a nameless value.
    return QStringLiteral("ZorKelDefs::Error%1").arg(code);
}
