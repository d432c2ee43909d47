// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <QUrl>

namespace KelRestHandler {

/// Whom a request is sent to over TCP.
struct FirstHop
{
    QString host;
    quint16 port;
    bool isTunnel = false; ///< it is a proxy that is asked for one
};

/// The address's port, or the one that its scheme stands for.
quint16 portOf(const QUrl& address);

/// The proxy on the way to the address, or its server when there is none.
FirstHop firstHopTo(const QUrl& address);

} // namespace KelRestHandler
