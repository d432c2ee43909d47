// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/recording/tracefile.h"

#include "account/recording/recordedcalls.h"
#include "common/logging.h"

#include <kelaccount/flightrecorder.h>

#include <QByteArray>
#include <QCoreApplication>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KelAccount::TraceFile {

namespace {

constexpr qint64 pauseAfterFailure = 200'000'000; // nanoseconds

struct Target
{
    int descriptor = -1;
    RecordingFormat format = RecordingFormat::TraceEvents;
};

void complain(const char* why)
{
    qCWarning(logAccount, "The file in the variable \"KELACCOUNT_TRACE\" is not written: %s", why);
}

/// A file of this user's that has no other name, empty.
int openFile(const char* name)
{
    const int file =
        ::open(name, O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY,
               S_IRUSR | S_IWUSR);
    if (file == -1) {
        complain(std::strerror(errno));
        return -1;
    }
    struct stat found = {};
    const bool isOurs = ::fstat(file, &found) == 0 && S_ISREG(found.st_mode) &&
                        found.st_uid == ::geteuid() && found.st_nlink == 1;
    if (isOurs && ::fchmod(file, S_IRUSR | S_IWUSR) == 0 && ::ftruncate(file, 0) == 0)
        return file;
    complain(isOurs ? std::strerror(errno) : "it is not a plain file of this user");
    ::close(file);
    return -1;
}

Target targetOfEnvironment()
{
    // Null in a program that was given other rights.
    const char* const name = ::secure_getenv("KELACCOUNT_TRACE");
    if (!name || !*name)
        return {};
    // Several processes may have the same variable.
    QByteArray path(name);
    path.replace("%p", QByteArray::number(qint64(::getpid())));
    Target target;
    target.descriptor = openFile(path.constData());
    if (path.endsWith(".har"))
        target.format = RecordingFormat::Har;
    return target;
}

const Target& target()
{
    static const Target target = targetOfEnvironment();
    return target;
}

void writeAll(int file, const QByteArray& bytes)
{
    qint64 written = 0;
    while (written < bytes.size()) {
        const ssize_t count = ::pwrite(file, bytes.constData() + written,
                                       static_cast<size_t>(bytes.size() - written), written);
        if (count == -1 && errno == EINTR)
            continue;
        if (count <= 0) {
            complain(std::strerror(errno));
            return;
        }
        written += count;
    }
    if (::ftruncate(file, written) != 0)
        complain(std::strerror(errno));
}

/// For objects that nobody deletes; not once the library has been unloaded.
struct AtTheEnd
{
    AtTheEnd() { qAddPostRoutine(write); }
    ~AtTheEnd() { qRemovePostRoutine(write); }
    AtTheEnd(const AtTheEnd&) = delete;
    AtTheEnd& operator=(const AtTheEnd&) = delete;
};

std::atomic<int> wanted{0};
std::atomic<qint64> lastWritten{0};

} // namespace

void open()
{
    if (target().descriptor != -1)
        static const AtTheEnd atTheEnd;
}

void write()
{
    if (target().descriptor == -1 || wanted.fetch_add(1) != 0)
        return;
    int served = 0;
    do {
        served = wanted.load();
        writeAll(target().descriptor, flightRecording(target().format));
        lastWritten = FlightRecord::now();
    } while (!wanted.compare_exchange_strong(served, 0));
}

void writeAfterFailure()
{
    if (target().descriptor != -1 && FlightRecord::now() - lastWritten > pauseAfterFailure)
        write();
}

} // namespace KelAccount::TraceFile
