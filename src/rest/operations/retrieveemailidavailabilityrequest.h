// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

#include <QByteArray>

namespace KelRestHandler {

/// Asks whether an e-mail address is free. The service tag proves that a device asks.
class RetrieveEmailIdAvailabilityRequest : public OAuthRequest
{
public:
    RetrieveEmailIdAvailabilityRequest(ISignatureProvider& provider, QString const& emailAddress,
                                       QByteArray const& serviceTag, QString const& consumerKey,
                                       QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    QString mEmailAddress;
    QByteArray mServiceTag;
};

} // namespace KelRestHandler
