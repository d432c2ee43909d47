// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace KelRestHandler {

/// Keys, token and clock for signing a request, kept by whoever owns the secrets.
class ISignatureProvider
{
public:
    virtual ~ISignatureProvider() = default;

    /// Access token held for this consumer key; empty when there is none.
    virtual QString getToken(QString const& consumerKey) = 0;

    /// Finished `oauth_signature` value for a signature base string.
    virtual QString createSignature(QString const& consumerKey, QString const& baseString,
                                    bool useToken) = 0;

    /// OAuth time stamp: seconds since 1970 on the server's clock, in decimal.
    virtual QString getTimeStamp() = 0;
};

} // namespace KelRestHandler
