// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/results.h>

#include <QElapsedTimer>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace KelAccount {

class HandOver;
class KelAccountsPrivate;

using AnyResult = std::shared_ptr<const void>;
using FailureReason = std::shared_ptr<const Failure>;

/// How a call ended: with one of the two.
struct Ending
{
    AnyResult result;
    FailureReason failure;
};

/// What all copies of a Call share, and the two threads of its client.
struct CallState
{
    enum class Phase {
        Open,      ///< not answered yet
        Answered,  ///< by the client's own thread; nobody has been told
        Delivered, ///< told to whoever wanted to know by then
        Ended,     ///< nobody is told any more
    };

    /// Gives the ending of an operation that answers at once; null for one that answers by a
    /// signal.
    using Operation = std::function<std::optional<Ending>(KelAccountsPrivate&)>;
    using Finisher = std::function<void(const AnyResult&, const FailureReason&)>;
    struct Receiver
    {
        QPointer<QObject> context;
        std::function<void(const void*, const Failure&)> function;

        void tell(const Ending& ending) const
        {
            function(ending.result.get(), ending.failure ? *ending.failure : Failure());
        }
    };

    CallState(std::shared_ptr<HandOver> over, const char* name)
        : handOver(std::move(over)), operation(name)
    {
        made.start();
    }

    const std::shared_ptr<HandOver> handOver;
    const char* const operation;
    QElapsedTimer made;

    // Under the lock of `handOver`.
    Phase phase = Phase::Open;
    bool cancelled = false;
    Operation perform;    ///< until it is performed
    bool isGoing = false; ///< the client's thread has taken it
    Ending ending;
    qint64 elapsedMs = -1; ///< when it was finished
    std::vector<Finisher> finishers;

    // Of the application's thread.
    std::vector<Receiver> receivers;

    // Of the client's own thread.
    quint64 id = 0; ///< that the operation has there
};

} // namespace KelAccount
