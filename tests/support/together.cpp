// SPDX-License-Identifier: LGPL-2.1-or-later
// The main() of a program that holds several tests: its first argument is the name of one, and Qt
// Test has the rest.
#include "support/kepttests.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace {

using Run = int (*)(int, char**);

std::map<std::string, Run>& tests()
{
    static std::map<std::string, Run> kept;
    return kept;
}

std::string nameOf(const std::string& file)
{
    const std::size_t begin = file.find_last_of('/') + 1; // 0 after npos
    return file.substr(begin, file.find_last_of('.') - begin);
}

} // namespace

bool KelTest::keepTest(const char* file, int (*run)(int, char**))
{
    if (tests().emplace(nameOf(file), run).second)
        return true;
    std::fprintf(stderr, "There are two tests in %s\n", file);
    std::abort();
}

int main(int argc, char** argv)
{
    const auto test = argc > 1 ? tests().find(argv[1]) : tests().end();
    if (test != tests().end())
        return test->second(argc - 1, argv + 1);
    std::fprintf(stderr, "usage: %s TEST [ARGUMENTS-OF-QT-TEST...]\nThe tests:\n", argv[0]);
    for (const auto& known : tests())
        std::fprintf(stderr, "  %s\n", known.first.c_str());
    return 2;
}
