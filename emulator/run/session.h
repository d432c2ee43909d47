// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/run/command.h"

#include <memory>
#include <string>
#include <vector>

namespace KelEmulator {

class Sandbox;

/// A device's session around the emulated service: a private bus, the sign-on daemon with our
/// plugin and an accounts database. Only the bus is started; the daemon follows when it is first
/// called.
class Session
{
public:
    /// `outside` is what leads to the service: the plugin has to find it, too. The session lies in
    /// `folder`. Null, and why in `problem`.
    static std::unique_ptr<Session> start(const std::string& folder,
                                          const std::vector<EnvironmentChange>& outside,
                                          std::string& problem);
    ~Session();

    /// What leads a program into the session and to the service.
    std::vector<EnvironmentChange> environment() const;

private:
    Session();

    std::vector<EnvironmentChange> mOutside;
    std::unique_ptr<Sandbox> mSandbox;
};

} // namespace KelEmulator
