// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/downloadprofilerequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

DownloadProfileRequest::DownloadProfileRequest(ISignatureProvider& provider,
                                               QString const& accountId, QString const& consumerKey,
                                               QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mAccountId(accountId)
{
    createOAuthRequest();
}

QString DownloadProfileRequest::createXMLMessage()
{
    return {};
}

QString DownloadProfileRequest::getRestURL()
{
    return RestUrlHelper::registrationUrl(baseAddress()) + inPath(mAccountId) +
           QLatin1String("/profile");
}

QString DownloadProfileRequest::getHttpRequestType()
{
    return QStringLiteral("GET");
}

bool DownloadProfileRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
