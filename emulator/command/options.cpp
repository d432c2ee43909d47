// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/command/options.h"

#include "emulator/run/ownfiles.h"
#include "emulator/service/accounts.h"
#include "emulator/service/administration.h"
#include "tools/commandline/checks.h"

#include <fstream>
#include <sstream>

namespace KelEmulator {

namespace {

bool readSecretFile(const std::string& file, std::string& secret)
{
    std::ifstream stream(file, std::ios::binary);
    if (!std::getline(stream, secret))
        return false;
    if (!secret.empty() && secret.back() == '\r')
        secret.pop_back();
    return true;
}

int readNumber(const CommandLine::Line& line, const std::string& option, int otherwise)
{
    std::int64_t number = otherwise;
    CommandLine::readNumber(line.value(option), 0, 65535, number);
    return static_cast<int>(number);
}

void takeService(const CommandLine::Line& line, Options& options)
{
    options.database = line.value("--database", options.database);
    options.consumerKey = line.value("--consumer-key", options.consumerKey);
    options.accounts = line.values("--account");
    options.reserved = line.values("--reserve");
    if (!line.has("--no-default-accounts") && !line.has("--scenario")) {
        options.accounts.emplace_back("alice");
        options.reserved.emplace_back("admin");
    }
    std::int64_t skew = 0;
    if (CommandLine::readNumber(line.value("--clock-skew"), -Clock::largestSkew, Clock::largestSkew,
                                skew))
        options.clockSkew = skew;
    options.certificateDays = readNumber(line, "--certificate-days", options.certificateDays);
    options.proxyPort = readNumber(line, "--proxy-port", options.proxyPort);
    options.adminPort = readNumber(line, "--admin-port", options.adminPort);
    options.refuse = line.has("--refuse");
    options.verbose = line.has("--verbose");
    options.session = !line.has("--no-session");
    options.tagServer = line.has("--tag-server");
}

/// After the scenario. What stands on the line was checked, but for what goes together.
bool takeNetwork(const CommandLine::Line& line, Options& options, std::string& problem)
{
    options.network = options.scenario.network;
    readDelay(line.value("--latency"), options.network.latency);
    readDelay(line.value("--jitter"), options.network.jitter);
    readBandwidth(line.value("--bandwidth"), options.network.bitsPerSecond);
    problem = conditionsProblem(options.network);
    if (!problem.empty())
        problem = "--latency and --jitter do not go together: " + problem;
    return problem.empty();
}

bool takeScenario(const std::string& name, Options& options, std::string& problem)
{
    std::string text;
    if (!findScenario(name, text, problem))
        return false;
    if (!readScenario(text, options.scenario, problem)) {
        problem = "scenario '" + name + "': " + problem;
        return false;
    }
    const auto& sim = options.scenario.sim;
    if (sim && !options.sim && !(options.sim = readSim(sim->text(), problem))) {
        problem = "scenario '" + name + "': sim: " + problem;
        return false;
    }
    return true;
}

/// What was checked when the line was read: `problem` stays as it is.
void takeChecked(const CommandLine::Line& line, Options& options, std::string& problem)
{
    for (const std::string& text : line.values("--pre-account"))
        options.preAccounts.push_back(*readPreAccount(text, problem));
    for (const std::string& text : line.values("--fault"))
        readFault(text, options.faults, problem);
    if (line.has("--sim"))
        options.sim = readSim(line.value("--sim"), problem);
}

} // namespace

bool findScenario(const std::string& name, std::string& text, std::string& problem)
{
    std::ifstream stream(name, std::ios::binary);
    if (!stream.is_open() && name.find('/') == std::string::npos) {
        const std::string file = findSharedFile("kelaccount/scenarios/" + name + ".json");
        if (!file.empty())
            stream.open(file, std::ios::binary);
    }
    std::ostringstream content;
    content << stream.rdbuf();
    text = content.str();
    if (stream.is_open() && !stream.bad() && !text.empty())
        return true;
    problem = "cannot read a scenario from '" + name +
              "'; give a file, or the name of one that comes along";
    return false;
}

bool readOptions(const CommandLine::Line& line, Options& options, std::string& problem)
{
    options.mode = line.command == "run" ? Options::Mode::Run : Options::Mode::Serve;
    options.command = line.rest;
    takeService(line, options);
    takeChecked(line, options, problem);
    const std::string secretFile = line.value("--consumer-secret-file");
    if (line.has("--consumer-secret-file") && !readSecretFile(secretFile, options.consumerSecret)) {
        problem = "cannot read a consumer secret from '" + secretFile +
                  "'; give a file whose first line is the secret";
        return false;
    }
    if (line.has("--scenario") && line.has("--database")) {
        problem = "--scenario says which accounts there are; leave --database out";
        return false;
    }
    if (line.has("--scenario") && !takeScenario(line.value("--scenario"), options, problem))
        return false;
    if (!takeNetwork(line, options, problem))
        return false;
    if (options.sim && !options.session) {
        problem = line.has("--sim")
                      ? "--sim needs the session's bus; leave --no-session or --sim out"
                      : "the scenario's SIM needs the session's bus; leave --no-session out";
        return false;
    }
    return true;
}

} // namespace KelEmulator
