// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <mutex>
#include <sys/types.h>
#include <thread>

namespace KelTest {

/// Stands in for the fixed address of the tag server: the socket name is this process's own, so
/// that tests may run side by side, and the program is the emulator unless a test says otherwise.
namespace TagServerAddress {
void setProgram(const QByteArray& path);
QByteArray socketName();
} // namespace TagServerAddress

/// Stands in for who listens at the other end, who asks, and when. Otherwise it is the kernel that
/// says.
namespace PretendedPeer {
/// Forgets what was pretended, and goes on to a time when no server's hang is remembered.
void reset();
void setPeerUser(uid_t user);
void setPeerUnknown();
void setOwnUser(uid_t user);
void passTime(qint64 milliseconds);
} // namespace PretendedPeer

/// What a server that is started on demand is told.
void setStartedServerOptions(const QByteArray& options);

/// The emulator, running before anybody asks.
class RunningTagServer
{
public:
    explicit RunningTagServer(const QStringList& options = {});
    ~RunningTagServer();

    bool isReady() const { return mReady; }
    /// Whether it still runs; looks at the process itself.
    bool isAlive();

private:
    QProcess mProcess;
    bool mReady = false;
};

/// A server in a thread of this process, for what the emulator does not do. The function gets each
/// connection with the request frame that came through it.
class ThreadTagServer
{
public:
    using Behaviour = std::function<void(int connection)>;

    /// Reads one frame from each client and answers with these bytes in one piece.
    explicit ThreadTagServer(const QByteArray& reply);
    /// Leaves reading and answering to the function.
    explicit ThreadTagServer(Behaviour behaviour);
    ~ThreadTagServer();

    bool isReady() const { return mListener != -1; }
    QByteArrayList frames() const;
    int connections() const { return mConnections; }

private:
    void run();

    int mListener = -1;
    int mStop[2] = {-1, -1};
    Behaviour mBehaviour;
    mutable std::mutex mMutex;
    QByteArrayList mFrames;
    std::atomic<int> mConnections{0};
    std::thread mThread;
};

/// What one exchange came to.
struct TagOutcome
{
    int result = -1;
    unsigned error = 0;
    unsigned length = 77; ///< something that the call has to replace
    QByteArray tag;
    qint64 elapsedMs = 0;
};

/// A call of ObC_ServiceTag() with a buffer that it is told has 3,000 bytes.
TagOutcome askForTag(const QByteArray& key = "some key");

/// The same, until it comes to this error, or to none of those that a busy machine makes of it: a
/// server that is started has half a second until it is looked for, and then has to answer in time.
TagOutcome askForTagUntil(unsigned error);

/// A listener on the tag server's name; -1 on failure.
int listenAsTagServer(int backlog);

/// Whether this process has any child, running or not.
bool hasChildren();

} // namespace KelTest
