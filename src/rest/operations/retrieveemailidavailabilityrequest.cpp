// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/retrieveemailidavailabilityrequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RetrieveEmailIdAvailabilityRequest::RetrieveEmailIdAvailabilityRequest(
    ISignatureProvider& provider, QString const& emailAddress, QByteArray const& serviceTag,
    QString const& consumerKey, QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mEmailAddress(emailAddress), mServiceTag(serviceTag)
{
    createOAuthRequest();
}

QString RetrieveEmailIdAvailabilityRequest::createXMLMessage()
{
    return MsgCreator::xmlEmailAvailability(mEmailAddress, mServiceTag);
}

QString RetrieveEmailIdAvailabilityRequest::getRestURL()
{
    return RestUrlHelper::emailAvailabilityUrl(baseAddress());
}

QString RetrieveEmailIdAvailabilityRequest::getHttpRequestType()
{
    return QStringLiteral("POST");
}

bool RetrieveEmailIdAvailabilityRequest::isTokenRequired()
{
    return false;
}

} // namespace KelRestHandler
