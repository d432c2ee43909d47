// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"

namespace KelEmulator {

namespace {

/// What every account is good for.
constexpr const char* services[] = {"contacts", "sync"};

} // namespace

Reply profileQuery(const Call& call)
{
    std::string list;
    for (const char* service : services)
        list += xmlElement("service", service);
    return success("profileQueryResponse",
                   profileElement("profile", call.account) + enclosed("services", list));
}

} // namespace KelEmulator
