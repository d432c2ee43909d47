// SPDX-License-Identifier: LGPL-2.1-or-later
// The service of the matrix: with each slot's port comes the fault that its cell is about. Nothing
// of it is asynchronous, so that what goes over the wire at which moment can be read off the code.
#include "matrix/faults.h"
#include "matrix/server/connection.h"
#include "matrix/server/doors.h"
#include "matrix/state.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <thread>
#include <vector>

using namespace Matrix;

namespace {

void adapt(Doors& doors, Slot& slot)
{
    const int wanted = slot.fault.load();
    if (wanted == slot.listening.load())
        return;
    const Kind kind = faults()[static_cast<size_t>(wanted)].kind;
    doors.service.set(kind != Kind::Refused && kind != Kind::Dropped, kind == Kind::Dropped);
    doors.elsewhere.set(false, kind == Kind::FirstDrops);
    slot.listening = wanted;
}

void accept(int listening, Slot& slot, bool isProxy, Tls& tls)
{
    const int socket = ::accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0)
        return;
    std::thread([socket, &slot, isProxy, &tls] { serve(socket, slot, isProxy, tls); }).detach();
}

} // namespace

int main(int argc, char** argv)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGPIPE, SIG_IGN);
    State* const state = sharedState();
    if (!state || argc != 2) {
        std::fprintf(stderr, "usage: %s FILE-FOR-THE-AUTHORITY, with the state in %s\n", argv[0],
                     stateVariable);
        return 2;
    }
    Tls tls;
    std::ofstream(argv[1]) << tls.authority.text();

    std::vector<Doors> doors(slotCount);
    for (int i = 0; i < slotCount; ++i) {
        Doors& here = doors[static_cast<size_t>(i)];
        here.service.reserve("127.0.0.1");
        here.elsewhere.host = "127.0.0.3";
        here.elsewhere.port = here.service.port;
        here.elsewhere.keeper = boundSocket("127.0.0.3", here.service.port);
        here.proxy.reserve("127.0.0.1");
        here.dead = boundSocket("127.0.0.1", 0);
        here.proxy.set(true, false);
        here.service.set(true, false);
        Slot& slot = state->places[i];
        slot.port = here.service.port;
        slot.proxyPort = here.proxy.port;
        slot.deadPort = portOf(here.dead);
    }
    state->isReady = 1;
    for (;;) {
        std::vector<pollfd> waiting;
        for (int i = 0; i < slotCount; ++i) {
            adapt(doors[static_cast<size_t>(i)], state->places[i]);
            waiting.push_back({doors[static_cast<size_t>(i)].service.open, POLLIN, 0});
            waiting.push_back({doors[static_cast<size_t>(i)].proxy.open, POLLIN, 0});
        }
        if (::poll(waiting.data(), waiting.size(), 1) <= 0)
            continue;
        for (size_t i = 0; i < waiting.size(); ++i) {
            if ((waiting[i].revents & POLLIN) != 0)
                accept(waiting[i].fd, state->places[i / 2], i % 2 == 1, tls);
        }
    }
}
