// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/systembusmodemreader.h"

#include "platform/modemmanager.h"
#include "platform/ofono.h"

namespace QtMobility {

QVector<ModemDetails> SystemBusModemReader::modems()
{
    SystemBusQuery query;
    if (const auto modems = Ofono::modems(query))
        return *modems;
    return ModemManager::modems(query).value_or(QVector<ModemDetails>());
}

QVector<SimCard> SystemBusModemReader::sims()
{
    SystemBusQuery query;
    if (const auto sims = Ofono::sims(query))
        return *sims;
    return ModemManager::sims(query).value_or(QVector<SimCard>());
}

} // namespace QtMobility
