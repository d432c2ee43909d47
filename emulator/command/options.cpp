// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/command/options.h"

#include "emulator/service/accounts.h"
#include "emulator/service/administration.h"

#include <charconv>
#include <fstream>

namespace KelEmulator {

namespace {

constexpr const char* seeHelp = "; kelaccount-emulator --help lists what there is";

/// Reads one command line.
class Parser
{
public:
    Parser(int count, char* const* arguments, Options& options)
        : mArguments(arguments + 1, arguments + (count > 0 ? count : 1)), mOptions(options)
    {
    }

    bool parse();
    std::string problem;

private:
    bool fail(const std::string& text)
    {
        problem = text;
        return false;
    }
    bool option(const std::string& argument);
    bool flag(const std::string& name);
    bool setting(const std::string& name, const std::string& value);
    bool number(const std::string& name, const std::string& value, std::int64_t smallest,
                std::int64_t largest, std::int64_t& result);
    bool port(const std::string& name, const std::string& value, int& result);
    bool nameFor(const std::string& name, const std::string& value,
                 std::vector<std::string>& names);
    bool secretFile(const std::string& file);
    bool preAccount(const std::string& text);
    bool sim(const std::string& text);
    bool inbox();
    bool finish();

    std::vector<std::string> mArguments;
    size_t mNext = 0;
    bool mDefaults = true;
    Options& mOptions;
};

bool Parser::number(const std::string& name, const std::string& value, std::int64_t smallest,
                    std::int64_t largest, std::int64_t& result)
{
    const char* const end = value.data() + value.size();
    const auto read = std::from_chars(value.data(), end, result);
    if (read.ec == std::errc() && read.ptr == end && result >= smallest && result <= largest)
        return true;
    return fail(name + " needs a number from " + std::to_string(smallest) + " to " +
                std::to_string(largest) + ", not '" + value + '\'');
}

bool Parser::port(const std::string& name, const std::string& value, int& result)
{
    std::int64_t parsed = 0;
    if (!number(name, value, 0, 65535, parsed))
        return false;
    result = static_cast<int>(parsed);
    return true;
}

bool Parser::nameFor(const std::string& name, const std::string& value,
                     std::vector<std::string>& names)
{
    if (!Accounts::isWellFormed(value))
        return fail(name + " needs a name of 1 to 64 letters, digits or . _ - @ +, not '" + value +
                    '\'');
    names.push_back(value);
    return true;
}

bool Parser::secretFile(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::string line;
    if (!std::getline(stream, line))
        return fail("cannot read a consumer secret from '" + file +
                    "'; give a file whose first line is the secret");
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    mOptions.consumerSecret = line;
    return true;
}

bool Parser::preAccount(const std::string& text)
{
    std::string why;
    const std::optional<PreAccount> read = readPreAccount(text, why);
    if (!read)
        return fail("--pre-account cannot take '" + text + "': " + why);
    mOptions.preAccounts.push_back(*read);
    return true;
}

bool Parser::sim(const std::string& text)
{
    std::string why;
    mOptions.sim = readSim(text, why);
    return mOptions.sim.has_value() || fail("--sim cannot take '" + text + "': " + why);
}

bool Parser::flag(const std::string& name)
{
    if (name == "--refuse")
        mOptions.refuse = true;
    else if (name == "--verbose")
        mOptions.verbose = true;
    else if (name == "--no-session")
        mOptions.session = false;
    else if (name == "--tag-server")
        mOptions.tagServer = true;
    else if (name == "--no-default-accounts")
        mDefaults = false;
    else
        return false;
    return true;
}

bool Parser::setting(const std::string& name, const std::string& value)
{
    constexpr std::int64_t tenYears = 315360000;
    if (name == "--database")
        mOptions.database = value;
    else if (name == "--consumer-key")
        mOptions.consumerKey = value;
    else if (name == "--consumer-secret-file")
        return secretFile(value);
    else if (name == "--account")
        return nameFor(name, value, mOptions.accounts);
    else if (name == "--reserve")
        return nameFor(name, value, mOptions.reserved);
    else if (name == "--pre-account")
        return preAccount(value);
    else if (name == "--sim")
        return sim(value);
    else if (name == "--fault")
        return readFault(value, mOptions.faults, problem);
    else if (name == "--clock-skew")
        return number(name, value, -tenYears, tenYears, mOptions.clockSkew);
    else if (name == "--proxy-port")
        return port(name, value, mOptions.proxyPort);
    else
        return port(name, value, mOptions.adminPort);
    return true;
}

bool Parser::option(const std::string& argument)
{
    static constexpr const char* settings[] = {
        "--database",   "--consumer-key", "--consumer-secret-file",
        "--account",    "--reserve",      "--pre-account",
        "--sim",        "--fault",        "--clock-skew",
        "--proxy-port", "--admin-port"};
    if (flag(argument))
        return true;
    const size_t sign = argument.find('=');
    const std::string name = argument.substr(0, sign);
    for (const char* known : settings) {
        if (name != known)
            continue;
        if (sign != std::string::npos)
            return setting(name, argument.substr(sign + 1));
        if (mNext == mArguments.size())
            return fail(name + " needs a value" + seeHelp);
        return setting(name, mArguments[mNext++]);
    }
    return fail("unknown option '" + argument + '\'' + seeHelp);
}

bool Parser::parse()
{
    for (const std::string& argument : mArguments) {
        if (argument == "--")
            break;
        if (argument == "--help" || argument == "-h" || argument == "--version") {
            mOptions.mode = argument == "--version" ? Options::Mode::Version : Options::Mode::Help;
            return true;
        }
    }
    if (mArguments.empty())
        return fail("say 'run -- COMMAND' or 'serve'; kelaccount-emulator --help tells more");
    const std::string& mode = mArguments[mNext++];
    if (mode == "inbox")
        return inbox();
    if (mode != "run" && mode != "serve")
        return fail("unknown word '" + mode + "'; say 'run -- COMMAND' or 'serve'");
    mOptions.mode = mode == "run" ? Options::Mode::Run : Options::Mode::Serve;

    while (mNext < mArguments.size()) {
        const std::string argument = mArguments[mNext];
        if (argument == "--") {
            ++mNext;
            break;
        }
        if (argument.empty() || argument.front() != '-')
            break;
        ++mNext;
        if (!option(argument))
            return false;
    }
    return finish();
}

bool Parser::inbox()
{
    mOptions.mode = Options::Mode::Inbox;
    if (mArguments.size() - mNext > 1 ||
        (mNext < mArguments.size() && mArguments[mNext].rfind('-', 0) == 0))
        return fail("inbox takes a name or nothing: kelaccount-emulator inbox [NAME]");
    if (mNext < mArguments.size())
        mOptions.inboxOf = mArguments[mNext];
    return true;
}

bool Parser::finish()
{
    mOptions.command.assign(mArguments.begin() + static_cast<std::ptrdiff_t>(mNext),
                            mArguments.end());
    if (mOptions.mode == Options::Mode::Run && mOptions.command.empty())
        return fail("run needs a command: kelaccount-emulator run [options] -- COMMAND");
    if (mOptions.mode == Options::Mode::Serve && !mOptions.command.empty())
        return fail("serve takes no command; say 'run -- COMMAND' to run one");
    if (mOptions.sim && !mOptions.session)
        return fail("--sim needs the session's bus; leave --no-session or --sim out");
    if (mDefaults) {
        mOptions.accounts.emplace_back("alice");
        mOptions.reserved.emplace_back("admin");
    }
    return true;
}

} // namespace

bool readOptions(int count, char* const* arguments, Options& options, std::string& problem)
{
    Parser parser(count, arguments, options);
    const bool good = parser.parse();
    problem = parser.problem;
    return good;
}

std::string helpText()
{
    return R"(usage: kelaccount-emulator run [options] -- COMMAND [ARGUMENT...]
       kelaccount-emulator serve [options]
       kelaccount-emulator inbox [NAME]

Emulates the account service on this machine, for trying programs out and for tests. Its accounts are
made up, and it keeps their passwords in clear: give it none that is used elsewhere. "run" runs COMMAND in an environment that leads it
there and ends with its exit status; "serve" prints that environment and stays until interrupted.
"inbox", said in that environment, shows the messages that the service sent, or those to one user.

The environment is a device's session of its own: a private bus, the real sign-on daemon with the
plugin for method "zorauth", and a private accounts database. HOME and the XDG folders are empty
ones that vanish at the end. The private bus is the system bus, too: the machine's own modem stays
out of sight.

  --account NAME               make an account with password "secret" and the address
                               NAME@example.org (may be repeated)
  --pre-account MSIN[,USERNAME[,MOBILE[,COUNTRY]]]
                               know the subscriber with this number (may be repeated)
  --sim MCC-MNC-MSIN[,IMEI]    a modem with this SIM in it, such as 244-05-1234567890 (no modem)
  --tag-server                 run kelaccount-tag-server, whose tags spare registrations the captcha
  --reserve NAME               keep a name from being given to anybody (may be repeated)
  --no-default-accounts        without account "alice" and reserved name "admin"
  --database FILE              keep accounts, with their passwords in clear, in an SQLite file that
                               only its owner can read, instead of in memory
  --consumer-key KEY           key that clients sign with (demo-key)
  --consumer-secret-file FILE  file whose first line is the consumer secret (demo-secret)
  --clock-skew SECONDS         move the service's clock
  --fault [COUNT*]FAULT        let a request go wrong (may be repeated; in order, one a request):
                               none, delay=MS, hang, close-before-headers, close-in-headers,
                               close-after-headers, cut-body, wrong-length, short-length,
                               status=NNN, not-xml, huge-body=BYTES, wrong-host
  --refuse                     refuse connections until told to accept
  --proxy-port PORT            port of the proxy (any free one)
  --admin-port PORT            port of the administrative endpoint (any free one)
  --no-session                 without bus, sign-on daemon and accounts database
  --verbose                    one line a request on standard error
  --help, --version

In COMMAND's environment KELACCOUNT_EMULATOR_ADMIN is the address of the administrative endpoint
(POST /faults, /refuse, /accept, /accounts, /pre-accounts, /tokens/expire; GET /faults, /requests,
/accounts, /inbox, /captchas/ID, /health), and KELACCOUNT_EMULATOR_CA a file with the certificate
authority.

Exit status of "run": COMMAND's own; 128 and the signal's number when a signal ended it; 127 when
there is no such command, 126 when it cannot be run, 125 when the emulator cannot start, 2 on misuse.
)";
}

} // namespace KelEmulator
