// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/modem/modem.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>

#include <cstdio>
#include <cstring>

namespace {

constexpr const char* usage =
    "usage: kelaccount-modem MCC-MNC-MSIN[,IMEI]\n"
    "Is oFono on the system bus (DBUS_SYSTEM_BUS_ADDRESS), with one modem and this SIM in it, "
    "until\n"
    "a signal ends it. Writes \"ready\" to standard output once it can be asked.\n";

int fail(int status, const char* text)
{
    std::fprintf(stderr, "kelaccount-modem: %s\n", text);
    return status;
}

} // namespace

int main(int count, char** arguments)
{
    if (count == 2 && std::strcmp(arguments[1], "--help") == 0) {
        std::fputs(usage, stdout);
        return 0;
    }
    if (count != 2)
        return fail(2, "say whose SIM: kelaccount-modem MCC-MNC-MSIN[,IMEI]");
    std::string problem;
    const auto sim = KelEmulator::readSim(arguments[1], problem);
    if (!sim)
        return fail(2, problem.c_str());

    const QCoreApplication application(count, arguments);
    KelEmulator::Modem modem(*sim);
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!modem.appearOn(bus)) {
        const QString reason = bus.lastError().message();
        return fail(1, reason.isEmpty() ? "somebody else is org.ofono on this bus"
                                        : reason.toLocal8Bit().constData());
    }
    std::puts("ready");
    std::fflush(stdout);
    return QCoreApplication::exec();
}
