// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/fault.h"
#include "emulator/service/networkconditions.h"
#include "emulator/service/store.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace KelEmulator {

class AccountService;

/// What a device's tag server gives out.
struct TagScenario
{
    std::string tag;                ///< empty: the tag server's own
    std::optional<unsigned> refuse; ///< the error code to answer with
    bool hangs = false;
};

/// A SIM, unchecked: whoever makes a modem knows what a good one is.
struct SimScenario
{
    std::string mcc;
    std::string mnc;
    std::string msin;
    std::string imei; ///< empty: the modem's usual one

    /// "MCC-MNC-MSIN[,IMEI]"
    std::string text() const;
};

/// What surrounds a program, from its first moment on. docs/emulator.md has the form.
struct Scenario
{
    std::string title;
    std::string description;
    std::vector<Account> accounts;
    std::vector<std::string> reserved;
    std::vector<PreAccount> preAccounts;
    std::optional<SimScenario> sim;
    std::optional<TagScenario> tags;
    std::vector<Fault> faults;
    NetworkConditions network;
    std::int64_t clockSkew = 0;
    double clockSpeed = 1;
};

/// Reads a scenario. False, and in `problem` which key is wrong and why.
bool readScenario(const std::string& json, Scenario& scenario, std::string& problem);

/// Puts accounts, names and pre-accounts of a scenario into the tables: beside what is there.
/// False, and why in `problem`, with nothing done.
bool fillTables(Store& store, const Scenario& scenario, std::string& problem);

/// Makes a service as the scenario wants it: what was there is gone. SIM and tags are not the
/// service's.
bool applyScenario(AccountService& service, const Scenario& scenario, std::string& problem);

/// A SIM that is put in, and the pre-account that is held ready for its subscriber.
struct SimOrder
{
    SimScenario sim;
    std::optional<PreAccount> preAccount;
};

/// Reads a SIM's fields, and in "preAccount" those of a pre-account without its number. False, and
/// why in `problem`.
bool readSimOrder(const std::string& json, SimOrder& order, std::string& problem);

/// Reads what a tag server gives out. False, and why in `problem`.
bool readTags(const std::string& json, TagScenario& tags, std::string& problem);

/// Reads the conditions of a network. False, and why in `problem`.
bool readNetwork(const std::string& json, NetworkConditions& conditions, std::string& problem);
std::string networkJson(const NetworkConditions& conditions, const NetworkCounts& counts);

/// SIM and tags of a scenario.
std::string deviceJson(const Scenario& scenario);

/// The service as it is now, with passwords and answers.
std::string scenarioJson(AccountService& service, const Scenario& origin);

} // namespace KelEmulator
