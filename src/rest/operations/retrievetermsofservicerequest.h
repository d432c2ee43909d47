// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/records/plainrecords.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"

namespace KelRestHandler {

template <>
struct Description<RetrieveTermsOfService> : DescriptionDefaults
{
    using Request = class RetrieveTermsOfServiceRequest;
    static constexpr char verb[] = "GET";
    static constexpr auto folder = &RestUrlHelper::serviceInfoUrl;
    static constexpr std::array roots{"serviceQueryResponse"};
    static constexpr char creationFailure[] = "TOS request object creation failed";
    static constexpr auto signal = &ServiceSignals::retrieveTOSResponse;
    static constexpr auto process = &NetworkResponseProcessor::processretrieveTOSResponse;

    static void read(TermsUrlsResponse& into, const QDomNode& element)
    {
        MsgParser::parseServiceQueryResponse(into.urls, element);
    }
};

/// Asks for the addresses of a service's terms.
class RetrieveTermsOfServiceRequest : public DescribedRequest<RetrieveTermsOfService>
{
public:
    /// An empty language or country is left out of the address.
    RetrieveTermsOfServiceRequest(ISignatureProvider& provider, QString const& serviceId,
                                  QString const& language, QString const& country,
                                  TermsFormat format, QString const& consumerKey,
                                  QString const& baseAddress, NetRequestType type)
        : DescribedRequest(provider, consumerKey, baseAddress, type, language),
          mServiceId(serviceId), mCountry(country), mFormat(format)
    {
        createOAuthRequest();
    }

    QString createXMLMessage() final { return {}; }

    QString getRestURL() final
    {
        QString address = Description<RetrieveTermsOfService>::folder(baseAddress()) +
                          inPath(mServiceId) + QLatin1Char('?');
        if (!getLanguage().isEmpty())
            address += QLatin1String("lang=") + inQuery(getLanguage()) + QLatin1Char('&');
        if (!mCountry.isEmpty())
            address += QLatin1String("country=") + inQuery(mCountry) + QLatin1Char('&');
        return address + QLatin1String("format=") +
               (mFormat == TermsFormatHtml ? QLatin1String("html") : QLatin1String("text"));
    }

private:
    QString mServiceId;
    QString mCountry;
    TermsFormat mFormat;
};

} // namespace KelRestHandler
