// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/retrievetermsacceptancerequest.h"

#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RetrieveTermsAcceptanceRequest::RetrieveTermsAcceptanceRequest(
    ISignatureProvider& provider, QString const& identifier, QString const& language,
    QString const& consumerKey, QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, language), mIdentifier(identifier)
{
    createOAuthRequest();
}

QString RetrieveTermsAcceptanceRequest::createXMLMessage()
{
    return {};
}

QString RetrieveTermsAcceptanceRequest::getRestURL()
{
    return RestUrlHelper::termsUrl(baseAddress()) + inPath(mIdentifier);
}

QString RetrieveTermsAcceptanceRequest::getHttpRequestType()
{
    return QStringLiteral("GET");
}

bool RetrieveTermsAcceptanceRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
