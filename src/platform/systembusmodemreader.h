// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "platform/modemreader.h"

namespace QtMobility {

/// Asks oFono on the system bus or, where oFono does not answer, ModemManager. Each call takes at
/// most a second (SystemBusQuery). Modems that belong to another device, such as a phone connected
/// over Bluetooth, are left out. Identifiers are never logged.
class SystemBusModemReader : public ModemReader
{
public:
    QVector<ModemDetails> modems() override;
    QVector<SimCard> sims() override;
};

} // namespace QtMobility
