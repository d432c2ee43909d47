// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <httplib.h>
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
    AdminServer(AccountService& service, Proxy& proxy);
    ~AdminServer();

    /// `port` 0 takes any free one. False, and why in `problem`.
    bool start(int port, std::string& problem);
    void stop();
    /// "http://127.0.0.1:PORT"
    std::string address() const;

private:
    bool isForUs(const httplib::Request& request) const;
    void addFaultRoutes();
    void addClockRoutes();
    void addProxyRoutes();
    void addAccountRoutes();
    void addRequestRoutes();

    AccountService& mService;
    Proxy& mProxy;
    httplib::Server mServer;
    std::thread mThread;
    int mPort = 0;
};

} // namespace KelEmulator
