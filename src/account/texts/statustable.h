// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QtGlobal>

namespace KelAccount {

struct StatusRow
{
    int status;
    bool isRetryable;
    const char* field;
    /// English, and the key of its translations in the context `statusContext`.
    const char* text;
};

constexpr char statusContext[] = "KelAccount::StatusText";

/// The row of a status; of one that has none, a row for all like it.
const StatusRow& statusRow(int status);

} // namespace KelAccount
