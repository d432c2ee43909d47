// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/refreshtokenrequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RefreshTokenRequest::RefreshTokenRequest(ISignatureProvider& provider, QString const& consumerKey,
                                         QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage())
{
    createOAuthRequest();
}

QString RefreshTokenRequest::createXMLMessage()
{
    return {};
}

QString RefreshTokenRequest::getRestURL()
{
    return RestUrlHelper::tokenUrl(baseAddress()) + provider().getToken(getConsumerKey());
}

QString RefreshTokenRequest::getHttpRequestType()
{
    return QStringLiteral("PUT");
}

bool RefreshTokenRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
