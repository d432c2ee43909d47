// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/settings.h"

#include "rest/request/serviceaddress.h"

namespace KelAccount {

ErrorStatus Settings::initialize(const QString& consumerKey, const QString& consumerSecret,
                                 int server, const QString& zorService)
{
    if (mInitialized)
        return ErrorInvalidRequest;
    if (consumerKey.isEmpty() || consumerSecret.isEmpty())
        return ErrorInvalidParameter;
    mConsumerKey = consumerKey;
    mConsumerSecret = consumerSecret;
    mServerIndex = server;
    mZorService = zorService;
    mServerUrl = KelRestHandler::serverBaseAddress(server);
    mInitialized = 1;
    return ErrorNone;
}

} // namespace KelAccount
