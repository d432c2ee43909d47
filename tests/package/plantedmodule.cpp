// SPDX-License-Identifier: LGPL-2.1-or-later
// What somebody left where the library must not look for its modules. Being loaded ends the
// process.
#include <unistd.h>

namespace {

[[gnu::constructor]] void sayThatItWasLoaded()
{
    _exit(99);
}

} // namespace
