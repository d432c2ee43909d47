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

private:
    static inline thread_local int ofThisThread = 0;
};

} // namespace KelAccount
