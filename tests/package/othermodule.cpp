// SPDX-License-Identifier: LGPL-2.1-or-later
// What another version of the library has in the place of its modules: functions of the same names,
// of which nobody knows what they take and return.
#include <cstdio>
#include <unistd.h>

namespace {

void sayThatItWasCalled(const char* function)
{
    char line[80];
    std::snprintf(line, sizeof line, "%s of another version was called\n", function);
    std::fputs(line, stderr);
}

} // namespace

extern "C" {
#ifndef KEL_SAYS_NO_VERSION
[[gnu::visibility("default")]] extern const char kelaccountModuleVersion[];
const char kelaccountModuleVersion[] = "0.9.0";
#endif

[[gnu::visibility("default")]] void kelaccount_device_accounts()
{
    sayThatItWasCalled("kelaccount_device_accounts");
    _exit(98);
}

[[gnu::visibility("default")]] void kelaccount_configuration_value()
{
    sayThatItWasCalled("kelaccount_configuration_value");
    _exit(98);
}
}
