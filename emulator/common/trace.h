// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

namespace KelEmulator {

/// How a request was judged, step by step, for people. Nothing secret is in it.
struct Trace
{
    struct Step
    {
        std::string name;
        std::string detail;
        bool good = true;
    };
    std::vector<Step> steps; ///< the last one is what it was refused for, if it was
    std::string document;    ///< as it came, secrets masked

    void passed(const char* name, std::string detail = {})
    {
        steps.push_back({name, std::move(detail), true});
    }
};

} // namespace KelEmulator
