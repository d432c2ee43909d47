// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/emulatorprocess.h"

namespace KelTest {

using ClientRun = ProgramRun;

/// Runs the client with the arguments, in this environment and this change of it; an empty value
/// removes a variable.
class Client
{
public:
    explicit Client(const EnvironmentChange& environment = {});

    void set(const QString& variable, const QString& value) { mEnvironment[variable] = value; }
    ClientRun run(const QStringList& arguments, const QByteArray& input = {}) const;

private:
    EnvironmentChange mEnvironment;
};

} // namespace KelTest
