// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/obcservicetag.h"

#include "device/interruption.h"
#include "device/tagreply.h"
#include "device/tagserveraddress.h"
#include "device/tagserverending.h"
#include "device/tagserverlaunch.h"
#include "device/tagservertrust.h"

#include <QDeadlineTimer>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using namespace KelRestHandler;

constexpr std::size_t frameHeadSize = 7;
constexpr int connectPauseMs = 10;

using Frame = std::array<unsigned char, frameHeadSize + TagError::longestKey>;

enum class Connection { Made, Refused, OutOfTime, ToStranger, Interrupted };

class Socket
{
public:
    Socket() : mDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {}
    ~Socket() { close(); }
    Q_DISABLE_COPY(Socket)

    bool isOpen() const { return mDescriptor != -1; }
    Connection connect(const QDeadlineTimer& deadline);
    void send(const Frame& frame, std::size_t size);
    ssize_t receive(TagReply& reply, const QDeadlineTimer& deadline);
    void close();

private:
    int mDescriptor;
};

Connection Socket::connect(const QDeadlineTimer& deadline)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // The null byte in front makes the name an abstract one.
    const std::size_t length =
        std::min(std::strlen(TagServer::socketName), sizeof address.sun_path - 1);
    std::memcpy(address.sun_path + 1, TagServer::socketName, length);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);

    // Who listens shows only once connected, so whoever keeps its queue full gets a part of the
    // time.
    const QDeadlineTimer queueDeadline(
        std::min<qint64>(TagServer::longestQueueMs, deadline.remainingTime()));
    for (;;) {
        if (::connect(mDescriptor, reinterpret_cast<const sockaddr*>(&address), size) == 0)
            return isTagServerTrusted(mDescriptor) ? Connection::Made : Connection::ToStranger;
        // EAGAIN: someone listens, but has as many callers waiting as it allows.
        if (errno != EINTR && errno != EAGAIN)
            return Connection::Refused;
        if (queueDeadline.hasExpired())
            return Connection::OutOfTime;
        if (Interruption::pause(connectPauseMs))
            return Connection::Interrupted;
    }
}

// What becomes of the frame shows when the reply is read.
void Socket::send(const Frame& frame, std::size_t size)
{
    while (::send(mDescriptor, frame.data(), size, MSG_NOSIGNAL) == -1 && errno == EINTR) {
    }
}

// The bytes of one read, however few; 0 or less when there is none.
ssize_t Socket::receive(TagReply& reply, const QDeadlineTimer& deadline)
{
    for (;;) {
        // poll() passes over a descriptor of -1.
        pollfd readable[] = {{mDescriptor, POLLIN, 0}, {Interruption::descriptor(), POLLIN, 0}};
        const int ready = poll(readable, 2, static_cast<int>(deadline.remainingTime()));
        if (ready == -1 && errno == EINTR)
            continue;
        if (ready <= 0 || readable[1].revents)
            return -1;
        const ssize_t count = recv(mDescriptor, reply.data(), reply.size(), 0);
        if (count >= 0 || (errno != EINTR && errno != EAGAIN))
            return count;
    }
}

void Socket::close()
{
    if (mDescriptor != -1)
        ::close(mDescriptor);
    mDescriptor = -1;
}

std::size_t writeFrame(Frame& frame, const char* key, unsigned keyLength)
{
    frame[0] = 0x00;
    frame[1] = 0xC3;
    // What follows this number: a type, the key's length and the key.
    qToBigEndian(static_cast<quint16>(keyLength + 3), frame.data() + 2);
    frame[4] = '0';
    qToBigEndian(static_cast<quint16>(keyLength), frame.data() + 5);
    std::memcpy(frame.data() + frameHeadSize, key, keyLength);
    return frameHeadSize + keyLength;
}

// 0 with the reply's size, which is at least 1, or the reason why there is no reply.
unsigned exchange(const Frame& frame, std::size_t frameSize, TagReply& reply,
                  std::size_t& replySize)
{
    if (hasTagServerHungLately())
        return TagError::NoReply;
    const QDeadlineTimer deadline(TagServer::longestExchangeMs);
    Socket socket;
    if (!socket.isOpen())
        return TagError::NoSocket;

    pid_t started = -1;
    Connection connection = socket.connect(deadline);
    if (connection == Connection::Refused) {
        started = launch_server();
        if (started == -1)
            return TagError::NotStarted;
        connection = socket.connect(deadline);
    }

    ssize_t count = -1;
    if (connection == Connection::Made) {
        socket.send(frame, frameSize);
        count = socket.receive(reply, deadline);
    }
    const bool interrupted = Interruption::isRequested();
    if (!interrupted &&
        (connection == Connection::OutOfTime || (count <= 0 && deadline.hasExpired())))
        noteTagServerHang();
    // A server may end by itself when its caller hangs up.
    socket.close();
    // A stranger brings nobody a signal but the server that was started here.
    if (connection != Connection::ToStranger || started != -1)
        endTagServer(started);
    if (started != -1 && (connection == Connection::Refused || connection == Connection::OutOfTime))
        return TagError::NotReached;
    if (count <= 0)
        return TagError::NoReply;
    replySize = static_cast<std::size_t>(count);
    return 0;
}

} // namespace

int ObC_ServiceTag(const char* key, unsigned keyLength, void* tag, unsigned* tagLength,
                   int capacity, unsigned* error)
{
    if (!error || *error != 0)
        return 0;
    if (tagLength)
        *tagLength = 0;
    if (!key || !tag || !tagLength) {
        *error = TagError::NullArgument;
        return 0;
    }
    if (keyLength > TagError::longestKey) {
        *error = TagError::KeyTooLong;
        return 0;
    }

    Frame frame = {};
    TagReply reply = {};
    std::size_t replySize = 0;
    *error = exchange(frame, writeFrame(frame, key, keyLength), reply, replySize);
    if (*error != 0)
        return 0;

    return readTagReply(reply, replySize, tag, tagLength, capacity, error);
}
