// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QNetworkReply>

namespace KelRestHandler {

struct ReplyFacts;

/// How a completed reply ended.
struct ReplyEnding
{
    /// The network library's error, but for what only this library knows or wants.
    QNetworkReply::NetworkError error;
    /// Whether nothing in it is read: it was ended for its length or its server, or is encoded.
    bool isRefused;
};

ReplyEnding endingOf(const QNetworkReply& reply, const ReplyFacts& facts);

/// Whether what the reply says was said by the server itself: it came over https, and its
/// certificate was found good.
bool cameInsideTls(const QNetworkReply& reply);

} // namespace KelRestHandler
