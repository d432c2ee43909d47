// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/recordobject.h"

#include <QDateTime>
#include <QString>

namespace KelRestHandler {

struct TokenInfoFields
{
    QString token;
    QString tokenSecret;
    long ttl = 0;  ///< seconds the token has left
    QString level; ///< how strongly the user was authenticated
    QDateTime expires;
    QDateTime time; ///< when the user was authenticated; UTC
};

/// An access token as the service issued it. Both token texts are secrets.
class TokenInfoData : public RecordObject<TokenInfoFields>
{
    Q_OBJECT

public:
    using RecordObject::RecordObject;
    TokenInfoData(const TokenInfoData& other, QObject* parent) : RecordObject(other, parent) {}
};

} // namespace KelRestHandler
