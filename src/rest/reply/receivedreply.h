// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QNetworkReply>
#include <QString>

namespace KelRestHandler {

/// What the response processor is given of a reply that has ended.
struct ReceivedReply
{
    QNetworkReply::NetworkError error;
    QString text; ///< status line, header lines and body; empty for a reply that cannot be read
};

/// Decides whether a reply can be read. The processor takes a reply without a document and without
/// an error for a success, as most changes are answered. So what must not pass for one becomes a
/// ProtocolFailure without a text:
///  - a document beyond ReplyBounds, whatever the network library says of the reply;
///  - an HTTP status outside 2xx that the network library calls no error, such as a redirect, which
///    is not followed, or none at all (0), unless a document of the service decides.
ReceivedReply receivedReply(QNetworkReply::NetworkError error, int httpStatus, const QString& text);

} // namespace KelRestHandler
