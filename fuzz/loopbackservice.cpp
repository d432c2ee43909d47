// SPDX-License-Identifier: LGPL-2.1-or-later
#include "loopbackservice.h"

#include "fuzztarget.h"

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace KelFuzz {

namespace {

// Of a request with its body, once both are there; else 0.
int wholeRequest(const QByteArray& received)
{
    const int head = received.indexOf("\r\n\r\n");
    if (head < 0)
        return 0;
    const QByteArray name = "\r\ncontent-length:";
    const int header = received.left(head).toLower().indexOf(name);
    const int length = header < 0
                           ? 0
                           : received
                                 .mid(header + name.size(),
                                      received.indexOf('\r', header + 2) - header - name.size())
                                 .trimmed()
                                 .toInt();
    const int all = head + 4 + length;
    return received.size() >= all ? all : 0;
}

void send(int socket, const Said& said)
{
    const int piece = said.piece > 0 ? said.piece : said.bytes.size();
    for (int at = 0; at < said.bytes.size(); at += piece) {
        const int size = std::min(piece, said.bytes.size() - at);
        if (::send(socket, said.bytes.constData() + at, static_cast<size_t>(size), MSG_NOSIGNAL) <=
            0)
            return;
    }
}

} // namespace

LoopbackService::LoopbackService() : mListener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    require(::bind(mListener, reinterpret_cast<sockaddr*>(&address), size) == 0);
    require(::listen(mListener, 64) == 0);
    require(::getsockname(mListener, reinterpret_cast<sockaddr*>(&address), &size) == 0);
    mPort = ntohs(address.sin_port);
    require(::pipe(mStop) == 0);
    mThread = std::thread([this] { serve(); });
}

LoopbackService::~LoopbackService()
{
    ::close(mStop[1]);
    mThread.join();
    ::close(mStop[0]);
    ::close(mListener);
    for (const auto& client : mClients)
        ::close(client.first);
}

QByteArray LoopbackService::base() const
{
    return "http://127.0.0.1:" + QByteArray::number(mPort) + "/rest/1.0/";
}

void LoopbackService::say(std::deque<Said> answers)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mAnswers = std::move(answers);
    mRequests = 0;
}

int LoopbackService::requests() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mRequests;
}

bool LoopbackService::nextAnswer(Said& said)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    ++mRequests;
    if (mAnswers.empty())
        return false;
    said = std::move(mAnswers.front());
    mAnswers.pop_front();
    return true;
}

void LoopbackService::serve()
{
    for (;;) {
        std::vector<pollfd> watched{{mStop[0], POLLIN, 0}, {mListener, POLLIN, 0}};
        for (const auto& client : mClients)
            watched.push_back({client.first, POLLIN, 0});
        if (::poll(watched.data(), watched.size(), -1) < 0 && errno != EINTR)
            return;
        if (watched[0].revents != 0)
            return;
        for (size_t i = 2; i < watched.size(); ++i) {
            if (watched[i].revents != 0)
                take(watched[i].fd);
        }
        if (watched[1].revents == 0)
            continue;
        const int client = ::accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0)
            continue;
        const int on = 1;
        ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        mClients[client] = {};
    }
}

void LoopbackService::take(int socket)
{
    char bytes[16384];
    const ssize_t got = ::recv(socket, bytes, sizeof bytes, 0);
    if (got <= 0) {
        ::close(socket);
        mClients.erase(socket);
        return;
    }
    Client& client = mClients[socket];
    if (client.isDone)
        return;
    client.received.append(bytes, static_cast<int>(got));
    if (const int size = wholeRequest(client.received)) {
        client.received.remove(0, size);
        answer(socket, client);
    }
}

void LoopbackService::answer(int socket, Client& client)
{
    Said said;
    if (!nextAnswer(said)) {
        client.isDone = true;
        return;
    }
    send(socket, said);
    client.isDone = said.end != Said::End::KeepOpen;
    if (said.end == Said::End::Close)
        ::shutdown(socket, SHUT_WR);
    if (said.end == Said::End::Reset) {
        const linger none{1, 0};
        ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &none, sizeof none);
        ::close(socket);
        mClients.erase(socket);
    }
}

} // namespace KelFuzz
