// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/server/connection.h"

#include "matrix/faults.h"
#include "matrix/server/answers.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

namespace Matrix {

namespace {

constexpr int patienceMs = 30000;

void pause(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

/// One connection, from its beginning to its end.
class Connection
{
public:
    Connection(int socket, Slot& slot, bool isProxy, Tls& tls)
        : mSocket(socket), mSlot(slot), mIsProxy(isProxy), mTls(tls),
          mFault(faults()[static_cast<size_t>(slot.fault.load())])
    {
        ++mSlot.connections;
        const int on = 1;
        ::setsockopt(mSocket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const timeval patience = {patienceMs / 1000, 0};
        ::setsockopt(mSocket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        ::setsockopt(mSocket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    }
    ~Connection()
    {
        SSL_free(mSsl);
        if (mSocket >= 0)
            ::close(mSocket);
        --mSlot.connections;
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void serve()
    {
        if (mIsProxy && !openTunnel())
            return;
        // Behind the tunnel all is well.
        if (!mIsProxy && mFault.kind == Kind::Accepts) {
            hit();
            end(mFault.end);
            return;
        }
        if (!mIsProxy && mFault.kind == Kind::Handshake) {
            hit();
            spoilHandshake();
            return;
        }
        if (!shakeHands())
            return;
        while (answerOne()) {
        }
    }

private:
    void hit() { ++mSlot.hits; }
    bool isStillWrong() const
    {
        const int now = mSlot.fault.load();
        return now != 0 && faults()[static_cast<size_t>(now)].name == mFault.name;
    }

    // ---- Bytes

    ssize_t receive(char* to, int most) const
    {
        return mSsl ? SSL_read(mSsl, to, most) : ::recv(mSocket, to, static_cast<size_t>(most), 0);
    }
    bool send(const std::string& bytes) const
    {
        size_t sent = 0;
        while (sent < bytes.size()) {
            const int piece = static_cast<int>(std::min<size_t>(bytes.size() - sent, 1 << 20));
            const ssize_t done = mSsl ? SSL_write(mSsl, bytes.data() + sent, piece)
                                      : ::send(mSocket, bytes.data() + sent,
                                               static_cast<size_t>(piece), MSG_NOSIGNAL);
            if (done <= 0)
                return false;
            sent += static_cast<size_t>(done);
        }
        return true;
    }
    /// Whether the other side has not ended the connection.
    bool isThere() const
    {
        char byte = 0;
        return ::recv(mSocket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) != 0;
    }

    void end(End how)
    {
        switch (how) {
        case End::Keeps:
            return;
        case End::Hangs:
            while (isStillWrong() && !hasHungUp())
                pause(2);
            return;
        case End::Resets: {
            const linger none = {1, 0};
            ::setsockopt(mSocket, SOL_SOCKET, SO_LINGER, &none, sizeof none);
            ::close(mSocket);
            mSocket = -1;
            return;
        }
        case End::Closes:
            if (mSsl)
                SSL_shutdown(mSsl);
            ::shutdown(mSocket, SHUT_WR);
            // What is unread when a socket is closed would make a reset of it.
            drain();
            return;
        }
    }
    bool hasHungUp() const
    {
        pollfd here = {mSocket, POLLRDHUP, 0};
        return ::poll(&here, 1, 0) > 0 && (here.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
    }
    void drain() const
    {
        const timeval patience = {2, 0};
        ::setsockopt(mSocket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        char bytes[4096];
        while (::recv(mSocket, bytes, sizeof bytes, 0) > 0) {
        }
    }

    // ---- Proxy

    bool openTunnel()
    {
        if (mFault.kind == Kind::ProxyAccepts) {
            hit();
            end(mFault.end);
            return false;
        }
        std::string head;
        char byte = 0;
        while (head.find("\r\n\r\n") == std::string::npos) {
            if (receive(&byte, 1) <= 0)
                return false;
            head += byte;
        }
        if (mFault.kind == Kind::ProxyAnswers) {
            hit();
            if (send(mFault.bytes))
                end(mFault.end == End::Keeps ? End::Hangs : mFault.end);
            return false;
        }
        if (mFault.kind == Kind::ProxyEndless) {
            hit();
            sendForEver();
            return false;
        }
        if (!send("HTTP/1.1 200 Connection established\r\n\r\n"))
            return false;
        if (mFault.kind == Kind::ProxyTunnels) {
            hit();
            end(mFault.end);
            return mFault.end == End::Keeps;
        }
        return true;
    }

    // ---- TLS

    bool shakeHands()
    {
        mSsl =
            SSL_new(mFault.kind == Kind::Handshake && mFault.bytes == "old-protocol" ? mTls.old
                                                                                     : mTls.modern);
        SSL_set_fd(mSsl, mSocket);
        SSL_set_app_data(mSsl, this);
        // Who does not trust the certificate says so here, or after it.
        if (mFault.kind == Kind::Certificate)
            hit();
        return SSL_accept(mSsl) == 1;
    }

public:
    static int onName(SSL* ssl, int* /*alert*/, void* /*nothing*/)
    {
        auto* const self = static_cast<Connection*>(SSL_get_app_data(ssl));
        const char* const name = SSL_get_servername(ssl, TLSEXT_NAMETYPE_host_name);
        const bool isFlawed = self->mFault.kind == Kind::Certificate;
        return self->mTls.authority.equip(ssl, name ? name : "nobody",
                                          isFlawed ? self->mFault.bytes : std::string())
                   ? SSL_TLSEXT_ERR_OK
                   : SSL_TLSEXT_ERR_ALERT_FATAL;
    }

private:
    void spoilHandshake()
    {
        const std::string& how = mFault.bytes;
        if (how == "old-protocol") {
            if (shakeHands())
                while (answerOne()) {
                }
            return;
        }
        char hello[4096];
        const ssize_t received = ::recv(mSocket, hello, sizeof hello, 0);
        if (received <= 0)
            return;
        if (how == "garbage")
            send(std::string(
                "\x42\x17\x99 no handshake at all, but some text that goes on for a while", 64));
        else if (how == "plain-http")
            send("HTTP/1.1 400 Plain\r\nContent-Length: 5\r\n\r\nplain");
        else if (how == "alert")
            send(std::string("\x15\x03\x03\x00\x02\x02\x28", 7));
        else if (how == "endless") {
            // A handshake message that says it has 16 MiB, in records of 16 KiB.
            std::string record =
                std::string("\x16\x03\x03\x40\x00", 5) + std::string("\x02\xff\xff\xff", 4);
            record.resize(5 + 16384, 'x');
            while (isStillWrong() && send(record)) {
            }
            return;
        } else if (how == "cut" || how == "cut-hang") {
            send(flight(hello, received).substr(0, 40));
        }
        end(how == "reset"                       ? End::Resets
            : how == "hang" || how == "cut-hang" ? End::Hangs
                                                 : End::Closes);
    }
    /// What a server says to that hello.
    std::string flight(const char* hello, ssize_t length)
    {
        SSL* const ssl = SSL_new(mTls.modern);
        SSL_set_app_data(ssl, this);
        BIO* const in = BIO_new(BIO_s_mem());
        BIO* const out = BIO_new(BIO_s_mem());
        BIO_write(in, hello, static_cast<int>(length));
        SSL_set_bio(ssl, in, out);
        SSL_accept(ssl);
        char* bytes = nullptr;
        const long size = BIO_get_mem_data(out, &bytes);
        std::string result(bytes, static_cast<size_t>(std::max(0L, size)));
        SSL_free(ssl);
        return result;
    }

    // ---- HTTP

    /// False when the connection is over.
    bool answerOne()
    {
        Request request;
        const int now = mSlot.fault.load();
        const Fault& fault = faults()[static_cast<size_t>(now)];
        if (!mIsProxy && fault.kind == Kind::Reads && fault.number >= 0) {
            char byte = 0;
            for (int i = 0; i < fault.number; ++i) {
                if (receive(&byte, 1) <= 0)
                    return false;
            }
            hit();
            end(fault.end);
            return false;
        }
        // A connection that is kept would take a request past a fault of the connection.
        if (!isAsked() || !read(request))
            return false;
        return answer(request, faults()[static_cast<size_t>(mSlot.fault.load())]);
    }
    /// Waits for the next request. False when another fault has come to the slot meanwhile.
    bool isAsked() const
    {
        const int before = mSlot.fault.load();
        while (mReceived.empty() && SSL_pending(mSsl) == 0) {
            pollfd here = {mSocket, POLLIN, 0};
            if (::poll(&here, 1, 2) > 0)
                return true;
            if (mSlot.fault.load() != before)
                return false;
        }
        return true;
    }
    bool read(Request& request)
    {
        std::string head;
        size_t headEnd = 0;
        char bytes[4096];
        while ((headEnd = mReceived.find("\r\n\r\n")) == std::string::npos) {
            const ssize_t got = receive(bytes, sizeof bytes);
            if (got <= 0)
                return false;
            mReceived.append(bytes, static_cast<size_t>(got));
        }
        head = mReceived.substr(0, headEnd + 2);
        const size_t length =
            static_cast<size_t>(std::atoi(header(head, "content-length").c_str()));
        while (mReceived.size() < headEnd + 4 + length) {
            const ssize_t got = receive(bytes, sizeof bytes);
            if (got <= 0)
                return false;
            mReceived.append(bytes, static_cast<size_t>(got));
        }
        request.body = mReceived.substr(headEnd + 4, length);
        mReceived.erase(0, headEnd + 4 + length);
        request.verb = header(head, "rest-verb");
        const size_t begin = head.find("/rest/1.0/") + std::strlen("/rest/1.0/");
        request.target = head.substr(begin, head.find(' ', begin) - begin);
        return true;
    }
    static std::string header(const std::string& head, const std::string& name)
    {
        std::string lower = head;
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](char c) { return static_cast<char>(::tolower(c)); });
        const size_t at = lower.find("\r\n" + name + ": ");
        if (at == std::string::npos)
            return {};
        const size_t begin = at + name.size() + 4;
        return head.substr(begin, head.find("\r\n", begin) - begin);
    }

    bool answer(const Request& request, const Fault& fault)
    {
        const bool isPicture = request.target.rfind("captchas", 0) == 0;
        if (fault.kind == Kind::Here || fault.kind == Kind::Clock) {
            hit();
            hold(fault.number);
        }
        const bool isWell = mIsProxy || fault.kind < Kind::Reads || fault.kind >= Kind::Clock ||
                            (fault.picture && !isPicture);
        if (isWell)
            return send(wellReply(request));
        hit();
        switch (fault.kind) {
        case Kind::Reads:
            end(fault.end);
            return false;
        case Kind::Answers:
            if (!send(filled(fault.bytes, request)))
                return false;
            end(fault.end);
            return fault.end == End::Keeps;
        case Kind::Made:
            return send(madeReply(fault.bytes, request));
        case Kind::Slow:
            return sendSlowly(filled(fault.bytes, request), fault.number);
        case Kind::Endless:
            sendForEver();
            return false;
        default:
            return false;
        }
    }
    void hold(int how) const
    {
        const int before = mSlot.fault.load();
        while (how > 0 && mSlot.fault.load() == before && mSlot.isReleased < how && !hasHungUp())
            pause(1);
    }
    static std::string filled(const std::string& pattern, const Request& request)
    {
        const std::string body = wellBody(request);
        std::string text = pattern;
        const auto put = [&text](const std::string& name, const std::string& value) {
            const size_t at = text.find(name);
            if (at != std::string::npos)
                text.replace(at, name.size(), value);
        };
        put("{length}", std::to_string(body.size()));
        put("{body}", body);
        return text;
    }
    bool sendSlowly(const std::string& bytes, int milliseconds) const
    {
        const size_t piece = bytes.size() / 16 + 1;
        for (size_t at = 0; at < bytes.size(); at += piece) {
            pause(milliseconds);
            if (!send(bytes.substr(at, piece)))
                return false;
        }
        return true;
    }
    void sendForEver()
    {
        if (!send(mFault.bytes))
            return;
        while (isStillWrong() && send(mFault.more)) {
            if (mFault.number > 0)
                pause(mFault.number);
        }
    }

    int mSocket;
    Slot& mSlot;
    const bool mIsProxy;
    Tls& mTls;
    const Fault mFault;
    SSL* mSsl = nullptr;
    std::string mReceived;
};

SSL_CTX* context(bool isOld)
{
    SSL_CTX* const made = SSL_CTX_new(TLS_server_method());
    SSL_CTX_set_tlsext_servername_callback(made, &Connection::onName);
    // Who resumes a session sees no certificate.
    SSL_CTX_set_num_tickets(made, 0);
    SSL_CTX_set_session_cache_mode(made, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_options(made, SSL_OP_NO_TICKET);
    if (isOld) {
        SSL_CTX_set_security_level(made, 0);
        SSL_CTX_set_min_proto_version(made, TLS1_VERSION);
        SSL_CTX_set_max_proto_version(made, TLS1_1_VERSION);
    }
    return made;
}

} // namespace

Tls::Tls() : modern(context(false)), old(context(true))
{
}

void serve(int socket, Slot& slot, bool isProxy, Tls& tls)
{
    Connection(socket, slot, isProxy, tls).serve();
}

} // namespace Matrix
