// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

/// What the processes of a run share: the program, the server that is at fault, and the plugin's
/// process. It lies in a file that each maps, so that a fault begins and ends for all of them at
/// one moment, and each counts what it meets.
namespace Matrix {

constexpr const char* stateVariable = "KELACCOUNT_MATRIX_STATE";

/// How many cells may run at once. Each has an address of its own.
constexpr int slotCount = 64;

struct Slot
{
    std::atomic<int32_t> fault;       ///< of the table; 0: none
    std::atomic<int32_t> listening;   ///< the fault that the server's listeners are set for
    std::atomic<int32_t> hits;        ///< how often the fault has met somebody
    std::atomic<int32_t> connections; ///< that are open at the server
    std::atomic<int32_t> isReleased;  ///< what the server holds back may go: 1, or 2 for all of it
    std::atomic<int32_t> port;
    std::atomic<int32_t> proxyPort;
    std::atomic<int32_t> deadPort; ///< nobody ever listens there
};

struct State
{
    std::atomic<int32_t> isReady;
    std::atomic<int32_t> guardMs;        ///< for a reply, instead of 60 s; 0: as it is
    std::atomic<int64_t> clockSeconds;   ///< how far everybody's clock is ahead
    std::atomic<int32_t> application;    ///< whose acts are counted, by its process
    std::atomic<int32_t> talks;          ///< to the sign-on daemon
    std::atomic<int32_t> accountsOpened; ///< the accounts database
    std::atomic<int32_t> tagServerAsked;
    std::atomic<int32_t> systemBusAsked; ///< where it is another than the session's
    Slot places[slotCount];
};

static_assert(std::atomic<int64_t>::is_always_lock_free);

/// Null when there is none. The file has its size already.
inline State* stateAt(const char* path)
{
    const int file = path ? ::open(path, O_RDWR | O_CLOEXEC) : -1;
    if (file < 0)
        return nullptr;
    void* const memory =
        ::mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    return memory == MAP_FAILED ? nullptr : static_cast<State*>(memory);
}

inline State* sharedState()
{
    static State* const state = stateAt(::getenv(stateVariable));
    return state;
}

/// The system bus that is none, in the session's folder.
constexpr const char* silentBus = "no-system-bus";

/// "c17-s3.account.example" is what cell 17 calls the service, in slot 3. Each cell has a name of
/// its own: what the library or Qt remembers of a host is of no use to the next.
constexpr const char* domain = ".account.example";

} // namespace Matrix
