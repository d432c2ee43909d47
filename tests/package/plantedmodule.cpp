// SPDX-License-Identifier: LGPL-2.1-or-later
// What somebody left where the library must not look for its modules. Being loaded ends the
// process.
#include <cstdio>
#include <dlfcn.h>
#include <unistd.h>

namespace {

[[gnu::constructor]] void sayThatItWasLoaded()
{
    Dl_info self = {};
    if (dladdr(reinterpret_cast<const void*>(&sayThatItWasLoaded), &self) != 0)
        std::fprintf(stderr, "%s was loaded\n", self.dli_fname);
    _exit(99);
}

} // namespace
