// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QSet>
#include <QtGlobal>

#include <vector>

namespace KelRestHandler {

/// A connected TCP socket of this process.
struct ConnectedSocket
{
    int descriptor;
    quint64 identity; ///< the socket's inode: a descriptor's number is soon used again
};

/// Every connected TCP socket of this process whose peer has this port.
std::vector<ConnectedSocket> connectedSockets(quint16 peerPort);

/// Whether this process has a connection to that port besides those that are named, or is making
/// one to anywhere; also where the kernel does not tell.
bool mayBeConnected(quint16 peerPort, const QSet<quint64>& others);

/// What has arrived at the socket since it was made; 0 where the kernel does not tell.
quint64 bytesReceived(int descriptor);

/// Whether this is the socket still and the peer has ended it, which its owner may not have
/// noticed.
bool wasEndedByPeer(const ConnectedSocket& socket);

/// Whether this is the socket still and the device has not the address any more that it was made
/// with, as after a change of network: nothing comes or goes on it, and nobody says so.
bool hasLostItsAddress(const ConnectedSocket& socket);

/// Ends both directions of the socket, unless its descriptor belongs to another by now.
void shutDown(const ConnectedSocket& socket);

} // namespace KelRestHandler
