// SPDX-License-Identifier: LGPL-2.1-or-later
// Does what memcheck is there to find, as its argument says.
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The compiler finds it, too, when it knows that these are one block.
char* volatile block;

} // namespace

int main(int argc, char** argv)
{
    const char* const what = argc > 1 ? argv[1] : "";
    block = static_cast<char*>(std::malloc(100));
    if (std::strcmp(what, "reads") == 0 && block[7] == 'x')
        std::puts("by chance");
    if (std::strcmp(what, "loses") != 0)
        std::free(block);
    block = nullptr;
    return std::strcmp(what, "fails") == 0 ? 3 : 0;
}
