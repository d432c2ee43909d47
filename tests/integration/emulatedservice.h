// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/emulatorprocess.h"

#include <QByteArray>

/// The emulator that this program runs in.
namespace KelTest::EmulatedService {

inline AdminReply ask(const char* method, const char* path, const QByteArray& body = {})
{
    return askAdministration(qEnvironmentVariable("KELACCOUNT_EMULATOR_ADMIN"), method,
                             QString::fromLatin1(path), body);
}

/// False in a program that was not started by "kelaccount-emulator run".
inline bool isThere()
{
    return ask("GET", "/health").status == 200;
}

/// One a line.
inline bool orderFaults(const QByteArray& faults)
{
    return ask("POST", "/faults", faults).status == 200;
}

inline QByteArray faultsLeft()
{
    return ask("GET", "/faults").body;
}

} // namespace KelTest::EmulatedService
