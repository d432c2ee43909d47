// SPDX-License-Identifier: LGPL-2.1-or-later
// Random calls, faults, cancellations and deletions, of clients, contexts and applications. A
// schedule is what its seed makes of it; KELACCOUNT_TEST_SEED runs that one alone. Each run of the
// program takes some seeds from KELACCOUNT_TEST_FIRST_SEED on; there are as many as cover
// thousands.
#include "client/clientcalls.h"
#include "device/testtagserver.h"
#include "integration/standinservice.h"
#include "platform/fakemodem.h"
#include "rest/transport/networkreplycontainer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFuture>
#include <QNetworkProxy>
#include <QRandomGenerator>
#include <QTest>
#include <QTimer>

#include <memory>
#include <optional>
#include <vector>

using namespace KelAccount;
using namespace KelTest;
using KelRestHandler::NetworkReplyContainer;

namespace {

constexpr quint32 scheduleCount = 500;
constexpr int guardMilliseconds = 25;
constexpr int longestWaitMilliseconds = 10000;

// What has to come of one call.
struct Tracked
{
    const char* name;
    std::optional<CallBase> call; ///< none when the application has dropped it
    std::shared_ptr<Answers> answers = std::make_shared<Answers>();
    Client* client = nullptr;
    QObject* context = nullptr;
    /// Since somebody took it back or is gone: how often it had been answered until then.
    std::optional<int> silent;
    std::vector<std::function<bool()>> futures; ///< whether they are finished

    int count() const { return answers->lines.size(); }
    void silence()
    {
        if (!silent)
            silent = count();
    }
};

class Schedule
{
public:
    explicit Schedule(quint32 seed) : mRandom(seed)
    {
        mService.disturb = [this](const WireRequest&) { return disturbance(); };
        addClient();
        addClient();
        addContext();
    }

    /// What is wrong; empty when nothing is.
    QString run();

private:
    int between(int least, int most) { return mRandom.bounded(least, most + 1); }
    bool happens(int percent) { return between(1, 100) <= percent; }
    Disturbance disturbance();
    void step();
    void addClient();
    void addContext() { mContexts.push_back(std::make_unique<QObject>()); }
    void callSome(int calls);
    void call(Client& client);
    void cancelOne();
    void endClient(Client* client);
    void endContext();
    void endInAnAnswer();
    Client* anyClient();
    bool isSettled() const;
    bool settles() const;
    QString problem() const;

