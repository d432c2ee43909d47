// SPDX-License-Identifier: LGPL-2.1-or-later
// What somebody left where the library must not look for its modules. Being loaded ends the
// process.
#include <cstdio>
#include <dlfcn.h>
#include <unistd.h>

namespace {

const char* ownFile()
{
    Dl_info self = {};
    return dladdr(reinterpret_cast<const void*>(&ownFile), &self) != 0 ? self.dli_fname : "?";
}

[[gnu::constructor]] void sayThatItWasLoaded()
{
    std::fprintf(stderr, "%s was loaded\n", ownFile());
    _exit(99);
}

} // namespace
