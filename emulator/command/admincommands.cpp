// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/command/admincommands.h"

#include "emulator/command/options.h"
#include "emulator/common/log.h"
#include "emulator/common/percentencoding.h"
#include "emulator/run/command.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <httplib.h>
#include <sstream>
#include <thread>

namespace KelEmulator {

namespace {

constexpr const char* addressVariable = "KELACCOUNT_EMULATOR_ADMIN";

/// Ends a command with a line on standard error.
struct Failure
{
    int status;
    std::string problem;
};

/// Text of somebody's for a terminal.
std::string printable(const QJsonValue& value)
{
    return CommandLine::printable(value.toString().toStdString());
}

std::string described(const QJsonObject& message)
{
    const auto value = [&message](const char* name) {
        return printable(message.value(QLatin1String(name)));
    };
    std::string text = "To:   " + value("recipient") + " (" + value("user") + ")\n" +
                       "Sent: " + value("sent") + '\n';
    const QStringList lines =
        message.value(QLatin1String("text")).toString().split(QLatin1Char('\n'));
    for (const QString& line : lines)
        text += "\n    " + printable(line);
    return text + '\n';
}

/// The emulator that the environment names.
class Endpoint
{
public:
    Endpoint()
    {
        const char* const address = std::getenv(addressVariable);
        if (!address || !*address)
            throw Failure{Command::cannotStart,
                          std::string(addressVariable) +
                              " is not set: say it inside the emulator (run, or serve's "
                              "environment)"};
        mAddress = address;
    }

    std::string ask(const char* method, const std::string& path, const std::string& body = {})
    {
        httplib::Client client(mAddress);
        client.set_connection_timeout(5);
        // A modem that is started anew takes its time.
        client.set_read_timeout(20);
        httplib::Request request;
        request.method = method;
        request.path = path;
        request.body = body;
        if (request.method != "GET")
            request.set_header("Content-Type", "text/plain");
        const auto answer = client.send(request);
        if (!answer || answer->status == 403)
            throw Failure{Command::cannotStart, "no emulator answers at " + mAddress};
        if (answer->status != 200)
            throw Failure{CommandLine::exitMisuse, answer->body.substr(0, answer->body.find('\n'))};
        return answer->body;
    }

