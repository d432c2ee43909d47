// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/scenario.h"

#include <functional>
#include <httplib.h>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace KelEmulator {

class AccountService;
class Proxy;

/// How the stand-ins for a device's parts are replaced, or taken away. `there` becomes what is
/// there afterwards. False, and why in `problem`. Called by one thread at a time.
struct DeviceControl
{
    std::function<bool(std::optional<SimScenario>& there, const std::optional<SimScenario>& wanted,
                       std::string& problem)>
        setSim;
    std::function<bool(std::optional<TagScenario>& there, const std::optional<TagScenario>& wanted,
                       std::string& problem)>
        setTags;
};

/// The administrative endpoint: plain HTTP on a loopback port of its own, so that ordering a fault
/// never meets one.
class AdminServer
{
public:
    /// `scenario` is what the service was made of; in `consoleFolder` are the files of the web
    /// page.
    AdminServer(AccountService& service, Proxy& proxy, Scenario scenario, DeviceControl device,
                const std::string& consoleFolder);
    ~AdminServer();

    /// `port` 0 takes any free one. False, and why in `problem`.
    bool start(int port, std::string& problem);
    void stop();
    /// The tag server of the scenario could not be started.
    void tellNoTags();
    /// "http://127.0.0.1:PORT"
    std::string address() const;

private:
    bool isForUs(const httplib::Request& request) const;
    void addConsoleRoutes(const std::string& folder);
    void addFaultRoutes();
    void addClockRoutes();
    void addScenarioRoutes();
    void addDeviceRoutes();
    void addNetworkRoutes();
    bool setSim(const SimOrder& order, std::string& problem);
    void addSingleAccountRoutes();
    void addProxyRoutes();
    void addAccountRoutes();
    void addRequestRoutes();

    AccountService& mService;
    Proxy& mProxy;
    std::mutex mScenarioMutex;
    Scenario mScenario;
    DeviceControl mDevice;
    httplib::Server mServer;
    std::thread mThread;
    int mPort = 0;
};

} // namespace KelEmulator
