// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// In which form terms are wanted.
enum TermsFormat : int { TermsFormatText = 0, TermsFormatHtml = 1 };

/// Asks for the addresses of a service's terms.
class RetrieveTermsOfServiceRequest : public OAuthRequest
{
public:
    /// An empty language or country is left out of the address.
    RetrieveTermsOfServiceRequest(ISignatureProvider& provider, QString const& serviceId,
                                  QString const& language, QString const& country,
                                  TermsFormat format, QString const& consumerKey,
                                  QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    QString mServiceId;
    QString mCountry;
    TermsFormat mFormat;
};

} // namespace KelRestHandler
