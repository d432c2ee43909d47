// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/clientthread.h"

#include "client/worker.h"
#include "common/unfinishedwork.h"
#include "device/interruption.h"
#include "rest/picture/captchapicture.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <mutex>
#include <vector>

namespace KelAccount {

namespace {

constexpr int longestTakingBackMs = 10000;
constexpr int moment = 30; // milliseconds

// Threads that have not ended in a moment. Clients of several threads may leave some.
struct Retired
{
    std::mutex mutex;
    std::vector<std::unique_ptr<ClientThread>> threads;
};

Retired& retired()
{
    // Leaked on purpose: a thread that runs must not be destroyed.
    static auto* const instance = new Retired;
    return *instance;
}

} // namespace

ClientThread::ClientThread(std::shared_ptr<HandOver> handOver) : mHandOver(std::move(handOver))
{
    setObjectName(QStringLiteral("kelaccount"));
}

void ClientThread::run()
{
    const KelRestHandler::Interruption::Scope scope(*mHandOver->interruption());
    const KelRestHandler::UnseenPictures captchasAreHandedOverAsBytes;
    {
        Worker worker(mHandOver);
        exec();
    }
    takeBack();
}

// Event loops do not run any more on a thread that was told to end, but events are still handled.
void ClientThread::takeBack()
{
    const QDeadlineTimer deadline(longestTakingBackMs);
    QTimer wake;
    wake.start(longestTakingBackMs);
    QEventLoop loop;
    while (UnfinishedWork::isUnderWay() && !deadline.hasExpired())
        loop.processEvents(QEventLoop::WaitForMoreEvents);
}

void retire(std::unique_ptr<ClientThread> thread)
{
    thread->quit();
    const bool ended = thread->wait(moment);
    Retired& all = retired();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.threads.erase(std::remove_if(all.threads.begin(), all.threads.end(),
                                     [](const auto& one) { return one->isFinished(); }),
                      all.threads.end());
    if (!ended)
        all.threads.push_back(std::move(thread));
}

void awaitRetired()
{
    Retired& all = retired();
    std::vector<std::unique_ptr<ClientThread>> threads;
    {
        const std::lock_guard<std::mutex> lock(all.mutex);
        threads.swap(all.threads);
    }
    const QDeadlineTimer deadline(longestTakingBackMs);
    for (std::unique_ptr<ClientThread>& thread : threads) {
        if (!thread->wait(deadline))
            static_cast<void>(thread.release());
    }
}

} // namespace KelAccount
