// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/proxy.h"

#include "emulator/common/log.h"
#include "emulator/wire/line.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <httplib.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

namespace KelEmulator {

namespace {

constexpr size_t threadCount = 160;
constexpr int backlog = 256;
constexpr time_t stalledAfterSeconds = 30;

enum class Sharing { WithOurselves, WithNobody };

bool setOption(const Descriptor& socket, int option)
{
    const int on = 1;
    return setsockopt(socket.number(), SOL_SOCKET, option, &on, sizeof on) == 0;
}

/// A socket bound to the port, not listening yet. Several of ours may be bound at once, so that the
/// port can pass from a listening socket to one that does not listen without being free in between.
Descriptor boundSocket(int port, Sharing sharing)
{
    Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool early = sharing == Sharing::WithOurselves;
    const bool bound =
        socket && setOption(socket, SO_REUSEADDR) && (!early || setOption(socket, SO_REUSEPORT)) &&
        bind(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    // Set only after binding, it lets our own later socket in but kept us off another emulator's
    // port.
    return bound && setOption(socket, SO_REUSEPORT) ? std::move(socket) : Descriptor();
}

int portOf(const Descriptor& socket)
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (getsockname(socket.number(), reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return 0;
    return ntohs(address.sin_port);
}

void setTimeLimit(int descriptor)
{
    const timeval limit{stalledAfterSeconds, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

bool sendAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t sent = ::send(descriptor, text.data(), text.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        text.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

/// Ends our side, and reads what the client still sends. A socket that is closed with bytes unread
/// is reset, and the client may lose an answer over that which it has not read yet.
void lingerUntilClientEnds(int descriptor)
{
    constexpr int longestMs = 2000;
    constexpr std::uint64_t mostBytes = std::uint64_t{64} * 1024 * 1024;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(longestMs);
    ::shutdown(descriptor, SHUT_WR);
    std::array<char, 65536> bytes;
    for (std::uint64_t sum = 0; sum < mostBytes;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd entry{descriptor, POLLIN, 0};
        if (left.count() <= 0 || poll(&entry, 1, static_cast<int>(left.count())) <= 0)
            return;
        const ssize_t got = ::recv(descriptor, bytes.data(), bytes.size(), 0);
        if (got <= 0)
            return;
        sum += static_cast<std::uint64_t>(got);
    }
}

/// Reads the CONNECT request and answers it. True when the tunnel stands.
bool openTunnel(int descriptor, const std::function<void()>& answers)
{
    std::array<char, 8192> buffer;
    std::string_view request;
    while (request.find("\r\n\r\n") == std::string_view::npos) {
        if (request.size() == buffer.size())
            return false;
        const ssize_t got =
            ::recv(descriptor, buffer.data() + request.size(), buffer.size() - request.size(), 0);
        if (got <= 0)
            return false;
        request = std::string_view(buffer.data(), request.size() + static_cast<size_t>(got));
    }
    answers();
    // Nothing may follow before our answer: it would belong to the handshake.
    if (request.find("\r\n\r\n") + 4 != request.size() || request.substr(0, 8) != "CONNECT ") {
        sendAll(descriptor, "HTTP/1.1 405 Method Not Allowed\r\nAllow: CONNECT\r\n"
                            "Content-Length: 0\r\nConnection: close\r\n\r\n");
        return false;
    }
    return sendAll(descriptor, "HTTP/1.1 200 Connection established\r\n\r\n");
}

} // namespace

/// Registered from the moment it is accepted, so that it is ended with the others also while it
/// waits for a thread.
struct Proxy::Client
{
    Client(Descriptor socket, OpenConnections& connections)
        : descriptor(std::move(socket)), entry(connections, descriptor.number())
    {
    }
    Descriptor descriptor;
    OpenConnections::Entry entry;
};

Proxy::Proxy(Serve serve) : mServe(std::move(serve))
{
}

Proxy::~Proxy()
{
    stop();
}

bool Proxy::start(int port, std::string& problem)
{
    mSocket = boundSocket(port, Sharing::WithNobody);
    mWake = Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!mSocket || !mWake) {
        problem = "cannot open port " + std::to_string(port) +
                  " on 127.0.0.1 for the proxy: " + strerror(errno);
        return false;
    }
    mPort = portOf(mSocket);
    mPool = std::make_unique<httplib::ThreadPool>(threadCount);
    mAcceptor = std::thread([this] { acceptLoop(); });
    return true;
}

void Proxy::wake()
{
    ++mGeneration;
    [[maybe_unused]] const int result = eventfd_write(mWake.number(), 1);
}

bool Proxy::refuse()
{
    std::unique_lock<std::mutex> lock(mMutex);
    if (mListening) {
        Descriptor placeholder = boundSocket(mPort, Sharing::WithOurselves);
        if (!placeholder)
            return false;
        // The loop may still hold the old socket's number, so it is closed only when the loop has
        // let go of it.
        Descriptor old = std::exchange(mSocket, std::move(placeholder));
        mListening = false;
        wake();
        const int wanted = mGeneration;
        mSeenChanged.wait(lock, [&] { return mSeen >= wanted || mStopping; });
    }
    lock.unlock();
    mConnections.closeAll();
    return true;
}

bool Proxy::accept()
{
    std::unique_lock<std::mutex> lock(mMutex);
    if (mListening)
        return true;
    if (::listen(mSocket.number(), backlog) != 0)
        return false;
    mListening = true;
    wake();
    return true;
}

void Proxy::stop()
{
    if (!mAcceptor.joinable())
        return;
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStopping = true;
        wake();
    }
    mSeenChanged.notify_all();
    mAcceptor.join();
    mSocket.reset();
    mConnections.closeForGood();
    mPool->shutdown();
}

void Proxy::acceptLoop()
{
    for (;;) {
        int listener = -1;
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            if (mStopping)
                return;
            eventfd_t count = 0;
            eventfd_read(mWake.number(), &count);
            mSeen = mGeneration;
            listener = mListening ? mSocket.number() : -1;
        }
        mSeenChanged.notify_all();
        // A negative descriptor is passed over by poll.
        pollfd entries[] = {{mWake.number(), POLLIN, 0}, {listener, POLLIN, 0}};
        if (poll(entries, 2, -1) > 0 && (entries[1].revents & POLLIN) != 0 &&
            !acceptOne(listener)) {
            // Out of descriptors or memory: leave some time to get well.
            poll(nullptr, 0, 10);
        }
    }
}

bool Proxy::acceptOne(int listener)
{
    Descriptor client(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
    if (!client)
        return errno == EAGAIN || errno == EINTR || errno == ECONNABORTED;
    auto shared = std::make_shared<Client>(std::move(client), mConnections);
    mPool->enqueue([this, shared] { handle(*shared); });
    return true;
}

void Proxy::handle(Client& client)
{
    const int on = 1;
    const int socket = client.descriptor.number();
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ++mNetwork.connections;
    std::unique_ptr<Line> line;
    if (mNetwork.conditions().isThere() && !(line = Line::make(socket, mNetwork))) {
        logLine(std::string("a connection is closed: no line to it: ") + strerror(errno));
        return;
    }
    const int served = line ? line->farEnd() : socket;
    setTimeLimit(served);
    const std::function<void()> answers = [&line] {
        if (line)
            line->answers();
    };
    if (openTunnel(served, answers))
        mServe({served, client.entry, answers});
    lingerUntilClientEnds(served);
}

} // namespace KelEmulator
