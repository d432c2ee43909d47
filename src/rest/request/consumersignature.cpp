// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/consumersignature.h"

#include "common/wipe.h"
#include "rest/request/cryptographicutils.h"
#include "rest/request/percentencoding.h"

namespace KelRestHandler {

QString consumerSignature(QString const& baseString, QString const& consumerSecret)
{
    KelAccount::SecretText encoded;
    appendPercentEncoded(encoded, consumerSecret);
    QString key = encoded + QLatin1Char('&');
    const QString signature = CryptographicUtils::HMACSHA1(baseString, key);
    KelAccount::wipe(key);
    return signature;
}

} // namespace KelRestHandler
