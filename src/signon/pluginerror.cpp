// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signon/pluginerror.h"

#include "common/logging.h"

#include <kelaccount/errorstatus.h>

#include <SignOn/Error>

namespace KelAccount {

void logSessionRefusal(const SignOn::Error& error)
{
    switch (error.type()) {
    case SignOn::Error::MethodNotKnown:
    case SignOn::Error::MethodNotAvailable:
        qCCritical(logSignon, "The sign-on daemon finds no plugin for the method \"zorauth\"");
        return;
    case SignOn::Error::PermissionDenied:
        qCCritical(logSignon,
                   "The sign-on daemon does not let this application use the credentials");
        return;
    case SignOn::Error::IdentityNotFound:
        qCCritical(logSignon, "The sign-on daemon has no such credentials any more");
        return;
    default:
        qCCritical(logSignon, "The sign-on plugin opens no session: sign-on error %d",
                   error.type());
    }
}

void logAccountError(const SignOn::Error& error)
{
    switch (error.type()) {
    case ErrorAccountConfigurationIncomplete:
        qCCritical(logSignon, "The sign-on plugin finds the account only partly set up: its "
                              "password is missing, or it belongs to another server");
        return;
    case ErrorAuthSessionInitializationFailed:
        qCCritical(logSignon, "The sign-on plugin could not initialise the session by itself");
        return;
    default:
        return;
    }
}

} // namespace KelAccount
