// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/clientthread.h"

#include "client/worker.h"
#include "common/unfinishedwork.h"
#include "device/interruption.h"
#include "rest/picture/captchapicture.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

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

void forgetEnded()
{
    Retired& all = retired();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto firstEnded = std::partition(all.threads.begin(), all.threads.end(),
                                           [](const auto& one) { return !one->isFinished(); });
    all.threads.erase(firstEnded, all.threads.end());
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
    UnfinishedWork::finish(longestTakingBackMs);
}

void retire(std::unique_ptr<ClientThread> thread)
{
    thread->quit();
    if (thread->wait(moment))
        return;
    // Where nobody handles events any more, they end with the process.
    if (QCoreApplication* const application = QCoreApplication::instance())
        QObject::connect(thread.get(), &QThread::finished, application, &forgetEnded,
                         Qt::QueuedConnection);
    {
        Retired& all = retired();
        const std::lock_guard<std::mutex> lock(all.mutex);
        all.threads.push_back(std::move(thread));
    }
    forgetEnded(); // it may have ended meanwhile
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
