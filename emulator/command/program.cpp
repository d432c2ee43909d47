// SPDX-License-Identifier: LGPL-2.1-or-later
// What the emulator's help, manual page and completions say.
#include "emulator/command/options.h"
#include "emulator/service/accounts.h"
#include "emulator/service/administration.h"
#include "tools/commandline/checks.h"

using CommandLine::Completion;
using CommandLine::Option;
using CommandLine::Table;

namespace KelEmulator {

namespace {

std::string nameProblem(const std::string& text)
{
    if (Accounts::isWellFormed(text))
        return {};
    return "needs a name of 1 to 64 letters, digits or . _ - @ +, not '" + text + '\'';
}

std::string preAccountProblem(const std::string& text)
{
    std::string why;
    return readPreAccount(text, why) ? std::string() : "cannot take '" + text + "': " + why;
}

std::string simProblem(const std::string& text)
{
    std::string why;
    return readSim(text, why) ? std::string() : "cannot take '" + text + "': " + why;
}

/// Of a pre-account without its subscriber's number.
std::string heldProblem(const std::string& text)
{
    return preAccountProblem("1," + text);
}

std::string faultProblem(const std::string& text)
{
    std::string why;
    std::vector<Fault> faults;
    return readFault(text, faults, why) ? std::string() : "cannot order the " + why;
}

std::vector<Option> accountOptions()
{
    return {
        {"--account",
         {"NAME", nameProblem},
         "make an account with password \"secret\" and the address NAME@example.org",
         true},
        {"--pre-account",
         {"MSIN[,USERNAME[,MOBILE[,COUNTRY]]]", preAccountProblem},
         "know the subscriber with this number",
         true},
        {"--reserve", {"NAME", nameProblem}, "keep a name from being given to anybody", true},
        {"--no-default-accounts", {}, "without account \"alice\" and reserved name \"admin\""},
        {"--database",
         {"FILE", nullptr, Completion::Files},
         "keep accounts, with their passwords in clear, in an SQLite file that only its owner can "
         "read, instead of in memory"},
    };
}

std::vector<Option> serviceOptions()
{
    return {
        {"--scenario",
         {"FILE", nullptr, Completion::Files},
         "accounts, SIM, tags, faults and clock as a file describes them, or one of happy-day, "
         "returning-user, sim-with-pre-account, hostile-network, service-down, wrong-clock"},
        {"--sim",
         {"MCC-MNC-MSIN[,IMEI]", simProblem},
         "a modem with this SIM in it, such as 244-05-1234567890 (no modem)"},
        {"--tag-server",
         {},
         "run kelaccount-tag-server, whose tags spare registrations the captcha"},
        {"--consumer-key", {"KEY"}, "key that clients sign with (demo-key)"},
        {"--consumer-secret-file",
         {"FILE", nullptr, Completion::Files},
         "file whose first line is the consumer secret (demo-secret)"},
        {"--clock-skew",
         {"SECONDS", CommandLine::number<-315360000, 315360000>},
         "move the service's clock"},
        {"--certificate-days",
         {"DAYS", CommandLine::number<0, 3650>},
         "how long the service's certificate is good yet (30)"},
        {"--fault",
         {"[COUNT*]FAULT[@OPERATION]", faultProblem, Completion::Choices, knownFaults()},
         "let a request go wrong, in order, one a request: none, delay=MS, hang, "
         "close-before-headers, close-in-headers, close-after-headers, cut-body, wrong-length, "
         "short-length, status=NNN, not-xml, huge-body=BYTES, wrong-host",
         true},
        {"--latency",
         {"MILLISECONDSms", delayProblem},
         "what a round trip takes, such as 100ms; opening a connection, its tunnel and TLS take "
         "one each"},
        {"--jitter",
         {"MILLISECONDSms", delayProblem},
         "by how much a round trip may be longer or shorter, at most the latency"},
        {"--bandwidth",
         {"BITS", bandwidthProblem},
         "what passes a connection in a second, each way, such as 400kbit or 2mbit"},
        {"--refuse", {}, "refuse connections until told to accept"},
        {"--proxy-port",
         {"PORT", CommandLine::number<0, 65535>},
         "port of the proxy (any free one)"},
        {"--admin-port",
         {"PORT", CommandLine::number<0, 65535>},
         "port of the administrative endpoint (any free one)"},
        {"--no-session", {}, "without bus, sign-on daemon and accounts database"},
        {"--verbose", {}, "one line a request on standard error"},
    };
}

std::vector<Option> sessionOptions()
{
    std::vector<Option> options = accountOptions();
    for (const Option& option : serviceOptions())
        options.push_back(option);
    return options;
}

constexpr const char* details =
    "Emulates the account service on this machine, for trying programs out and for tests. Its "
    "accounts are made up, and it keeps their passwords in clear: give it none that is used "
    "elsewhere.\n\n"
    "The environment of \"run\" and \"serve\" is a device's session of its own: a private bus, the "
    "real sign-on daemon with the plugin for method \"zorauth\", and a private accounts database. "
    "HOME and the XDG folders are empty ones that vanish at the end. The private bus is the system "
    "bus, too: the machine's own modem stays out of sight.";

std::vector<Table> tables()
{
    return {
        {"Environment of the command",
         {{"KELACCOUNT_EMULATOR_ADMIN",
           "address of the administrative endpoint, which is what the commands beside \"run\" and "
           "\"serve\" ask"},
          {"KELACCOUNT_EMULATOR_CA", "a file with the certificate authority"},
          {"https_proxy", "what leads everybody to the service"}}},
        {"Exit status",
         {{"0", "everything but \"run\" went well"},
          {"2", "misuse"},
          {"4", "the output cannot be written"},
          {"125", "the emulator cannot start, or none answers"},
          {"126", "run: COMMAND cannot be run"},
          {"127", "run: there is no such COMMAND"},
          {"128+N", "run: signal N ended COMMAND"},
          {"other", "run: COMMAND's own"}}},
    };
}

} // namespace

const CommandLine::Program& emulatorProgram()
{
    static const CommandLine::Program program = {
        "kelaccount-emulator",
        KELACCOUNT_VERSION,
        "stand in for the account service on this machine",
        details,
        {},
        {},
        {{"run",
          {},
          sessionOptions(),
          "run COMMAND in an environment that leads it to the service, and end with its exit "
          "status",
          "run -- kelaccount check-user bob",
          {},
          true},
         {"serve",
          {},
          sessionOptions(),
          "print that environment as lines for a shell, and stay until interrupted",
          "serve --no-session > environment.sh"},
         {"inbox",
          {{{"NAME"}, "a user name or a recipient; without one, everybody's", true}},
          {},
          "show the messages that the service sent, said in that environment",
          "inbox alice"},
         {"log",
          {{{"NUMBER", CommandLine::number<1, 999999999>},
            "of one request, to show how it was judged, and both documents, secrets masked",
            true}},
          {{"--follow", {}, "go on with those that come", false, "-f"},
           {"--forget", {}, "forget them all"}},
          "show the requests that reached the service, said in that environment",
          "log -f"},
         {"accounts",
          {{{"USER"}, "number, user name or address; without one, all are listed", true}},
          {{"--make", {}, "make an account with this name"},
           {"--set",
            {"FIELD=VALUE"},
            "a field of the account, such as email=kim@mail.example",
            true},
           {"--lock", {}, "lock it, as after ten wrong passwords"},
           {"--unlock", {}, "open it again"},
           {"--delete", {}, "take it away"}},
          "show the service's accounts, make, change or delete one",
          "accounts kim --make --set password=s3cret"},
         {"captcha",
          {{{"ID"}, "of one captcha; without one, all are listed", true}},
          {},
          "show the texts in the captchas' pictures",
          "captcha"},
         {"fault",
          {{{"[COUNT*]FAULT[@OPERATION]", faultProblem, Completion::Choices, knownFaults()},
            "the fault to order; without one, those to come are listed",
            true}},
          {{"--clear", {}, "forget those ordered before"}},
          "let a request go wrong, or 3* of them, or all in 30s*",
          "fault 3*status=503"},
         {"clock",
          {},
          {{"--skew",
            {"SECONDS", CommandLine::number<-315360000, 315360000>},
            "so far ahead of this machine's clock"},
           {"--time", {"TIME"}, "the time that it shows, such as 2030-12-31T23:59:59Z"},
           {"--speed", {"FACTOR"}, "how fast it goes, 0.01 to 10000"}},
          "show or move the service's clock",
          "clock --skew 7200"},
         {"refuse", {}, {}, "let the service refuse connections", "refuse"},
         {"accept", {}, {}, "let it accept them again", "accept"},
         {"expire",
          {},
          {},
          "let all access tokens expire, so that clients need new ones",
          "expire"},
         {"sim",
          {{{"MCC-MNC-MSIN[,IMEI]", simProblem},
            "the SIM to put in; without one, the one that is there is shown",
            true}},
          {{"--pre-account", {"USERNAME[,MOBILE[,COUNTRY]]", heldProblem}, "know its subscriber"},
           {"--remove", {}, "take out the SIM that is there, and its modem"}},
          "show or change the SIM",
          "sim 244-05-1234567890 --pre-account carol"},
         {"tags",
          {},
          {{"--issue", {}, "start a tag server that gives out tags"},
           {"--tag", {"TEXT"}, "the same, with this tag"},
           {"--refuse",
            {"CODE", CommandLine::number<0, 4294967295>},
            "the same, but it answers with this error code"},
           {"--hang", {}, "the same, but it never answers"},
           {"--remove", {}, "end the tag server"}},
          "show or change what the tag server does",
          "tags --refuse 5"},
         {"scenario",
          {{{"FILE", nullptr, Completion::Files},
            "the scenario to load in place of all that is there; without one, it is printed",
            true}},
          {},
          "save what there is as a scenario, or load one",
          "scenario returning-user"},
         {"help",
          {{{"COMMAND",
             nullptr,
             Completion::Choices,
             {"run", "serve", "inbox", "log", "accounts", "captcha", "fault", "clock", "refuse",
              "accept", "expire", "sim", "tags", "scenario"}},
            "the command to tell about",
            true}},
          {},
          "say what a command does and takes",
          "help run"}},
        tables(),
        {},
        {"kelaccount", "kelaccount-tag-server", "kelaccount-modem"},
    };
    return program;
}

} // namespace KelEmulator
