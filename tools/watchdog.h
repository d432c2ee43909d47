// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>

/// Ends the program when it is held up for longer, whatever holds it up: a file system or a bus
/// that does not answer blocks a thread, and with it every timer of the event loop. One at a time.
class Watchdog
{
public:
    /// `text` is the line on standard error, without the program's name.
    Watchdog(int seconds, const QByteArray& text, int exitStatus);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// The time begins anew.
    void restart(int seconds, const QByteArray& text);
};

/// To be called when nothing is left to do but to return this: Qt waits then for a name server that
/// does not answer, as long as the system has patience with it. The status.
int endingSoon(int exitStatus);
