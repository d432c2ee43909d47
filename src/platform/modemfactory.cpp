// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/systembusmodemreader.h"

namespace QtMobility {

std::unique_ptr<ModemReader> makeModemReader()
{
    return std::make_unique<SystemBusModemReader>();
}

} // namespace QtMobility
