// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/loopwatch.h"

#include <QAbstractEventDispatcher>

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Not the clock that a fault moves.
qint64 now()
{
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// For how long this thread was ready and did not run.
qint64 waited(int file)
{
    char text[128] = {};
    if (file < 0 || ::pread(file, text, sizeof text - 1, 0) <= 0)
        return 0;
    char* end = nullptr;
    std::strtoll(text, &end, 10);
    return std::strtoll(end, nullptr, 10) / 1000;
}

} // namespace

LoopWatch::LoopWatch(int& argc, char** argv) : QGuiApplication(argc, argv)
{
    mScheduling = ::open("/proc/thread-self/schedstat", O_RDONLY | O_CLOEXEC);
    QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance();
    connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [this] {
        mark();
        mIsAsleep = true;
    });
    reset();
}

bool LoopWatch::notify(QObject* receiver, QEvent* event)
{
    mark();
    const bool done = QGuiApplication::notify(receiver, event);
    mark();
    return done;
}

void LoopWatch::reset()
{
    mark();
    mLongest = 0;
}

qint64 LoopWatch::longestStall()
{
    mark();
    return mLongest;
}

void LoopWatch::mark()
{
    const qint64 time = now() - waited(mScheduling);
    if (!mIsAsleep)
        mLongest = qMax(mLongest, time - mLast);
    mLast = time;
    mIsAsleep = false;
}
