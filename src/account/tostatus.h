// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/errorstatus.h>

namespace KelAccount {

/// Statuses travel as numbers inside the library; some have no member.
inline ErrorStatus toStatus(int status)
{
    return static_cast<ErrorStatus>(status);
}

} // namespace KelAccount
