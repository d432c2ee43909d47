// SPDX-License-Identifier: LGPL-2.1-or-later
// A whole exchange with a tag server: how it ends, how large its pieces are, and what it sends.
#include "bytesource.h"
#include "fuzztarget.h"
#include "surroundings.h"

#include "device/obcservicetag.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace KelFuzz::TagExchange {

namespace {

struct Script
{
    bool readsRequest = true;
    bool resets = false;
    size_t piece = 0; ///< 0: all at once
    QByteArray reply;
};

/// Answers every client as the script of that moment says.
class Server
{
public:
    Server() : mListener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const QByteArray name = tagServerName();
        std::memcpy(address.sun_path + 1, name.constData(), static_cast<size_t>(name.size()));
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 +
                                                 static_cast<size_t>(name.size()));
        require(::bind(mListener, reinterpret_cast<const sockaddr*>(&address), size) == 0);
        require(::listen(mListener, 8) == 0);
        std::thread([this] { serve(); }).detach();
    }

    void follow(const Script& script)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mScript = script;
    }

private:
    Script script()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mScript;
    }

    void serve()
    {
        for (;;) {
            const int client = ::accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC);
            require(client >= 0);
            answer(client, script());
            ::close(client);
        }
    }

    static void answer(int client, const Script& script)
    {
        char frame[1024];
        if (script.readsRequest && ::recv(client, frame, sizeof frame, 0) <= 0)
            return;
        const auto all = static_cast<size_t>(script.reply.size());
        const size_t piece = script.piece == 0 ? all : script.piece;
        for (size_t at = 0; at < all; at += piece) {
            if (::send(client, script.reply.constData() + at, std::min(piece, all - at),
                       MSG_NOSIGNAL) <= 0)
                return;
        }
        // What was not read of the request makes a reset of the end.
        if (!script.resets)
            ::shutdown(client, SHUT_WR);
    }

    const int mListener;
    std::mutex mMutex;
    Script mScript;
};

void run(const uint8_t* data, size_t size)
{
    // A thread of its own, which goes on to the end of the process.
    static auto* const server = new Server;
    ByteSource source(data, size);
    Script script;
    const int how = source.below(4);
    script.readsRequest = (how & 1) == 0;
    script.resets = (how & 2) != 0;
    script.piece = source.byte();
    const int capacity = source.byte() * 24 - 24;
    script.reply = source.rest();
    server->follow(script);

    passTagServerTime();
    std::array<unsigned char, 6144> tag = {};
    unsigned length = 77;
    unsigned error = 0;
    const int result = ObC_ServiceTag("key", 3, tag.data(), &length, capacity, &error);
    require(result == 0 || result == 1);
    require(result == 1 || length == 0);
    require(static_cast<int>(length) < std::max(capacity, 1));
    if (length > 0)
        require(QByteArray(script.reply.constData() + 1, int(length)) ==
                QByteArray(reinterpret_cast<const char*>(tag.data()), int(length)));
}

} // namespace

} // namespace KelFuzz::TagExchange

KEL_FUZZ_TARGET(tagexchange, KelFuzz::TagExchange::run)