    QJsonArray list(const std::string& path)
    {
        return QJsonDocument::fromJson(QByteArray::fromStdString(ask("GET", path))).array();
    }

private:
    std::string mAddress;
};

std::string jsonText(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

std::string firstArgument(const CommandLine::Line& line)
{
    return line.arguments.empty() ? std::string() : line.arguments.front();
}

std::string inbox(Endpoint& emulator, const CommandLine::Line& line)
{
    std::string text;
    const QJsonArray messages = emulator.list("/inbox?name=" + percentEncode(firstArgument(line)));
    for (const auto& message : messages)
        text += (text.empty() ? "" : "\n") + described(message.toObject());
    return text.empty() ? "No messages.\n" : text;
}

std::string captcha(Endpoint& emulator, const CommandLine::Line& line)
{
    if (!line.arguments.empty())
        return emulator.ask("GET", "/captchas/" + percentEncode(line.arguments.front()));
    std::string text;
    const QJsonArray captchas = emulator.list("/captchas");
    for (const auto& one : captchas)
        text += printable(one[QStringLiteral("id")]) + ' ' +
                printable(one[QStringLiteral("text")]) + '\n';
    return text.empty() ? "No captchas.\n" : text;
}

std::string fault(Endpoint& emulator, const CommandLine::Line& line)
{
    if (line.has("--clear"))
        emulator.ask("DELETE", "/faults");
    if (!line.arguments.empty())
        emulator.ask("POST", "/faults", line.arguments.front());
    const std::string text = emulator.ask("GET", "/faults");
    return text.empty() ? "No faults.\n" : text;
}

std::string clock(Endpoint& emulator, const CommandLine::Line& line)
{
    QJsonObject order;
    if (line.has("--skew"))
        order.insert(QStringLiteral("skew"),
                     QByteArray::fromStdString(line.value("--skew")).toDouble());
    if (line.has("--speed")) {
        bool isNumber = false;
        const double speed = QByteArray::fromStdString(line.value("--speed")).toDouble(&isNumber);
        if (!isNumber)
            throw Failure{CommandLine::exitMisuse, "--speed needs a number such as 0.5 or 60"};
        order.insert(QStringLiteral("speed"), speed);
    }
    if (line.has("--time"))
        order.insert(QStringLiteral("time"), QString::fromStdString(line.value("--time")));
    return order.isEmpty() ? emulator.ask("GET", "/clock")
                           : emulator.ask("POST", "/clock", jsonText(order));
}

std::string scenario(Endpoint& emulator, const CommandLine::Line& line)
{
    if (line.arguments.empty())
        return emulator.ask("GET", "/scenario");
    std::string text;
    std::string problem;
    if (!findScenario(line.arguments.front(), text, problem))
        throw Failure{CommandLine::exitMisuse, problem};
    return emulator.ask("POST", "/scenario", text);
}

std::string accountList(Endpoint& emulator)
{
    std::string text;
    const QJsonArray accounts = emulator.list("/accounts");
    for (const auto& account : accounts) {
        const auto value = [&account](const char* name) {
            const std::string shown = printable(account[QLatin1String(name)]);
            return shown.empty() ? "-" : shown;
        };
        text += value("accountId") + ' ' + value("userName") + ' ' + value("email") + ' ' +
                value("mobile") + (account[QStringLiteral("locked")].toBool() ? " locked\n" : "\n");
    }
    return text.empty() ? "No accounts.\n" : text;
}

QJsonObject changes(const CommandLine::Line& line)
{
    QJsonObject fields;
    for (const std::string& setting : line.values("--set")) {
        const size_t sign = setting.find('=');
        const std::string value = sign == std::string::npos ? "" : setting.substr(sign + 1);
        const bool isFlag = value == "true" || value == "false";
        fields.insert(QString::fromStdString(setting.substr(0, sign)),
                      isFlag ? QJsonValue(value == "true")
                             : QJsonValue(QString::fromStdString(value)));
    }
    for (const bool locked : {true, false}) {
        if (line.has(locked ? "--lock" : "--unlock"))
            fields.insert(QStringLiteral("locked"), locked);
    }
    return fields;
}

std::string accounts(Endpoint& emulator, const CommandLine::Line& line)
{
    QJsonObject fields = changes(line);
    const bool asksForOne = line.has("--make") || line.has("--delete") || !fields.isEmpty();
    if (line.arguments.empty()) {
        if (asksForOne)
            throw Failure{CommandLine::exitMisuse, "say which account"};
        return accountList(emulator);
    }
    const std::string user = line.arguments.front();
    const std::string path = "/accounts/" + percentEncode(user);
    if (line.has("--make")) {
        if (!fields.contains(QStringLiteral("userName")))
            fields.insert(QStringLiteral("userName"), QString::fromStdString(user));
        return emulator.ask("POST", "/accounts", jsonText(fields));
    }
    if (line.has("--delete"))
        return emulator.ask("DELETE", path);
    return fields.isEmpty() ? emulator.ask("GET", path)
                            : emulator.ask("PATCH", path, jsonText(fields));
}

std::string describedRequest(const QJsonObject& request)
{
    // The log keeps bytes, each as one character.
    const auto value = [&request](const char* name) {
        return CommandLine::printable(
            request.value(QLatin1String(name)).toString().toLatin1().toStdString());
    };
    const auto number = [&request](const char* name) {
        return std::to_string(request.value(QLatin1String(name)).toInt());
    };
    std::string text = number("number") + ' ' + value("verb") + ' ' + value("target") + ": " +
                       number("status") + ' ' + value("outcome");
    for (const char* name : {"fault", "problem"}) {
        if (!value(name).empty())
            text +=
                std::string(", ") + (name == std::string("fault") ? "fault " : "") + value(name);
    }
    return text + '\n';
}

std::string refuse(Endpoint& emulator, const CommandLine::Line&)
{
    return emulator.ask("POST", "/refuse");
}

std::string accept(Endpoint& emulator, const CommandLine::Line&)
{
    return emulator.ask("POST", "/accept");
}

std::string expire(Endpoint& emulator, const CommandLine::Line&)
{
    return emulator.ask("POST", "/tokens/expire");
}

QJsonObject deviceOf(Endpoint& emulator)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(emulator.ask("GET", "/device")))
        .object();
}

/// Takes what stands before the separator, and that.
QString taken(QString& text, QLatin1Char separator)
{
    const QString part = text.section(separator, 0, 0);
    text = text.section(separator, 1);
    return part;
}

void insertText(QJsonObject& object, const char* name, const QString& text)
{
    if (!text.isEmpty())
        object.insert(QLatin1String(name), text);
}

/// The fields of words that were checked when the line was read.
QJsonObject simFields(const CommandLine::Line& line)
{
    QString words = QString::fromStdString(line.arguments.front());
    QJsonObject sim;
    insertText(sim, "mcc", taken(words, QLatin1Char('-')));
    insertText(sim, "mnc", taken(words, QLatin1Char('-')));
    insertText(sim, "msin", taken(words, QLatin1Char(',')));
    insertText(sim, "imei", words);
    if (line.has("--pre-account")) {
        QString held = QString::fromStdString(line.value("--pre-account"));
        QJsonObject preAccount;
        for (const char* name : {"userName", "mobile", "country"})
            insertText(preAccount, name, taken(held, QLatin1Char(',')));
        sim.insert(QStringLiteral("preAccount"), preAccount);
    }
    return sim;
}

std::string sim(Endpoint& emulator, const CommandLine::Line& line)
{
    const bool puts = !line.arguments.empty();
    if (line.has("--remove") && (puts || line.has("--pre-account")))
        throw Failure{CommandLine::exitMisuse, "put a SIM in, or take it out with --remove"};
    if (line.has("--pre-account") && !puts)
        throw Failure{CommandLine::exitMisuse, "say the SIM that the pre-account is for"};
    if (line.has("--remove"))
        return emulator.ask("DELETE", "/sim");
    if (puts)
        return emulator.ask("POST", "/sim", jsonText(simFields(line)));
    const QJsonValue there = deviceOf(emulator).value(QStringLiteral("sim"));
    if (!there.isObject())
        return "No SIM.\n";
    const auto value = [&there](const char* name) { return printable(there[QLatin1String(name)]); };
    return value("mcc") + '-' + value("mnc") + '-' + value("msin") + ',' + value("imei") + '\n';
}

std::string describedTags(const QJsonObject& device)
{
    const QJsonValue tags = device.value(QStringLiteral("tags"));
    if (!tags.isObject())
        return "No tag server.\n";
    if (tags[QStringLiteral("hang")].toBool())
        return "It never answers.\n";
    const QJsonValue code = tags[QStringLiteral("refuse")];
    if (code.isDouble())
        return "It refuses with " + std::to_string(static_cast<long long>(code.toDouble())) + ".\n";
    const std::string tag = printable(tags[QStringLiteral("tag")]);
    return "It issues tags" + (tag.empty() ? "" : ": " + tag) + ".\n";
}

std::string tags(Endpoint& emulator, const CommandLine::Line& line)
{
    if (line.options.empty())
        return describedTags(deviceOf(emulator));
    if (line.options.size() > 1)
        throw Failure{CommandLine::exitMisuse, "give one option: a tag server does one thing"};
    if (line.has("--remove"))
        return emulator.ask("DELETE", "/tags");
    QJsonObject order;
    insertText(order, "tag", QString::fromStdString(line.value("--tag")));
    if (line.has("--refuse"))
        order.insert(QStringLiteral("refuse"),
                     QByteArray::fromStdString(line.value("--refuse")).toDouble());
    if (line.has("--hang"))
        order.insert(QStringLiteral("hang"), true);
    return emulator.ask("POST", "/tags", jsonText(order));
}

/// Text that the log keeps as bytes, each as one character; its lines stay lines.
std::string loggedText(const QJsonValue& value)
{
    std::string text;
    const QStringList lines = value.toString().split(QLatin1Char('\n'));
    for (const QString& line : lines)
        text += CommandLine::printable(line.toLatin1().toStdString()) + '\n';
    return text;
}

/// How one request was judged, and its documents.
std::string requestDetail(Endpoint& emulator, const std::string& number)
{
    const QJsonObject detail =
        QJsonDocument::fromJson(
            QByteArray::fromStdString(emulator.ask("GET", "/requests/" + number)))
            .object();
    std::string text;
    const QJsonArray steps = detail.value(QStringLiteral("steps")).toArray();
    for (const auto& step : steps) {
        text += (step[QStringLiteral("good")].toBool() ? "Good: " : "Failed: ") +
                loggedText(step[QStringLiteral("name")]);
        if (!step[QStringLiteral("detail")].toString().isEmpty())
            text += "    " + loggedText(step[QStringLiteral("detail")]);
    }
    for (const char* name : {"document", "reply"}) {
        const QJsonValue document = detail.value(QLatin1String(name));
        text += (name == std::string("document") ? "\nDocument in:\n" : "\nDocument out:\n") +
                (document.toString().isEmpty() ? "none\n" : loggedText(document));
    }
    return text;
}

/// Prints what is there, and with "-f" what comes, until it is interrupted or the emulator is gone.
int followLog(Endpoint& emulator, bool goesOn)
{
    constexpr auto pause = std::chrono::milliseconds(200);
    int last = 0;
    for (;;) {
        std::string text;
        const QJsonArray requests = emulator.list("/requests?after=" + std::to_string(last));
        for (const auto& request : requests) {
            last = request[QStringLiteral("number")].toInt();
            text += describedRequest(request.toObject());
        }
        if (!goesOn && text.empty())
            text = "No requests.\n";
        const int status = CommandLine::printed(emulatorProgram(), text);
        if (status != 0 || !goesOn)
            return status;
        std::this_thread::sleep_for(pause);
    }
}

struct AdminCommand
{
    const char* name;
    std::string (*text)(Endpoint& emulator, const CommandLine::Line& line);
};

constexpr AdminCommand adminCommands[] = {
    {"inbox", inbox},       {"captcha", captcha},   {"fault", fault},   {"clock", clock},
    {"scenario", scenario}, {"accounts", accounts}, {"refuse", refuse}, {"accept", accept},
    {"expire", expire},     {"sim", sim},           {"tags", tags},
};

} // namespace

int askEmulator(const CommandLine::Line& line)
{
    try {
        Endpoint emulator;
        if (line.command == "log" && line.arguments.size() + line.options.size() > 1)
            throw Failure{CommandLine::exitMisuse, "give one: a number, --follow or --forget"};
        if (line.command == "log" && line.has("--forget"))
            return CommandLine::printed(emulatorProgram(), emulator.ask("DELETE", "/requests"));
        if (line.command == "log" && !line.arguments.empty())
            return CommandLine::printed(emulatorProgram(),
                                        requestDetail(emulator, line.arguments.front()));
        if (line.command == "log")
            return followLog(emulator, line.has("--follow"));
        for (const AdminCommand& command : adminCommands) {
            if (line.command == command.name)
                return CommandLine::printed(emulatorProgram(), command.text(emulator, line));
        }
    } catch (const Failure& failure) {
        logLine(failure.problem);
        return failure.status;
    }
    return CommandLine::exitMisuse;
}

} // namespace KelEmulator
