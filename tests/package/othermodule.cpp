// SPDX-License-Identifier: LGPL-2.1-or-later
// What another version of the library has in the place of its modules: functions of the same names,
// of which nobody knows what they take and return.
#include <unistd.h>

extern "C" {
[[gnu::visibility("default")]] extern const char kelaccountModuleVersion[];
const char kelaccountModuleVersion[] = "0.9.0";

[[gnu::visibility("default")]] void kelaccount_device_accounts()
{
    _exit(98);
}

[[gnu::visibility("default")]] void kelaccount_configuration_value()
{
    _exit(98);
}
}
