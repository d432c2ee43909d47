// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Dynamic properties of a QNetworkReply: the only link between a reply and its request.
namespace KelRestHandler::ReplyProperty {
constexpr char requestType[] = "networkRequestType";
constexpr char consumerKey[] = "clientConsumerKey";
constexpr char requestId[] = "requestIdentifier";
constexpr char timedOut[] = "timeoutRequest";
constexpr char oversized[] = "oversizedReply";
/// The server's certificate is not for the host that was asked.
constexpr char wrongServer[] = "wrongServer";
/// Nobody waits for the answer any more.
constexpr char abandoned[] = "abandonedRequest";
} // namespace KelRestHandler::ReplyProperty
