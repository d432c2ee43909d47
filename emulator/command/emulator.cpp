// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/command/emulator.h"

#include "emulator/command/options.h"
#include "emulator/common/log.h"
#include "emulator/run/ownfiles.h"
#include "emulator/wire/connection.h"
#include "emulator/wire/tlsstream.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace KelEmulator {

namespace {

constexpr const char* trustModuleName = "libkelaccount-emulator-trust.so";

std::string valueOf(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value ? value : std::string();
}

/// A list variable with one more entry at its end.
std::string appended(const char* variable, const std::string& entry)
{
    const std::string list = valueOf(variable);
    return list.empty() ? entry : list + ':' + entry;
}

SimScenario described(const Sim& sim)
{
    return {sim.mcc, sim.mnc, sim.msin, sim.imei};
}

bool addAccounts(Tables& tables, const Options& options)
{
    for (const std::string& name : options.accounts) {
        if (!tables.accounts.add(name))
            return false;
    }
    for (const std::string& name : options.reserved) {
        if (!tables.accounts.reserve(name))
            return false;
    }
    for (const PreAccount& preAccount : options.preAccounts) {
        if (!tables.devices.savePreAccount(preAccount))
            return false;
    }
    return true;
}

} // namespace

std::unique_ptr<Emulator> Emulator::start(const Options& options, std::string& problem)
{
    std::unique_ptr<Emulator> emulator(new Emulator);
    std::unique_lock<std::mutex> lock(emulator->mDeviceMutex);
    emulator->mFolder = PrivateFolder::make(problem);
    const bool good = emulator->mFolder &&
                      makeCertificates(emulator->mCertificates, options.certificateDays, problem) &&
                      emulator->startServers(options, problem) &&
                      emulator->makeEnvironment(problem) &&
                      (!options.session || emulator->startSession(options, problem));
    if (!good)
        return nullptr;
    // Its socket's name is the same for everybody on this machine, so it may be somebody else's
    // turn.
    const TagScenario tags = options.scenario.tags.value_or(TagScenario());
    if ((options.tagServer || options.scenario.tags) && !emulator->startTagServer(tags, problem)) {
        logLine("no tag server of this run: " + problem);
        // An order is carried out with the scenario locked first.
        lock.unlock();
        emulator->mAdmin->tellNoTags();
    }
    return emulator;
}

Emulator::~Emulator()
{
    // Before what it may replace.
    if (mAdmin)
        mAdmin->stop();
    mModem.reset();
    mSession.reset();
    if (mProxy)
        mProxy->stop();
}

bool Emulator::startServers(const Options& options, std::string& problem)
{
    std::unique_ptr<Store> store = Store::open(options.database, problem);
    if (!store || !store->with([&](Tables& tables) { return addAccounts(tables, options); })) {
        problem = "cannot use the database '" + options.database +
                  "': " + (problem.empty() ? "it cannot be written" : problem);
        return false;
    }
    const Scenario& scenario = options.scenario;
    if (!fillTables(*store, scenario, problem)) {
        problem = "the scenario cannot be: " + problem;
        return false;
    }
    std::vector<Fault> faults = scenario.faults;
    faults.insert(faults.end(), options.faults.begin(), options.faults.end());
    mService = std::make_unique<AccountService>(
        ServiceSettings{options.consumerKey, options.consumerSecret,
                        options.clockSkew.value_or(scenario.clockSkew), scenario.clockSpeed, faults,
                        options.verbose},
        std::move(store));
    mProxy = std::make_unique<Proxy>([this](const Proxy::Tunnel& tunnel) { serve(tunnel); });
    mProxy->network().setConditions(options.network);
    mService->faults().setConnectionCloser([this] { mProxy->connections().closeIdle(); });
    Scenario origin = scenario;
    origin.network = options.network;
    if (options.sim)
        origin.sim = described(*options.sim);
    if (options.tagServer && !origin.tags)
        origin.tags.emplace();
    mAdmin = std::make_unique<AdminServer>(*mService, *mProxy, std::move(origin), deviceControl(),
                                           findSharedFile("kelaccount/console"));
    if (!mProxy->start(options.proxyPort, problem) || !mAdmin->start(options.adminPort, problem))
        return false;
    if (!options.refuse && !mProxy->accept()) {
        problem = "cannot listen on the proxy's port";
        return false;
    }
    return true;
}

/// Who only talks to the service needs no session, so its absence ends nothing. A SIM was asked
/// for.
bool Emulator::startSession(const Options& options, std::string& problem)
{
    mSession = Session::start(mFolder->path(), mEnvironment, problem);
    if (!mSession) {
        problem = "no sign-on session (" + problem + ')';
        if (options.sim) {
            problem += ", and without one no --sim";
            return false;
        }
        logLine(problem + "; only the service is there. --no-session leaves this line out");
        return true;
    }
    mEnvironment = mSession->environment();
    return !options.sim || startModem(*options.sim, problem);
}

