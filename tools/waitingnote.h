// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDeadlineTimer>
#include <QTimer>

/// Says on a terminal that an answer is waited for, and how long yet; only once it takes long. Who
/// reads standard error otherwise is shown nothing.
class WaitingNote
{
public:
    explicit WaitingNote(int timeLimitSeconds);

    /// Takes it away, before something else is written.
    void remove();

private:
    void show();

    QTimer mTimer;
    QDeadlineTimer mEnd;
    bool mShown = false;
};
