// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QString>

namespace KelRestHandler {

/// What some requests say about the device and its SIM, as of the moment of reading.
struct DeviceFacts
{
    QString imei;
    QString mcc; ///< of the SIM's home network
    QString mnc;
    QByteArray hashedMsin; ///< SHA-1, 20 raw bytes; the number itself never leaves the device

    /// Asks the modem. A modem service that hangs costs two seconds, not one for each fact.
    static DeviceFacts read();
};

} // namespace KelRestHandler
