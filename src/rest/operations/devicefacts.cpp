// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/devicefacts.h"

#include "device/deviceinfoutil.h"

namespace KelRestHandler {

DeviceFacts DeviceFacts::read()
{
    DeviceInfoUtil device;
    const QString imei = device.deviceIMEI();
    const SimFacts sim = device.simFacts();
    return {imei, sim.mcc, sim.mnc, sim.hashedMsin};
}

} // namespace KelRestHandler
