// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QtGlobal>

namespace KelAccount {

/// What results have besides what applications can see of them.
class LaterFields
{
public:
    explicit LaterFields(quint64 recordedCall) : call(recordedCall) {}

    const quint64 call; ///< as the orchestrator numbers it
};

} // namespace KelAccount
