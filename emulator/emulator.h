// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/accountservice.h"
#include "emulator/adminserver.h"
#include "emulator/certificates.h"
#include "emulator/command.h"
#include "emulator/companion.h"
#include "emulator/privatefolder.h"
#include "emulator/proxy.h"
#include "emulator/session.h"

#include <memory>
#include <string>
#include <vector>

namespace KelEmulator {

struct Options;
struct Sim;

/// Everything that stands in for the outside, from start to end.
class Emulator
{
public:
    /// Starts it all; before any thread. Null, and why in `problem`.
    static std::unique_ptr<Emulator> start(const Options& options, std::string& problem);
    ~Emulator();

    /// What leads a program here.
    const std::vector<EnvironmentChange>& environment() const { return mEnvironment; }

private:
    Emulator() = default;
    bool startServers(const Options& options, std::string& problem);
    bool makeEnvironment(std::string& problem);
    bool startSession(const Options& options, std::string& problem);
    bool startModem(const Sim& sim, std::string& problem);
    void startTagServer();
    void serve(int descriptor, OpenConnections::Entry& entry);

    // In the order in which they are made; the folder goes last.
    std::unique_ptr<PrivateFolder> mFolder;
    Certificates mCertificates;
    std::unique_ptr<AccountService> mService;
    std::unique_ptr<Proxy> mProxy;
    std::unique_ptr<AdminServer> mAdmin;
    std::vector<EnvironmentChange> mEnvironment;
    std::unique_ptr<Session> mSession;     // null without one
    std::unique_ptr<Companion> mModem;     // null without one
    std::unique_ptr<Companion> mTagServer; // null without one
};

} // namespace KelEmulator
