// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/run/command.h"
#include "emulator/run/companion.h"
#include "emulator/run/privatefolder.h"
#include "emulator/run/session.h"
#include "emulator/service/accountservice.h"
#include "emulator/wire/adminserver.h"
#include "emulator/wire/certificates.h"
#include "emulator/wire/proxy.h"

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
    void startTagServer(const Options& options);
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