bool Emulator::startModem(const Sim& sim, std::string& problem)
{
    const std::string value = sim.mcc + '-' + sim.mnc + '-' + sim.msin + ',' + sim.imei;
    std::vector<EnvironmentChange> bus;
    std::copy_if(
        mEnvironment.begin(), mEnvironment.end(), std::back_inserter(bus),
        [](const EnvironmentChange& change) { return change.name == "DBUS_SYSTEM_BUS_ADDRESS"; });
    mModem = Companion::start("kelaccount-modem", {value}, bus, problem);
    if (!mModem)
        problem = "no modem: " + problem;
    return mModem != nullptr;
}

bool Emulator::startTagServer(const TagScenario& tags, std::string& problem)
{
    std::vector<std::string> words = {"--die-with-parent"};
    if (!tags.tag.empty())
        words.insert(words.end(), {"--tag", tags.tag});
    if (tags.refuse)
        words.insert(words.end(), {"--refuse", std::to_string(*tags.refuse)});
    if (tags.hangs)
        words.emplace_back("--hang");
    mTagServer = Companion::start("kelaccount-tag-server", words, {}, problem);
    return mTagServer != nullptr;
}

DeviceControl Emulator::deviceControl()
{
    return {[this](auto& there, const auto& wanted, std::string& problem) {
                return replaceModem(there, wanted, problem);
            },
            [this](auto& there, const auto& wanted, std::string& problem) {
                return replaceTagServer(there, wanted, problem);
            }};
}

/// Like a SIM that is changed in a handset: the old one is out before the new one is in.
bool Emulator::replaceModem(std::optional<SimScenario>& there,
                            const std::optional<SimScenario>& wanted, std::string& problem)
{
    const std::lock_guard<std::mutex> lock(mDeviceMutex);
    std::optional<Sim> sim;
    if (wanted && !(sim = readSim(wanted->text(), problem)))
        return false;
    if (sim && !mSession) {
        problem = "a SIM needs the session's bus, and there is no session";
        return false;
    }
    mModem.reset();
    there.reset();
    if (!sim)
        return true;
    if (!startModem(*sim, problem))
        return false;
    there = described(*sim);
    return true;
}

bool Emulator::replaceTagServer(std::optional<TagScenario>& there,
                                const std::optional<TagScenario>& wanted, std::string& problem)
{
    const std::lock_guard<std::mutex> lock(mDeviceMutex);
    mTagServer.reset();
    there.reset();
    if (!wanted)
        return true;
    if (!startTagServer(*wanted, problem))
        return false;
    there = wanted;
    return true;
}

void Emulator::serve(const Proxy::Tunnel& tunnel)
{
    OpenConnections::Entry& entry = tunnel.entry;
    FaultQueue& faults = mService->faults();
    // A second certificate that is ordered is for the next connection: taking the first must not
    // end this one, in which nothing was asked yet.
    entry.setBusy(true);
    SSL_CTX* const context =
        faults.takeWrongHost() ? mCertificates.otherHost.get() : mCertificates.serviceHosts.get();
    TlsStream stream(tunnel.descriptor, context, tunnel.answers);
    const bool accepted = stream.accept();
    entry.setBusy(false);
    if (accepted) {
        // Resumptions last: who adds them up has all handshakes by then.
        ++mProxy->network().handshakes;
        mProxy->network().resumptions += stream.isResumed() ? 1 : 0;
    }
    if (!accepted || faults.wrongHostIsNext())
        return;
    Connection connection(*mService, stream, [&entry](bool busy) { entry.setBusy(busy); });
    connection.run();
}

bool Emulator::makeEnvironment(std::string& problem)
{
    const std::string authority = mFolder->write("authority.pem", mCertificates.authorityPem);
    const std::string module = findModule(trustModuleName);
    if (authority.empty() || module.empty()) {
        problem = authority.empty() ? "cannot write to " + mFolder->path()
                                    : std::string(trustModuleName) +
                                          " is missing; build or install it with the emulator";
        return false;
    }
    if (module.find_first_of(" :") != std::string::npos) {
        problem =
            "LD_PRELOAD cannot name " + module + "; install to a path without blank and colon";
        return false;
    }
    mEnvironment = {
        {"https_proxy", "http://127.0.0.1:" + std::to_string(mProxy->port())},
        {"http_proxy", "", false},
        {"KELACCOUNT_EMULATOR_CA", authority},
        {"KELACCOUNT_EMULATOR_ADMIN", mAdmin->address()},
        {"LD_PRELOAD", appended("LD_PRELOAD", module)},
    };
#ifdef KELACCOUNT_ADDRESS_SANITIZER
    // The sanitizer insists on being loaded first, which no program with a preloaded module can do.
    mEnvironment.push_back({"ASAN_OPTIONS", appended("ASAN_OPTIONS", "verify_asan_link_order=0")});
#endif
    return true;
}

} // namespace KelEmulator
