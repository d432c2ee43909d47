// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/modem/modem.h"
#include "tools/commandline/reader.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>

#include <cstdio>

namespace {

std::string simProblem(const std::string& text)
{
    std::string why;
    return KelEmulator::readSim(text, why) ? std::string() : "cannot take '" + text + "': " + why;
}

const CommandLine::Program& modemProgram()
{
    static const CommandLine::Program program = {
        "kelaccount-modem",
        KELACCOUNT_VERSION,
        "stand in for a handset's modem",
        "Is oFono on the system bus (DBUS_SYSTEM_BUS_ADDRESS), with one modem and this SIM in it, "
        "until a signal ends it. Writes \"ready\" to standard output once it can be asked.",
        {},
        {{{"MCC-MNC-MSIN[,IMEI]", simProblem},
          "the SIM's IMSI in its three parts, and the modem's IMEI"}},
        {},
        {{"Exit status",
          {{"1", "it cannot appear on the bus"},
           {"2", "misuse"},
           {"4", "the output cannot be written"}}}},
        "244-05-1234567890",
        {"kelaccount-emulator"},
    };
    return program;
}

int fail(int status, const char* text)
{
    std::fprintf(stderr, "kelaccount-modem: %s\n", text);
    return status;
}

} // namespace

int main(int count, char** arguments)
{
    CommandLine::Line line;
    if (const auto status = CommandLine::answer(modemProgram(), count, arguments, line))
        return *status;
    std::string problem;
    const auto sim = KelEmulator::readSim(line.arguments.front(), problem);

    const QCoreApplication application(count, arguments);
    KelEmulator::Modem modem(*sim);
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!modem.appearOn(bus)) {
        const QString reason = bus.lastError().message();
        return fail(1, reason.isEmpty() ? "somebody else is org.ofono on this bus"
                                        : reason.toLocal8Bit().constData());
    }
    if (const int status = CommandLine::printed(modemProgram(), "ready\n"))
        return status;
    return QCoreApplication::exec();
}
