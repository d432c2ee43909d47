// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Dynamic properties of a QNetworkReply: the only link between a reply and its request.
namespace KelRestHandler::ReplyProperty {
constexpr char requestType[] = "networkRequestType";
constexpr char consumerKey[] = "clientConsumerKey";
constexpr char requestId[] = "requestIdentifier";
constexpr char timedOut[] = "timeoutRequest";
} // namespace KelRestHandler::ReplyProperty
