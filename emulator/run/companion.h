// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/descriptor.h"
#include "emulator/run/command.h"

#include <memory>
#include <string>
#include <vector>

namespace KelEmulator {

class ChildProcess;

/// A program of ours that stands in for a service of the device. It ends with this object, and when
/// this process does.
class Companion
{
public:
    /// Starts the program that lies beside this one and waits until it says "ready". Null, and why
    /// in `problem`.
    static std::unique_ptr<Companion> start(const std::string& name,
                                            const std::vector<std::string>& arguments,
                                            const std::vector<EnvironmentChange>& changes,
                                            std::string& problem);
    ~Companion();

private:
    Companion();

    // Open as long as it runs: its later words must not end it.
    Descriptor mOutput;
    Descriptor mErrors; // apart: Qt has things to say there before the program has
    std::unique_ptr<ChildProcess> mProcess;
};

} // namespace KelEmulator
