// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

namespace fleet {

struct Curve
{
    std::string name;
    std::vector<double> values; ///< one a second
};

struct Panel
{
    std::string title;
    std::vector<Curve> curves;
};

/// Panels below one another, a value a second from `first` on, upwards in powers of ten; `limit` is
/// drawn across. `zero` is the second that is called 0.
std::string drawn(const std::vector<Panel>& panels, int first, int zero, double limit,
                  const std::string& limitName);

} // namespace fleet
