// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/retrieveusernameavailabilityrequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RetrieveUserNameAvailabilityRequest::RetrieveUserNameAvailabilityRequest(
    ISignatureProvider& provider, QString const& userName, QString const& consumerKey,
    QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()), mUserName(userName)
{
    createOAuthRequest();
}

QString RetrieveUserNameAvailabilityRequest::createXMLMessage()
{
    return {};
}

QString RetrieveUserNameAvailabilityRequest::getRestURL()
{
    return RestUrlHelper::availabilityUrl(baseAddress()) + inPath(mUserName);
}

QString RetrieveUserNameAvailabilityRequest::getHttpRequestType()
{
    return QStringLiteral("GET");
}

bool RetrieveUserNameAvailabilityRequest::isTokenRequired()
{
    return false;
}

} // namespace KelRestHandler
