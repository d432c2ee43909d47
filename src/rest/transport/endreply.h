// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

class QNetworkReply;

namespace KelRestHandler {

/// Aborts a reply. The network library's thread may just be telling of an error, and then of the
/// end: a reply that has the error already is left to its end, and none hears of one afterwards.
/// The library would take it for a second error, and complain.
void endReply(QNetworkReply& reply);

/// Has the event loop delete the reply, when it has ended. Who waits for its end hears of it.
void deleteEnded(QNetworkReply& reply);

} // namespace KelRestHandler
