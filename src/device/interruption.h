// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QtGlobal>

namespace KelRestHandler {

/// Ends the waits of a thread from another one. A thread that may be interrupted says so with a
/// Scope; all others wait as if there were no such thing.
class Interruption
{
public:
    Interruption();
    ~Interruption();
    Q_DISABLE_COPY(Interruption)

    // On any thread.
    void request();
    void clear();

    /// While one lives, the waits of this thread can be ended.
    class Scope
    {
    public:
        explicit Scope(const Interruption& interruption);
        ~Scope();
        Q_DISABLE_COPY(Scope)

    private:
        const Interruption* mBefore;
    };

    /// Of this thread: a descriptor that is readable while the end of its waits is requested, and
    /// -1 when that cannot happen.
    static int descriptor();

    /// Whether this thread is not to wait any more.
    static bool isRequested();

    /// Waits so long; whether it was told not to wait any more.
    static bool pause(int milliseconds);

private:
    int mDescriptor;
};

} // namespace KelRestHandler
