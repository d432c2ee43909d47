// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QMetaType>

#include <memory>

class QNetworkReply;
class QNetworkRequest;

namespace KelRestHandler {

/// What has become of a request, which its reply carries along.
struct ReplyFacts
{
    bool isOversized = false;
    bool isFromWrongServer = false; ///< its certificate is not for the host that was asked
    bool isAbandoned = false;       ///< nobody waits for the answer any more
    bool isProxyGone = false;       ///< which has hung up before there was a tunnel
    bool isTorn = false;            ///< its head has a line that is none, and so no known end
};

/// To be called before the request is posted.
void attachFacts(QNetworkRequest& request, const std::shared_ptr<ReplyFacts>& facts);

/// Null for a reply to a request that has none.
std::shared_ptr<ReplyFacts> factsOf(const QNetworkReply& reply);

} // namespace KelRestHandler

Q_DECLARE_METATYPE(std::shared_ptr<KelRestHandler::ReplyFacts>)
