// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/isignatureprovider.h"

/// A signature provider whose answers are given by the test.
class FixedSigner : public KelRestHandler::ISignatureProvider
{
public:
    QString token;
    QString signature = QStringLiteral("c2lnbmF0dXJl+/=");
    QString time = QStringLiteral("1700000000");

    QString getToken(QString const& /*consumerKey*/) override { return token; }
    QString createSignature(QString const& /*consumerKey*/, QString const& /*base*/,
                            bool /*useToken*/) override
    {
        return signature;
    }
    QString getTimeStamp() override { return time; }
};
