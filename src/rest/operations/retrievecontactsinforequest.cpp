// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/retrievecontactsinforequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RetrieveContactsInfoRequest::RetrieveContactsInfoRequest(ISignatureProvider& provider,
                                                         QString const& accountId,
                                                         QString const& consumerKey,
                                                         QString const& baseAddress,
                                                         NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mAccountId(accountId)
{
    createOAuthRequest();
}

QString RetrieveContactsInfoRequest::createXMLMessage()
{
    return {};
}

QString RetrieveContactsInfoRequest::getRestURL()
{
    return RestUrlHelper::registrationUrl(baseAddress()) + inPath(mAccountId) +
           QLatin1String("/contacts");
}

QString RetrieveContactsInfoRequest::getHttpRequestType()
{
    return QStringLiteral("GET");
}

bool RetrieveContactsInfoRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
