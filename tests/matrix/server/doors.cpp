// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/server/doors.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Matrix {

namespace {

sockaddr_in addressOf(const char* host, int port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    ::inet_pton(AF_INET, host, &address.sin_addr);
    return address;
}

int listener(const char* host, int port, int backlog)
{
    const int socket = boundSocket(host, port);
    if (socket >= 0)
        ::listen(socket, backlog);
    return socket;
}

} // namespace

int boundSocket(const char* host, int port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEPORT, &on, sizeof on);
    const sockaddr_in address = addressOf(host, port);
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(socket);
        return -1;
    }
    return socket;
}

int portOf(int socket)
{
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

void Door::reserve(const char* at)
{
    host = at;
    keeper = boundSocket(host, 0);
    port = portOf(keeper);
}

void Door::set(bool isOpen, bool isFull)
{
    if (isOpen != (open >= 0)) {
        if (open >= 0)
            ::close(open);
        open = isOpen ? listener(host, port, 128) : -1;
    }
    if (isFull == (full >= 0))
        return;
    for (const int filler : fillers)
        ::close(filler);
    fillers.clear();
    if (full >= 0)
        ::close(full);
    full = isFull ? listener(host, port, 0) : -1;
    for (int i = 0; isFull && i < 3; ++i) {
        const int filler = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        const sockaddr_in address = addressOf(host, port);
        ::connect(filler, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        fillers.push_back(filler);
    }
}

} // namespace Matrix
