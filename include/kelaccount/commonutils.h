// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/export.h>

#include <QString>

/// Helpers for programs that report what the library answered. Stateless, usable on any thread.
class KELACCOUNT_EXPORT CommonUtils
{
public:
    /// Symbolic name of a status for logs: "ZorKeLDefs::" and the member's name, or
    /// "ZorKelDefs::Error" and the number for a value without a member.
    static QString ConvertErrorCodeToString(int code);
};
