// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/devicefacts.h"

#include "device/deviceinfoutil.h"

#include <QCryptographicHash>

namespace KelRestHandler {

DeviceFacts DeviceFacts::read()
{
    DeviceInfoUtil device;
    DeviceFacts facts;
    facts.imei = device.deviceIMEI();
    facts.mcc = device.deviceMCC();
    // A SIM that does not tell its country tells nothing else: then there is no number to hash.
    if (facts.mcc.isEmpty()) {
        facts.hashedMsin = QCryptographicHash::hash(QByteArray(), QCryptographicHash::Sha1);
        return facts;
    }
    facts.mnc = device.deviceMNC();
    facts.hashedMsin = device.hashedMsin();
    return facts;
}

} // namespace KelRestHandler
