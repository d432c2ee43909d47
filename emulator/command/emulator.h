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
#include <mutex>
#include <optional>
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
    bool startTagServer(const TagScenario& tags, std::string& problem);
    DeviceControl deviceControl();
    bool replaceModem(std::optional<SimScenario>& there, const std::optional<SimScenario>& wanted,
                      std::string& problem);
    bool replaceTagServer(std::optional<TagScenario>& there,
                          const std::optional<TagScenario>& wanted, std::string& problem);
    void serve(const Proxy::Tunnel& tunnel);

    // Of the session and what is in it: orders may come before all of it has started.
    std::mutex mDeviceMutex;
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
