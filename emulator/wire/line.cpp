// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/line.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

namespace KelEmulator {

namespace {

// What an Ethernet frame carries for TCP.
constexpr size_t packetBytes = 1448;
// On their way at most; whoever sends more has to wait, as with full buffers on a network.
constexpr size_t mostBytes = size_t{1024} * 1024;
// A packet of the slowest network has to leave what a writer is kept waiting in.
constexpr int sendBufferBytes = 16 * 1024;

bool isOneToTryAgain()
{
    return errno == EAGAIN || errno == EINTR;
}

} // namespace

bool Line::Direction::wantsMore() const
{
    return !hasEnded && !isDone && bytes < mostBytes;
}

bool Line::Direction::isDue(Clock::time_point now) const
{
    return !isDone && !packets.empty() && packets.front().due <= now;
}

std::unique_ptr<Line> Line::make(int client, Network& network)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return nullptr;
    return std::unique_ptr<Line>(
        new Line(client, network, Descriptor(ends[0]), Descriptor(ends[1])));
}

Line::Line(int client, Network& network, Descriptor near, Descriptor far)
    : mNetwork(network), mNear(std::move(near)),
      mFar(std::move(far)), mToService{client, mNear.number(), {}, 0, {}, {}, false, false, false},
      mToClient{mNear.number(), client, {}, 0, {}, {}, false, false, false},
      // Each connection has its own delays, and a run has those of the run before.
      mRandom(static_cast<std::minstd_rand::result_type>(network.connections + 1)),
      mOpenedRound(network.round() + 1)
{
    ::setsockopt(mFar.number(), SOL_SOCKET, SO_SNDBUF, &sendBufferBytes, sizeof sendBufferBytes);
    mToService.freeAt =
        Clock::now() + network.conditions().latency.value_or(NetworkConditions::Milliseconds(0));
    mThread = std::thread([this] { run(); });
}

Line::~Line()
{
    mFar.reset();
    mThread.join();
}

void Line::run()
{
    // While the one that serves is still there, what the client sends is read, though nothing is
    // sent any more: a socket that is closed with bytes unread is reset, and the client might lose
    // what it has not read yet.
    while (!mClientIsGone && !(mToClient.isDone && mToService.isDone)) {
        wait();
        take(mToService);
        take(mToClient);
        give(mToService);
        give(mToClient);
    }
    // Whoever serves sees the end.
    ::shutdown(mNear.number(), SHUT_RDWR);
}

void Line::wait()
{
    const auto eventsAt = [this](int descriptor) {
        short events = 0;
        for (const Direction* direction : {&mToService, &mToClient}) {
            if (direction->from == descriptor && direction->wantsMore())
                events |= POLLIN;
            if (direction->to == descriptor && direction->isStuck && !direction->isDone)
                events |= POLLOUT;
        }
        return events;
    };
    Clock::time_point next = Clock::time_point::max();
    for (const Direction* direction : {&mToService, &mToClient}) {
        if (!direction->isStuck && !direction->isDone && !direction->packets.empty())
            next = std::min(next, direction->packets.front().due);
    }
    const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::max(next - Clock::now(), Clock::duration::zero()));
    constexpr std::int64_t second = 1000000000;
    const timespec time{static_cast<time_t>(left.count() / second),
                        static_cast<long>(left.count() % second)};
    const int client = mToService.from;
    const int near = mNear.number();
    const short nearEvents = eventsAt(near);
    // Poll tells of an end also who does not ask for it, again and again. The other end of the near
    // one matters when all is read from it.
    const bool asksNear = nearEvents != 0 || (mToClient.hasEnded && !mToService.isDone);
    pollfd entries[] = {{client, eventsAt(client), 0}, {asksNear ? near : -1, nearEvents, 0}};
    if (::ppoll(entries, 2, next == Clock::time_point::max() ? nullptr : &time, nullptr) > 0 &&
        (entries[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0)
        mClientIsGone = true;
    if (mToClient.hasEnded && (entries[1].revents & (POLLHUP | POLLERR)) != 0)
        mToService.isDone = true;
}

Line::Clock::time_point Line::dueTime(Direction& direction, size_t bytes)
{
    const NetworkConditions conditions = mNetwork.conditions();
    direction.freeAt = std::max(direction.freeAt, Clock::now());
    if (conditions.bitsPerSecond) {
        constexpr std::int64_t bitsOfByte = 8;
        constexpr std::int64_t second = 1000000000;
        direction.freeAt += std::chrono::nanoseconds(static_cast<std::int64_t>(bytes) * bitsOfByte *
                                                     second / *conditions.bitsPerSecond);
    }
    constexpr std::int64_t million = 1000000;
    const std::int64_t most =
        conditions.jitter.value_or(NetworkConditions::Milliseconds(0)).count();
    std::uniform_int_distribution<std::int64_t> jitter(-most * million / 2, most * million / 2);
    const std::chrono::nanoseconds way =
        std::chrono::nanoseconds(conditions.latency.value_or(NetworkConditions::Milliseconds(0))) /
            2 +
        std::chrono::nanoseconds(jitter(mRandom));
    direction.lastDue = std::max(direction.lastDue, direction.freeAt + way);
    return direction.lastDue;
}

void Line::take(Direction& direction)
{
    std::array<char, packetBytes> buffer;
    while (direction.wantsMore()) {
        const ssize_t got = ::recv(direction.from, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (got < 0 && isOneToTryAgain())
            return;
        direction.hasEnded = got <= 0;
        const size_t size = static_cast<size_t>(std::max<ssize_t>(got, 0));
        const std::int64_t round = &direction == &mToService
                                       ? std::max(mNetwork.round(), mOpenedRound)
                                       : mAnswerRound.load();
        direction.bytes += size;
        direction.packets.push_back(
            {std::string(buffer.data(), size), dueTime(direction, size), round});
    }
}

void Line::give(Direction& direction)
{
    direction.isStuck = false;
    while (direction.isDue(Clock::now())) {
        Packet& packet = direction.packets.front();
        // Known before it is there: whoever has it may ask on at once, or ask for the count.
        arrived(direction, packet.round);
        if (packet.bytes.empty()) {
            ::shutdown(direction.to, SHUT_WR);
            direction.isDone = true;
            return;
        }
        const ssize_t sent = ::send(direction.to, packet.bytes.data(), packet.bytes.size(),
                                    MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && isOneToTryAgain()) {
            direction.isStuck = true;
            return;
        }
        if (sent < 0) {
            direction.isDone = true;
            return;
        }
        direction.bytes -= static_cast<size_t>(sent);
        packet.bytes.erase(0, static_cast<size_t>(sent));
        if (packet.bytes.empty())
            direction.packets.pop_front();
    }
}

void Line::arrived(const Direction& direction, std::int64_t round)
{
    if (&direction == &mToClient)
        mNetwork.arriveAt(round);
    else
        mAskedRound = std::max(mAskedRound.load(), round);
}

} // namespace KelEmulator
