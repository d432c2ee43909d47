// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QNetworkReply>

namespace KelRestHandler {

/// Whether nothing in the reply is read: it was ended for its length or its server, or is encoded.
bool wasRefused(const QNetworkReply& reply);

/// What happened to the completed reply: the network library's error, but for what only this
/// library knows or wants.
QNetworkReply::NetworkError transportErrorOf(const QNetworkReply& reply);

/// Whether what the reply says was said by the server itself: it came over https, and its
/// certificate was found good.
bool cameInsideTls(const QNetworkReply& reply);

} // namespace KelRestHandler
