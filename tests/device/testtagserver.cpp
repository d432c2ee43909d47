// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/testtagserver.h"

#include "device/obcservicetag.h"
#include "device/peercalls.h"
#include "device/tagserveraddress.h"
#include "support/literals.h"

#include <QElapsedTimer>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int longEnoughMs = 30000; // on a busy machine

char programPath[4096] = KELACCOUNT_TAG_SERVER_PROGRAM;

const char* ownSocketName()
{
    static const QByteArray name = "kelaccount-test-" + QByteArray::number(getpid());
    return name.constData();
}

std::optional<uid_t> pretendedPeer;
std::optional<uid_t> pretendedSelf;
bool peerIsUnknown = false;
qint64 passedMs = 0;

bool peerUser(int socket, uid_t& user)
{
    if (!KelRestHandler::systemPeerCalls().peerUser(socket, user) || peerIsUnknown)
        return false;
    user = pretendedPeer.value_or(user);
    return true;
}

uid_t ownUser()
{
    return pretendedSelf.value_or(KelRestHandler::systemPeerCalls().ownUser());
}

qint64 monotonicMs()
{
    return KelRestHandler::systemPeerCalls().monotonicMs() + passedMs;
}

} // namespace

const KelRestHandler::PeerCalls& KelRestHandler::peerCalls()
{
    static const PeerCalls pretending = {peerUser, ownUser, monotonicMs};
    return pretending;
}

namespace KelRestHandler::TagServer {

const char* const path = programPath;
const char* const argument0 = "obcmngrlite-server";
const char* const socketName = ownSocketName();
// Long enough for a server to be started, short enough to wait for one that hangs.
const int longestExchangeMs = 1500;
const int longestQueueMs = 600;

} // namespace KelRestHandler::TagServer

namespace KelTest {

void TagServerAddress::setProgram(const QByteArray& path)
{
    qstrncpy(programPath, path.isNull() ? KELACCOUNT_TAG_SERVER_PROGRAM : path.constData(),
             sizeof programPath);
}

QByteArray TagServerAddress::socketName()
{
    return ownSocketName();
}

void PretendedPeer::reset()
{
    pretendedPeer.reset();
    pretendedSelf.reset();
    peerIsUnknown = false;
    constexpr qint64 anHour = 3600000;
    passTime(anHour);
}

void PretendedPeer::setPeerUser(uid_t user)
{
    pretendedPeer = user;
}

void PretendedPeer::setPeerUnknown()
{
    peerIsUnknown = true;
}

void PretendedPeer::setOwnUser(uid_t user)
{
    pretendedSelf = user;
}

void PretendedPeer::passTime(qint64 milliseconds)
{
    passedMs += milliseconds;
}

void setStartedServerOptions(const QByteArray& options)
{
    // A server that outlives its test would be found by the next one.
    qputenv("KELACCOUNT_TAG_SERVER_OPTIONS",
            "--die-with-parent --name " + TagServerAddress::socketName() + ' ' + options);
}

RunningTagServer::RunningTagServer(const QStringList& options)
{
    mProcess.setProgram(QStringLiteral(KELACCOUNT_TAG_SERVER_PROGRAM));
    mProcess.setArguments(QStringList{"--die-with-parent"_s, "--name"_s,
                                      QString::fromLatin1(TagServerAddress::socketName())} +
                          options);
    mProcess.start();
    mReady = mProcess.waitForReadyRead(longEnoughMs) && mProcess.readLine() == "ready\n";
}

RunningTagServer::~RunningTagServer()
{
    mProcess.kill();
    mProcess.waitForFinished(longEnoughMs);
}

bool RunningTagServer::isAlive()
{
    return mReady && !mProcess.waitForFinished(0) && mProcess.state() == QProcess::Running;
}

TagOutcome askForTag(const QByteArray& key)
{
    constexpr int capacity = 3000;
    TagOutcome outcome;
    // Room for a client that does not keep to what it was told.
    QByteArray buffer(5000, '\x5A');
    QElapsedTimer timer;
    timer.start();
    outcome.result = ObC_ServiceTag(key.constData(), static_cast<unsigned>(key.size()),
                                    buffer.data(), &outcome.length, capacity, &outcome.error);
    outcome.elapsedMs = timer.elapsed();
    outcome.tag = buffer.left(static_cast<int>(outcome.length));
    return outcome;
}

TagOutcome askForTagUntil(unsigned error)
{
    constexpr unsigned noReply = 0x2005;
    constexpr unsigned notReached = 0x2006;
    constexpr int mostTimes = 20;
    TagOutcome outcome = askForTag();
    for (int i = 1; i < mostTimes && outcome.error != error &&
                    (outcome.error == noReply || outcome.error == notReached);
         ++i) {
        PretendedPeer::reset(); // it may be taken for a server that hangs
        outcome = askForTag();
    }
    return outcome;
}

int listenAsTagServer(int backlog)
{
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const QByteArray name = TagServerAddress::socketName();
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.constData(), static_cast<size_t>(name.size()));
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 +
                                             static_cast<size_t>(name.size()));
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
        listen(listener, backlog) == 0)
        return listener;
    close(listener);
    return -1;
}

ThreadTagServer::ThreadTagServer(const QByteArray& reply)
    : ThreadTagServer(Behaviour([this, reply](int connection) {
          char bytes[4096];
          const ssize_t count = recv(connection, bytes, sizeof bytes, 0);
          {
              const std::lock_guard<std::mutex> lock(mMutex);
              mFrames.append(QByteArray(bytes, static_cast<int>(qMax<ssize_t>(count, 0))));
          }
          send(connection, reply.constData(), static_cast<size_t>(reply.size()), MSG_NOSIGNAL);
      }))
{
}

ThreadTagServer::ThreadTagServer(Behaviour behaviour)
    : mListener(listenAsTagServer(16)), mBehaviour(std::move(behaviour))
{
    if (mListener != -1 && pipe2(mStop, O_CLOEXEC) == 0)
        mThread = std::thread(&ThreadTagServer::run, this);
}

ThreadTagServer::~ThreadTagServer()
{
    close(mStop[1]);
    if (mThread.joinable())
        mThread.join();
    close(mStop[0]);
    close(mListener);
}

void ThreadTagServer::run()
{
    for (;;) {
        pollfd events[] = {{mListener, POLLIN, 0}, {mStop[0], POLLIN, 0}};
        if (poll(events, 2, -1) == -1 && errno != EINTR)
            return;
        if (events[1].revents != 0)
            return;
        if (events[0].revents == 0)
            continue;
        const int connection = accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC);
        ++mConnections;
        mBehaviour(connection);
        close(connection);
    }
}

QByteArrayList ThreadTagServer::frames() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mFrames;
}

bool hasChildren()
{
    // Looks without reaping.
    siginfo_t info;
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

} // namespace KelTest
