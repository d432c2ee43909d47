// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/qsystemdeviceinfo.h"

#include "platform/devicenames.h"
#include "platform/modemreader.h"

#include <algorithm>

namespace QtMobility {

QSystemDeviceInfo::QSystemDeviceInfo(QObject* parent)
    : QObject(parent), mModemReader(makeModemReader())
{
}

QSystemDeviceInfo::~QSystemDeviceInfo() = default;

QString QSystemDeviceInfo::imei()
{
    const QVector<ModemDetails> modems = mModemReader->modems();
    for (const ModemDetails& modem : modems) {
        if (!modem.imei.isEmpty())
            return modem.imei;
    }
    return {};
}

QString QSystemDeviceInfo::imsi()
{
    return homeSim(mModemReader->sims()).imsi;
}

QSystemDeviceInfo::SimStatus QSystemDeviceInfo::simStatus()
{
    const QVector<SimCard> sims = mModemReader->sims();
    if (sims.isEmpty())
        return SimNotAvailable;
    if (std::all_of(sims.begin(), sims.end(), [](const SimCard& sim) { return sim.locked; }))
        return SimLocked;
    return sims.size() == 1 ? SingleSimAvailable : DualSimAvailable;
}

QString QSystemDeviceInfo::manufacturer()
{
    return names().manufacturer;
}

QString QSystemDeviceInfo::model()
{
    return names().model;
}

DeviceNames QSystemDeviceInfo::names()
{
    const DeviceNames hardware = deviceNames();
    if (!hardware.manufacturer.isEmpty() || !hardware.model.isEmpty())
        return hardware;
    const ModemDetails modem = mModemReader->modems().value(0);
    return {modem.manufacturer, modem.model};
}

} // namespace QtMobility
