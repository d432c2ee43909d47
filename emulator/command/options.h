// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/modem/sim.h"
#include "emulator/service/devices.h"
#include "emulator/service/fault.h"
#include "emulator/service/networkconditions.h"
#include "emulator/service/scenario.h"
#include "tools/commandline/reader.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace KelEmulator {

/// The command line.
struct Options
{
    enum class Mode { Run, Serve };

    Mode mode = Mode::Run;
    std::vector<std::string> command;  ///< with Run only, never empty then
    std::string database = ":memory:"; ///< SQLite's name for none
    std::string consumerKey = "demo-key";
    std::string consumerSecret = "demo-secret";
    std::vector<std::string> accounts;
    std::vector<std::string> reserved;
    std::vector<PreAccount> preAccounts;
    std::optional<Sim> sim;
    std::vector<Fault> faults;             ///< behind the scenario's
    std::optional<std::int64_t> clockSkew; ///< in place of the scenario's
    NetworkConditions network;             ///< the scenario's, where the command line says nothing
    Scenario scenario;
    int certificateDays = 30;
    int proxyPort = 0; ///< 0: any free one
    int adminPort = 0;
    bool session = true;
    bool tagServer = false;
    bool refuse = false;
    bool verbose = false;
};

/// What the program's help, manual page and completions say.
const CommandLine::Program& emulatorProgram();

/// The options that a command line of the program says. False, and one line saying what to do in
/// `problem`, on misuse.
bool readOptions(const CommandLine::Line& line, Options& options, std::string& problem);

/// The text of a scenario in a file, or of one that comes with the program by its name. False, and
/// why in `problem`.
bool findScenario(const std::string& name, std::string& text, std::string& problem);

} // namespace KelEmulator
