// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/peercalls.h"

#include <QDeadlineTimer>

#include <sys/socket.h>
#include <unistd.h>

namespace KelRestHandler {

namespace {

bool peerUser(int socket, uid_t& user)
{
    ucred credentials = {};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == -1 ||
        size != sizeof credentials)
        return false;
    user = credentials.uid;
    return true;
}

qint64 monotonicMs()
{
    return QDeadlineTimer::current().deadline();
}

} // namespace

PeerCalls systemPeerCalls()
{
    return {peerUser, ::geteuid, monotonicMs};
}

} // namespace KelRestHandler
