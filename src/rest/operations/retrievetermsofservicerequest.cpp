// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/retrievetermsofservicerequest.h"

#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RetrieveTermsOfServiceRequest::RetrieveTermsOfServiceRequest(
    ISignatureProvider& provider, QString const& serviceId, QString const& language,
    QString const& country, TermsFormat format, QString const& consumerKey,
    QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, language), mServiceId(serviceId),
      mCountry(country), mFormat(format)
{
    createOAuthRequest();
}

QString RetrieveTermsOfServiceRequest::createXMLMessage()
{
    return {};
}

QString RetrieveTermsOfServiceRequest::getRestURL()
{
    QString address =
        RestUrlHelper::serviceInfoUrl(baseAddress()) + inPath(mServiceId) + QLatin1Char('?');
    if (!getLanguage().isEmpty())
        address += QLatin1String("lang=") + inQuery(getLanguage()) + QLatin1Char('&');
    if (!mCountry.isEmpty())
        address += QLatin1String("country=") + inQuery(mCountry) + QLatin1Char('&');
    return address + QLatin1String("format=") +
           (mFormat == TermsFormatHtml ? QLatin1String("html") : QLatin1String("text"));
}

QString RetrieveTermsOfServiceRequest::getHttpRequestType()
{
    return QStringLiteral("GET");
}

bool RetrieveTermsOfServiceRequest::isTokenRequired()
{
    return false;
}

} // namespace KelRestHandler
