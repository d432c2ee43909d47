// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/peercalls.h"

namespace KelRestHandler {

const PeerCalls& peerCalls()
{
    static const PeerCalls system = systemPeerCalls();
    return system;
}

} // namespace KelRestHandler
