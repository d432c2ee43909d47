// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/scenario.h"

#include <httplib.h>
#include <mutex>
#include <string>
#include <thread>

namespace KelEmulator {

class AccountService;
class Proxy;

/// The administrative endpoint: plain HTTP on a loopback port of its own, so that ordering a fault
/// never meets one.
class AdminServer
{
public:
    /// `scenario` is what the service was made of; in `consoleFolder` are the files of the web
    /// page.
    AdminServer(AccountService& service, Proxy& proxy, Scenario scenario,
                const std::string& consoleFolder);
    ~AdminServer();

    /// `port` 0 takes any free one. False, and why in `problem`.
    bool start(int port, std::string& problem);
    void stop();
    /// "http://127.0.0.1:PORT"
    std::string address() const;

private:
    bool isForUs(const httplib::Request& request) const;
    void addConsoleRoutes(const std::string& folder);
    void addFaultRoutes();
    void addClockRoutes();
    void addScenarioRoutes();
    void addSingleAccountRoutes();
    void addProxyRoutes();
    void addAccountRoutes();
    void addRequestRoutes();

    AccountService& mService;
    Proxy& mProxy;
    std::mutex mScenarioMutex;
    Scenario mScenario;
    httplib::Server mServer;
    std::thread mThread;
    int mPort = 0;
};

} // namespace KelEmulator
