// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/command/options.h"

#include "emulator/service/accounts.h"
#include "emulator/service/administration.h"
#include "tools/commandline/checks.h"

#include <fstream>

namespace KelEmulator {

namespace {

constexpr std::int64_t tenYears = 315360000;

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
    if (!line.has("--no-default-accounts")) {
        options.accounts.emplace_back("alice");
        options.reserved.emplace_back("admin");
    }
    CommandLine::readNumber(line.value("--clock-skew"), -tenYears, tenYears, options.clockSkew);
    options.certificateDays = readNumber(line, "--certificate-days", options.certificateDays);
    options.proxyPort = readNumber(line, "--proxy-port", options.proxyPort);
    options.adminPort = readNumber(line, "--admin-port", options.adminPort);
    options.refuse = line.has("--refuse");
    options.verbose = line.has("--verbose");
    options.session = !line.has("--no-session");
    options.tagServer = line.has("--tag-server");
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

bool readOptions(const CommandLine::Line& line, Options& options, std::string& problem)
{
    if (line.command == "inbox") {
        options.mode = Options::Mode::Inbox;
        options.inboxOf = line.arguments.empty() ? std::string() : line.arguments.front();
        return true;
    }
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
    if (options.sim && !options.session) {
        problem = "--sim needs the session's bus; leave --no-session or --sim out";
        return false;
    }
    return true;
}

} // namespace KelEmulator