    QRandomGenerator mRandom;
    // The service's and the modem's; the clients' threads read none of it.
    StandInService mService;
    std::vector<std::unique_ptr<Client>> mClients;
    std::vector<std::unique_ptr<QObject>> mContexts;
    std::vector<std::unique_ptr<Tracked>> mCalls;
};

Disturbance Schedule::disturbance()
{
    if (happens(80))
        return Disturbance::None;
    const Disturbance all[] = {Disturbance::Delay, Disturbance::Close, Disturbance::CloseInBody,
                               Disturbance::NotXml, Disturbance::Hang};
    return all[between(0, happens(10) ? 4 : 3)];
}

void Schedule::addClient()
{
    mClients.push_back(std::make_unique<Client>());
    if (happens(90))
        mClients.back()->initialize(QStringLiteral("key"), QStringLiteral("secret"),
                                    Server::Production, QStringLiteral("shop"));
}

Client* Schedule::anyClient()
{
    return mClients.empty() ? nullptr
                            : mClients[size_t(between(0, int(mClients.size()) - 1))].get();
}

void Schedule::callSome(int calls)
{
    for (int i = 0; i < calls; ++i) {
        if (Client* const client = anyClient())
            call(*client);
    }
}

void Schedule::call(Client& client)
{
    // Of the service and of the device; those of a session need a daemon, and are refused.
    const ClientCall& made = clientCalls()[between(0, clientCalls().size() - 1)];
    auto tracked = std::make_unique<Tracked>();
    tracked->name = made.name;
    tracked->client = &client;
    if (!mContexts.empty() && happens(90))
        tracked->context = mContexts[size_t(between(0, int(mContexts.size()) - 1))].get();
    else
        tracked->silence();
    const MadeCall call = made.make(client, *tracked->answers, tracked->context);
    if (happens(20))
        tracked->futures.push_back(call.future());
    if (happens(70))
        tracked->call = call.call;
    mCalls.push_back(std::move(tracked));
}

void Schedule::cancelOne()
{
    if (mCalls.empty())
        return;
    Tracked& tracked = *mCalls[size_t(between(0, int(mCalls.size()) - 1))];
    if (!tracked.call)
        return;
    tracked.silence();
    tracked.call->cancel();
}

void Schedule::endClient(Client* client)
{
    for (const auto& tracked : mCalls) {
        if (tracked->client == client)
            tracked->silence();
    }
    for (auto it = mClients.begin(); it != mClients.end(); ++it) {
        if (it->get() != client)
            continue;
        const std::unique_ptr<Client> ending = std::move(*it);
        mClients.erase(it);
        return;
    }
}

void Schedule::endContext()
{
    if (mContexts.empty())
        return;
    const std::unique_ptr<QObject> context = std::move(mContexts.back());
    mContexts.pop_back();
    for (const auto& tracked : mCalls) {
        if (tracked->context == context.get())
            tracked->silence();
    }
}

// The function of an answer ends the client, the context, or both.
void Schedule::endInAnAnswer()
{
    Client* const client = anyClient();
    if (!client || mContexts.empty())
        return;
    const bool both = happens(50);
    client->close().then(mContexts.back().get(), [this, client, both] {
        endClient(client);
        if (both)
            endContext();
    });
}

void Schedule::step()
{
    const int choice = between(1, 100);
    if (choice <= 40)
        callSome(between(1, 8));
    else if (choice <= 42)
        callSome(100);
    else if (choice <= 62)
        cancelOne();
    else if (choice <= 80)
        QTest::qWait(between(0, 3));
    else if (choice <= 85)
        endClient(anyClient());
    else if (choice <= 90)
        addClient();
    else if (choice <= 94)
        endContext();
    else if (choice <= 97)
        addContext();
    else
        endInAnAnswer();
}

bool Schedule::isSettled() const
{
    for (const auto& tracked : mCalls) {
        if (!tracked->silent && tracked->count() == 0)
            return false;
        for (const auto& isFinished : tracked->futures) {
            if (!isFinished())
                return false;
        }
    }
    return true;
}

// QTest::qWaitFor() would sleep for ten milliseconds at a time.
bool Schedule::settles() const
{
    QTimer wake;
    wake.start(2);
    const QDeadlineTimer deadline(longestWaitMilliseconds);
    while (!isSettled() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return isSettled();
}

QString Schedule::problem() const
{
    for (const auto& tracked : mCalls) {
        const int wanted = tracked->silent.value_or(1);
        if (tracked->count() != wanted || tracked->count() > 1)
            return QStringLiteral("%1 was answered %2 times instead of %3: %4")
                .arg(QLatin1String(tracked->name))
                .arg(tracked->count())
                .arg(wanted)
                .arg(tracked->answers->lines.join(QLatin1String("; ")));
        for (const auto& isFinished : tracked->futures) {
            if (!isFinished())
                return QStringLiteral("a future was not finished");
        }
    }
    return mService.problems().join(QLatin1Char('\n'));
}

QString Schedule::run()
{
    const int steps = between(3, 16);
    for (int i = 0; i < steps; ++i)
        step();
    // Most wait for their answers; the others find out what comes when everything goes at once.
    if (happens(75)) {
        if (!settles())
            return QStringLiteral("answers were missing until the end; ") + problem();
        QCoreApplication::processEvents();
    }
    const bool withApplication = happens(30);
    if (withApplication) {
        for (const auto& tracked : mCalls)
            tracked->silence();
        delete QCoreApplication::instance();
        callSome(3);
        for (const auto& tracked : mCalls)
            tracked->silence();
        mClients.clear();
        return problem();
    }
    while (!mClients.empty())
        endClient(mClients.front().get());
    QCoreApplication::processEvents();
    return problem();
}

QString runSchedule(quint32 seed)
{
    static char name[] = "tst_clientschedules";
    static char* arguments[] = {name, nullptr};
    static int count = 1;
    auto application = std::make_unique<QCoreApplication>(count, arguments);
    const QString problem = Schedule(seed).run();
    if (!QCoreApplication::instance())
        static_cast<void>(application.release());
    return problem;
}

} // namespace

class TestClientSchedules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyCallIsAnsweredOnceOrAsDocumentedNotAtAll()
    {
        qunsetenv("http_proxy");
        qunsetenv("https_proxy");
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
        NetworkReplyContainer::setGuardMilliseconds(guardMilliseconds);
        FakeModem::reset();
        const OwnAccounts accounts;
        const ThreadTagServer tags(QByteArray("\x01tag"));
        QVERIFY(tags.isReady());

        bool alone = false;
        const int one = qEnvironmentVariableIntValue("KELACCOUNT_TEST_SEED", &alone);
        bool given = false;
        const int from = qEnvironmentVariableIntValue("KELACCOUNT_TEST_FIRST_SEED", &given);
        const quint32 first = quint32(alone ? one : given ? from : 1);
        const quint32 last = alone ? first : first + scheduleCount - 1;
        for (quint32 seed = first; seed <= last; ++seed) {
            const QString problem = runSchedule(seed);
            QVERIFY2(problem.isEmpty(),
                     qPrintable(QStringLiteral("KELACCOUNT_TEST_SEED=%1: ").arg(seed) + problem));
        }
    }
};

QTEST_APPLESS_MAIN(TestClientSchedules)
#include "tst_clientschedules.moc"
