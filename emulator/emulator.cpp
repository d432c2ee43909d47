// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/emulator.h"

#include "emulator/connection.h"
#include "emulator/log.h"
#include "emulator/options.h"
#include "emulator/ownfiles.h"

#include <cstdlib>

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
    emulator->mFolder = PrivateFolder::make(problem);
    const bool good = emulator->mFolder && makeCertificates(emulator->mCertificates, problem) &&
                      emulator->startServers(options, problem) &&
                      emulator->makeEnvironment(problem);
    if (!good)
        return nullptr;
    if (options.session)
        emulator->startSession();
    return emulator;
}

Emulator::~Emulator()
{
    mSession.reset();
    if (mAdmin)
        mAdmin->stop();
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
    mService = std::make_unique<AccountService>(options, std::move(store));
    mProxy = std::make_unique<Proxy>(
        [this](int descriptor, OpenConnections::Entry& entry) { serve(descriptor, entry); });
    mService->faults().setConnectionCloser([this] { mProxy->connections().closeIdle(); });
    mAdmin = std::make_unique<AdminServer>(*mService, *mProxy);
    if (!mProxy->start(options.proxyPort, problem) || !mAdmin->start(options.adminPort, problem))
        return false;
    if (!options.refuse && !mProxy->accept()) {
        problem = "cannot listen on the proxy's port";
        return false;
    }
    return true;
}

/// Who only talks to the service needs no session, so its absence ends nothing.
void Emulator::startSession()
{
    std::string problem;
    mSession = Session::start(mFolder->path(), mEnvironment, problem);
    if (!mSession) {
        logLine("no sign-on session (" + problem +
                "); only the service is there. --no-session leaves this line out");
        return;
    }
    mEnvironment = mSession->environment();
}

void Emulator::serve(int descriptor, OpenConnections::Entry& entry)
{
    SSL_CTX* const context = mService->faults().takeWrongHost() ? mCertificates.otherHost.get()
                                                                : mCertificates.serviceHosts.get();
    TlsStream stream(descriptor, context);
    if (!stream.accept())
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
