// SPDX-License-Identifier: LGPL-2.1-or-later
// Inside the emulator: its service over TLS, its tag server, and the real bus, sign-on daemon,
// plugin and accounts database.
#include "schedules/world.h"

#include "integration/emulatedservice.h"
#include "matrix/sessionprocesses.h"
#include "rest/transport/hostlookup.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"
#include "support/patience.h"

#include <kelaccount/client.h>

#include <QCoreApplication>
#include <QHostInfo>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

using namespace KelTest;
using namespace Matrix;
using KelRestHandler::NetworkReplyContainer;

namespace Schedules {

namespace {

// Instead of 60 s. A sign-in of the plugin's takes its own.
constexpr int guardMs = 2000;
constexpr int patienceMs = 60000;
constexpr std::chrono::milliseconds standstill(60);

std::atomic<bool> isBusThere{true};

bool isAnswered(const char* method, const char* path, const QByteArray& body = {})
{
    return EmulatedService::ask(method, path, body).status == 200;
}

/// With the accounts that can be signed in to, and nothing else: bob's for the schedules, and the
/// visitor's for what is looked at afterwards. A plugin that nobody waits for any more may change
/// bob's password yet.
bool resetService()
{
    for (const char* user : {"bob", "bob@mail.example", "new.user@mail.example", "visitor"})
        EmulatedService::ask("DELETE", (QByteArray("/accounts/") + user).constData());
    return isAnswered("DELETE", "/faults") && isAnswered("DELETE", "/requests") &&
           isAnswered("POST", "/accounts",
                      R"({"userName": "bob", "password": "planted-password",
                          "email": "bob@home.example", "securityQuestion": "2",
                          "securityAnswer": "planted-answer"})") &&
           isAnswered("POST", "/accounts",
                      R"({"userName": "visitor", "password": "planted-password",
                          "email": "visitor@home.example", "securityQuestion": "2",
                          "securityAnswer": "planted-answer"})");
}

bool waitFor(const std::function<bool()>& condition)
{
    Waiting waiting(patienceMs);
    while (!condition()) {
        if (!waiting.goOn())
            return false;
    }
    return true;
}

/// Whatever has happened, somebody can sign in and out: and the library has met the daemon that
/// runs now.
QString signInAndOut()
{
    using namespace KelAccount;
    Client client;
    client.initialize("key"_s, "planted-secret"_s, Server::Production, "shop"_s);
    const auto before = client.signOut().future(); // of who was left signed in, if anybody was
    if (!waitFor([&before] { return before.isFinished(); }))
        return "a sign-out is not answered"_s;
    const auto statusOf = [](const auto& call) {
        int status = -1;
        QObject context;
        call.then(
            &context, [&status](const auto&) { status = 0; },
            [&status](const Failure& failure) { status = failure.status; });
        waitFor([&status] { return status >= 0; });
        return status;
    };
    const int in = statusOf(client.signInAndConfigure("visitor"_s, "planted-password"_s));
    const int out = statusOf(client.signOut());
    return in == 0 && out == 0
               ? QString()
               : "afterwards, signing in has the status %1 and signing out %2"_s.arg(in).arg(out);
}

/// Qt has a thread for that, which ends when nobody has asked for half a minute.
bool lookUpAHost()
{
    QObject owner;
    bool isOver = false;
    // No name of a host, which nobody is asked for, and nobody remembers.
    KelRestHandler::HostLookup::start("no..host"_s, &owner,
                                      [&isOver](const QHostInfo&) { isOver = true; });
    return waitFor([&isOver] { return isOver; });
}

class SessionWorld : public World
{
public:
    ~SessionWorld() override
    {
        for (std::thread& one : mWaking)
            one.join();
    }

    void disturb(int disturbance, int requests) override
    {
        // One that lasts has the plugin wait for its guard.
        static const QList<QByteArray> faults = {
            "delay=15", "close-before-headers", "close-in-headers", "close-after-headers",
            "cut-body", "status=401",           "status=500",       "status=503",
            "not-xml"};
        const QByteArray count = QByteArray::number(1 + requests % 4);
        if (!EmulatedService::orderFaults(count + '*' + faults.at(disturbance % faults.size())))
            complain("a fault cannot be ordered"_s);
    }
    void disconnect() override
    {
        if (!isAnswered("POST", "/refuse") || !isAnswered("POST", "/accept"))
            complain("the service does not close its connections"_s);
    }
    void strike(int what) override
    {
        if (!isBusThere)
            return;
        switch (what % 8) {
        case 0:
            return signalAll(plugins(), SIGKILL);
        case 1:
            return signalAll(plugins(), SIGTERM);
        case 2:
            signalAll(daemons(), SIGKILL);
            // One that is killed while it starts a plugin leaves its copy behind.
            return signalAll(daemons(), SIGKILL);
        case 3:
            return signalAll(daemons(), SIGTERM);
        case 4:
            signalAll(daemons(), SIGKILL);
            return signalAll(plugins(), SIGKILL);
        case 5:
            return standStill(plugins());
        case 6:
            return standStill(daemons());
        default:
            return standStill(buses());
        }
    }
    void endBus() override
    {
        isBusThere = false;
        signalAll(buses(), SIGKILL);
    }
    QStringList problems() const override
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mProblems;
    }

private:
    void complain(const QString& problem)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mProblems.append(problem);
    }
    void standStill(const QList<pid_t>& processes)
    {
        signalAll(processes, SIGSTOP);
        const std::lock_guard<std::mutex> lock(mMutex);
        mWaking.emplace_back([processes] {
            std::this_thread::sleep_for(standstill);
            signalAll(processes, SIGCONT);
        });
    }

    mutable std::mutex mMutex;
    QStringList mProblems;
    std::vector<std::thread> mWaking;
};

} // namespace

bool World::hasSessions()
{
    return true;
}

QString World::prepare()
{
    static char name[] = "schedules";
    static char* arguments[] = {name, nullptr};
    static int count = 1;
    if (!EmulatedService::isThere() || !qEnvironmentVariableIsSet("SSO_STORAGE_PATH"))
        return "run this with kelaccount-emulator run -- PROGRAM"_s;
    // For as long as the process: what the sign-on library has once ends with neither.
    static const auto* const application = new QCoreApplication(count, arguments);
    Q_UNUSED(application)
    NetworkReplyContainer::setGuardMilliseconds(guardMs);
    return calm();
}

QString World::calm()
{
    if (!isBusThere)
        return {};
    // One that was told to end may still have its name.
    if (!waitFor([] { return DaemonControl::start(); }))
        return "the daemon does not start"_s;
    DaemonControl::letThisProgramHear();
    if (!resetService())
        return "the service cannot be reset"_s;
    if (!lookUpAHost())
        return "no host is looked up"_s;
    const QString problem = signInAndOut();
    // Each identity has one, for minutes.
    endPlugins();
    return problem.isEmpty() && !resetService() ? "the service cannot be reset"_s : problem;
}

std::unique_ptr<World> World::make()
{
    return std::make_unique<SessionWorld>();
}

} // namespace Schedules
