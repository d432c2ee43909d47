// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QGuiApplication>

/// An application that knows how long its event loop has stood still: the longest time between one
/// event and the next, while it was not waiting for any. The time for which the kernel had the
/// thread wait for a processor does not count, since that is about the machine.
class LoopWatch : public QGuiApplication
{
public:
    LoopWatch(int& argc, char** argv);

    bool notify(QObject* receiver, QEvent* event) override;

    /// Forgets what was.
    void reset();
    /// Since reset(), in microseconds.
    qint64 longestStall();

private:
    void mark();

    qint64 mLast = 0;
    qint64 mLongest = 0;
    bool mIsAsleep = false; ///< since the last mark
    int mScheduling = -1;
};
