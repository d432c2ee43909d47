// SPDX-License-Identifier: LGPL-2.1-or-later
#include "waitingnote.h"

#include <cstdio>
#include <unistd.h>

namespace {

constexpr int patienceMs = 2000;
constexpr int stepMs = 1000;

bool canRewriteLines()
{
    const QByteArray terminal = qgetenv("TERM");
    return ::isatty(STDERR_FILENO) == 1 && !terminal.isEmpty() && terminal != "dumb";
}

} // namespace

WaitingNote::WaitingNote(int timeLimitSeconds) : mEnd(timeLimitSeconds * 1000LL)
{
    if (!canRewriteLines())
        return;
    QObject::connect(&mTimer, &QTimer::timeout, &mTimer, [this] { show(); });
    mTimer.start(patienceMs);
}

void WaitingNote::show()
{
    constexpr int msInSecond = 1000;
    mShown = true;
    mTimer.setInterval(stepMs);
    std::fprintf(stderr, "\r\x1b[Kwaiting for the answer, %d s left",
                 static_cast<int>((mEnd.remainingTime() + msInSecond / 2) / msInSecond));
    std::fflush(stderr);
}

void WaitingNote::remove()
{
    mTimer.stop();
    if (mShown)
        std::fputs("\r\x1b[K", stderr);
    mShown = false;
}
