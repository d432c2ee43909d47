// SPDX-License-Identifier: LGPL-2.1-or-later
#include "server.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace TagServerEmulator {

namespace {

constexpr std::size_t headSize = 7;
constexpr std::size_t longestKey = 500;
constexpr int backlog = 16;
constexpr int requestTimeoutMs = 2000;
// An error number of the emulator's own, apart from those of the client.
constexpr unsigned malformedRequest = 0x3001;

std::size_t bigEndian16(std::string_view frame, std::size_t at)
{
    return static_cast<unsigned char>(frame[at]) * 256U + static_cast<unsigned char>(frame[at + 1]);
}

std::string refusal(unsigned code)
{
    return {'\0', static_cast<char>(code >> 24), static_cast<char>(code >> 16),
            static_cast<char>(code >> 8), static_cast<char>(code)};
}

int listenOn(const std::string& name)
{
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    if (listener == -1 || bind(listener, reinterpret_cast<sockaddr*>(&address), size) == -1 ||
        listen(listener, backlog) == -1) {
        if (errno == EADDRINUSE)
            std::fprintf(stderr,
                         "kelaccount-tag-server: somebody else listens on the abstract socket "
                         "\"%s\" already\n",
                         name.c_str());
        else
            std::perror("kelaccount-tag-server");
        return -1;
    }
    return listener;
}

// A client that says too little in two seconds is answered as one that says something wrong.
std::string readRequest(int client)
{
    std::string frame;
    char bytes[headSize + longestKey];
    while (!isRequest(frame) && frame.size() < sizeof bytes) {
        pollfd readable = {client, POLLIN, 0};
        if (poll(&readable, 1, requestTimeoutMs) != 1)
            break;
        const ssize_t count = recv(client, bytes, sizeof bytes, 0);
        if (count <= 0)
            break;
        frame.append(bytes, static_cast<std::size_t>(count));
    }
    return frame;
}

void answer(const Options& options, int client)
{
    const std::string reply = replyFor(options, readRequest(client));
    if (options.slowMs > 0)
        poll(nullptr, 0, options.slowMs);
    // In one piece: the client reads once. It may have gone meanwhile, which is its own business.
    send(client, reply.data(), reply.size(), MSG_NOSIGNAL);
    close(client);
}

} // namespace

bool isRequest(std::string_view frame)
{
    if (frame.size() <= headSize || frame.size() > headSize + longestKey)
        return false;
    const std::size_t keyLength = frame.size() - headSize;
    return frame[0] == '\0' && frame[1] == '\xC3' && bigEndian16(frame, 2) == keyLength + 3 &&
           frame[4] == '0' && bigEndian16(frame, 5) == keyLength;
}

std::string replyFor(const Options& options, std::string_view frame)
{
    if (!isRequest(frame))
        return refusal(malformedRequest);
    if (options.refusal)
        return refusal(*options.refusal);
    std::string reply = '\x01' + options.tag;
    if (options.replyBytes)
        reply = '\x01' + std::string(static_cast<std::size_t>(*options.replyBytes) - 1, 'T');
    return reply;
}

int serve(const Options& options)
{
    const int listener = listenOn(options.name);
    if (listener == -1)
        return 1;
    if (const int status = CommandLine::printed(tagServerProgram(), "ready\n"))
        return status;

    for (;;) {
        const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (client == -1 && (errno == EINTR || errno == ECONNABORTED))
            continue;
        if (client == -1) {
            std::perror("kelaccount-tag-server");
            return 1;
        }
        if (options.dieAfterAccept)
            return 0;
        // A client that is left hanging keeps its descriptor: closing it would be an answer.
        if (!options.hang)
            answer(options, client);
    }
}

} // namespace TagServerEmulator
