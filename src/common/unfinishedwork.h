// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QtGlobal>

namespace KelAccount {

/// Lives as long as something that has to be done although nobody is there any more to wait for it.
/// A thread that ends can see by it for how long it has to handle events.
class UnfinishedWork
{
public:
    UnfinishedWork() { ++ofThisThread; }
    ~UnfinishedWork() { --ofThisThread; }
    Q_DISABLE_COPY(UnfinishedWork)

    /// On this thread.
    static bool isUnderWay() { return ofThisThread > 0; }

    /// On this thread, whose event loop has ended: handles events until it is done, but not for
    /// longer than that; and then what is to be deleted later, with what that leaves to do. An
    /// accounts database that is given up is closed in a later round of GLib's loop, and on a
    /// thread that ended before it would be open for as long as the process.
    static void finish(int longestMs);

private:
    static inline thread_local int ofThisThread = 0;
};

} // namespace KelAccount
