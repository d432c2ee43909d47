// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QtGlobal>

#include <sys/types.h>

namespace KelRestHandler {

/// What the tag client goes by when it decides whether to ask whoever has the tag server's name.
/// Named here, so that a test is another user, at another time.
struct PeerCalls
{
    /// Who listened at the other end of a connected socket; false when the kernel does not say.
    bool (*peerUser)(int socket, uid_t& user);
    uid_t (*ownUser)();
    /// Of a clock that nobody sets.
    qint64 (*monotonicMs)();
};

/// The ones in use; in a file of its own, which a test replaces.
const PeerCalls& peerCalls();

/// The kernel's.
PeerCalls systemPeerCalls();

} // namespace KelRestHandler
