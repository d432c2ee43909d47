// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "platform/modemreader.h"
#include "platform/systembusquery.h"

#include <optional>

/// ModemManager's answers; nothing when it does not run or does not answer in time.
namespace QtMobility::ModemManager {

std::optional<QVector<ModemDetails>> modems(SystemBusQuery& query);
std::optional<QVector<SimCard>> sims(SystemBusQuery& query);

} // namespace QtMobility::ModemManager
