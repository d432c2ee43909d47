// SPDX-License-Identifier: LGPL-2.1-or-later
// A file or a body that the emulator reads: a scenario, or one of the orders to a running emulator.
#include "bytesource.h"
#include "fuzztarget.h"

#include "emulator/service/accountservice.h"
#include "emulator/service/administration.h"
#include "emulator/service/scenario.h"

#include <string>

namespace KelFuzz::Scenarios {

namespace {

using namespace KelEmulator;

struct Emulated
{
    Emulated() : service(settings(), opened()) {}

    static ServiceSettings settings()
    {
        ServiceSettings made;
        made.consumerKey = "key";
        made.consumerSecret = "secret";
        return made;
    }
    static std::unique_ptr<Store> opened()
    {
        std::string problem;
        auto store = Store::open(":memory:", problem);
        require(store != nullptr);
        return store;
    }

    AccountService service;
};

// Refused with a reason, or taken.
void judge(bool taken, const std::string& problem)
{
    require(taken == problem.empty());
}

void readOrders(Emulated& emulated, const std::string& text)
{
    std::string problem;
    SimOrder order;
    judge(readSimOrder(text, order, problem), problem);
    problem.clear();
    TagScenario tags;
    judge(readTags(text, tags, problem), problem);
    problem.clear();
    NetworkConditions conditions;
    judge(readNetwork(text, conditions, problem), problem);
    problem.clear();
    judge(readPreAccount(text, problem).has_value(), problem);
    problem.clear();
    std::vector<Fault> faults;
    judge(readFault(text, faults, problem), problem);
    if (!faults.empty()) {
        std::vector<Fault> again;
        require(readFault(faultText(faults.front()), again, problem));
        require(again.size() == 1 && faultText(again.front()) == faultText(faults.front()));
    }
    problem.clear();
    Clock clock(0, 1);
    judge(setClock(clock, text, problem), problem);
    problem.clear();
    judge(addAccounts(emulated.service.store(), text, problem), problem);
    problem.clear();
    judge(addPreAccounts(emulated.service.store(), text, problem), problem);
    problem.clear();
    judge(changeAccount(emulated.service.store(), "1", text, problem), problem);
}

// What the service is made of says of itself what it was made of.
void makeAndTell(Emulated& emulated, const Scenario& scenario)
{
    std::string problem;
    const bool applied = applyScenario(emulated.service, scenario, problem);
    judge(applied, problem);
    if (!applied)
        return;
    const std::string told = scenarioJson(emulated.service, scenario);
    Scenario again;
    require(readScenario(told, again, problem));
    Emulated other;
    require(applyScenario(other.service, again, problem));
    require(again.accounts.size() == scenario.accounts.size());
    require(again.faults.size() == scenario.faults.size());
    require(!deviceJson(scenario).empty());
}

void run(const uint8_t* data, size_t size)
{
    static Emulated emulated;
    const std::string text(reinterpret_cast<const char*>(data), size);
    emulated.service.store().with([](Tables& tables) { tables.clear(); });
    readOrders(emulated, text);
    Scenario scenario;
    std::string problem;
    const bool taken = readScenario(text, scenario, problem);
    judge(taken, problem);
    if (taken)
        makeAndTell(emulated, scenario);
}

} // namespace

} // namespace KelFuzz::Scenarios

KEL_FUZZ_TARGET(scenario, KelFuzz::Scenarios::run)

#ifndef KELACCOUNT_FUZZ_REPLAY

// Of some texts that are no JSON, Qt 5.15's reader leaves a container behind. What leaks of our own
// has none of its frames.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libQt5Core.so.5\n";
}

#endif
