// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QList>
#include <QPair>
#include <QString>

namespace KelRestHandler {

/// What of a request's address takes part in its signature.
struct SignedAddress
{
    QString withoutQuery; ///< scheme, host and path, decoded; no user, port, query or fragment
    QList<QPair<QString, QString>> queryItems; ///< decoded, in the address's order
};

/// Takes the address apart as QUrl does, without QUrl where there is nothing to take apart: the
/// service's addresses are plain, and parsing one would take a quarter of the time of signing it.
SignedAddress signedAddress(const QString& url);

} // namespace KelRestHandler
