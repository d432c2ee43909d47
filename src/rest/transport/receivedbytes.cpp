// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/receivedbytes.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/tcp.h> // the C library's own structure ends before the count of bytes
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace KelRestHandler {

namespace {

struct CloseFolder
{
    void operator()(DIR* folder) const { ::closedir(folder); }
};

bool hasPeerPort(int descriptor, quint16 port)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return false;
    if (address.ss_family == AF_INET)
        return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port) == port;
    return address.ss_family == AF_INET6 &&
           ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port) == port;
}

bool isStream(int descriptor)
{
    int type = 0;
    socklen_t length = sizeof type;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0 &&
           type == SOCK_STREAM;
}

// TCP_ESTABLISHED and TCP_SYN_SENT: the header that has them excludes the one with the structure.
constexpr int established = 1;
constexpr int synSent = 2;

/// What the kernel does not tell stays as it is.
bool readInfo(int descriptor, tcp_info& info)
{
    socklen_t length = sizeof info;
    return ::getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &info, &length) == 0;
}

/// False when they cannot be seen.
template <class Look>
bool forEachDescriptor(const Look& look)
{
    // opendir(3) opens close-on-exec.
    const std::unique_ptr<DIR, CloseFolder> descriptors(::opendir("/proc/self/fd"));
    if (!descriptors)
        return false;
    while (const dirent* entry = ::readdir(descriptors.get())) {
        char* end = nullptr;
        const auto descriptor = static_cast<int>(std::strtol(entry->d_name, &end, 10));
        if (end != entry->d_name)
            look(descriptor);
    }
    return true;
}

} // namespace

std::vector<ConnectedSocket> connectedSockets(quint16 peerPort)
{
    std::vector<ConnectedSocket> sockets;
    forEachDescriptor([&](int descriptor) {
        struct stat status = {};
        if (hasPeerPort(descriptor, peerPort) && isStream(descriptor) &&
            ::fstat(descriptor, &status) == 0)
            sockets.push_back({descriptor, status.st_ino});
    });
    return sockets;
}

bool mayBeConnected(quint16 peerPort, const QSet<quint64>& others)
{
    bool mayBe = false;
    const bool isTold = forEachDescriptor([&](int descriptor) {
        struct stat status = {};
        tcp_info info = {};
        if (hasPeerPort(descriptor, peerPort))
            mayBe |= ::fstat(descriptor, &status) != 0 || !others.contains(status.st_ino);
        else
            mayBe |= readInfo(descriptor, info) && info.tcpi_state == synSent;
    });
    return mayBe || !isTold;
}

quint64 bytesReceived(int descriptor)
{
    tcp_info info = {};
    readInfo(descriptor, info);
    return info.tcpi_bytes_received;
}

bool wasEndedByPeer(const ConnectedSocket& socket)
{
    struct stat status = {};
    tcp_info info = {};
    return ::fstat(socket.descriptor, &status) == 0 && status.st_ino == socket.identity &&
           readInfo(socket.descriptor, info) && info.tcpi_state != established;
}

bool hasLostItsAddress(const ConnectedSocket& socket)
{
    struct stat status = {};
    sockaddr_storage own = {};
    socklen_t length = sizeof own;
    if (::fstat(socket.descriptor, &status) != 0 || status.st_ino != socket.identity ||
        ::getsockname(socket.descriptor, reinterpret_cast<sockaddr*>(&own), &length) != 0)
        return false;
    // Whose port does not matter.
    if (own.ss_family == AF_INET)
        reinterpret_cast<sockaddr_in&>(own).sin_port = 0;
    else if (own.ss_family == AF_INET6)
        reinterpret_cast<sockaddr_in6&>(own).sin6_port = 0;
    else
        return false;
    const int probe = ::socket(own.ss_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (probe < 0)
        return false;
    const bool lost = ::bind(probe, reinterpret_cast<const sockaddr*>(&own), length) != 0 &&
                      errno == EADDRNOTAVAIL;
    ::close(probe);
    return lost;
}

void shutDown(const ConnectedSocket& socket)
{
    // Another thread may close the descriptor at any moment; what is held here stays what it is.
    const int held = ::fcntl(socket.descriptor, F_DUPFD_CLOEXEC, 0);
    if (held < 0)
        return;
    struct stat status = {};
    if (::fstat(held, &status) == 0 && status.st_ino == socket.identity)
        ::shutdown(held, SHUT_RDWR);
    ::close(held);
}

} // namespace KelRestHandler
