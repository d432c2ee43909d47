// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/responseroots.h"

#include "rest/operations/all.h"

#include <algorithm>
#include <utility>

namespace KelRestHandler {

namespace {

// Part of the service's interface that no operation uses today.
constexpr char guardianToken[] = "guardianTokenCreationResponse";

template <class Roots>
bool contains(const Roots& roots, const QString& tag)
{
    return std::any_of(roots.begin(), roots.end(),
                       [&](const char* root) { return tag == QLatin1String(root); });
}

template <int... index>
bool isRootOfAny(const QString& tag, std::integer_sequence<int, index...> /*all*/)
{
    return (contains(Description<NetRequestType(firstNetRequestType + index)>::roots, tag) || ...);
}

} // namespace

bool isResponseRoot(const QString& tag)
{
    constexpr int count = lastNetRequestType - firstNetRequestType + 1;
    return tag == QLatin1String(guardianToken) ||
           isRootOfAny(tag, std::make_integer_sequence<int, count>());
}

} // namespace KelRestHandler
