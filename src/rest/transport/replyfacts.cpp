// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/replyfacts.h"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QVariant>

namespace KelRestHandler {

// An attribute of the request, which the network library hands on.
void attachFacts(QNetworkRequest& request, const std::shared_ptr<ReplyFacts>& facts)
{
    request.setAttribute(QNetworkRequest::User, QVariant::fromValue(facts));
}

std::shared_ptr<ReplyFacts> factsOf(const QNetworkReply& reply)
{
    return reply.request().attribute(QNetworkRequest::User).value<std::shared_ptr<ReplyFacts>>();
}

} // namespace KelRestHandler
