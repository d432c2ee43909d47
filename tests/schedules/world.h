// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <memory>

/// What is around an application while a schedule runs. Each program of schedules has one kind of
/// it.
namespace Schedules {

class World
{
public:
    virtual ~World() = default;

    // On any thread.

    /// Something happens to the next requests of the service.
    virtual void disturb(int disturbance, int requests) = 0;
    /// The service closes its connections.
    virtual void disconnect() = 0;
    /// Something happens to a process that the application depends on.
    virtual void strike(int what) = 0;
    /// The session bus ends, for good.
    virtual void endBus() = 0;

    virtual QStringList problems() const = 0;

    /// Whether there are sessions with the sign-on daemon. They have one application, as the
    /// sign-on library belongs to a process; otherwise each schedule has one of its own.
    static bool hasSessions();
    /// Before the first schedule of the process; empty when all is well.
    static QString prepare();
    /// Before each schedule and after it: nothing is under way, and nothing kept; empty when that
    /// is so.
    static QString calm();
    static std::unique_ptr<World> make();
};

} // namespace Schedules
