// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/clientrun.h"

#include "support/literals.h"

namespace KelTest {

Client::Client(const EnvironmentChange& environment) : mEnvironment(environment)
{
    set("KELACCOUNT_CONSUMER_KEY"_s, "demo-key"_s);
    set("KELACCOUNT_CONSUMER_SECRET"_s, "demo-secret"_s);
    set("LC_ALL"_s, "C.UTF-8"_s);
}

ClientRun Client::run(const QStringList& arguments, const QByteArray& input) const
{
    return runProgram(QStringLiteral(KELACCOUNT_CLIENT_PROGRAM), arguments, mEnvironment, input);
}

} // namespace KelTest
