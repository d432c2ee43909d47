// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/deletetokenrequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

DeleteTokenRequest::DeleteTokenRequest(ISignatureProvider& provider, QString const& consumerKey,
                                       QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage())
{
    createOAuthRequest();
}

QString DeleteTokenRequest::createXMLMessage()
{
    return {};
}

QString DeleteTokenRequest::getRestURL()
{
    return RestUrlHelper::tokenUrl(baseAddress()) + provider().getToken(getConsumerKey());
}

QString DeleteTokenRequest::getHttpRequestType()
{
    return QStringLiteral("DELETE");
}

bool DeleteTokenRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
