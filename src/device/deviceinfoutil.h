// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>

namespace QtMobility {
class QSystemDeviceInfo;
class QSystemInfo;
class QSystemNetworkInfo;
} // namespace QtMobility

namespace KelRestHandler {

/// The SIM whose subscriber the device acts for, as of one reading.
struct SimFacts
{
    QString mcc; ///< of its home network
    QString mnc;
    QByteArray hashedMsin; ///< as DeviceInfoUtil::hashedMsin()
};

/// Facts about the handset and its SIM. Nothing is cached: every call reads the platform, so an
/// instance is made where it is needed and dropped after use. What the platform does not say is
/// empty. Each reading of a modem fact takes at most a second, when the modem's service hangs.
class DeviceInfoUtil : public QObject
{
    Q_OBJECT

public:
    explicit DeviceInfoUtil(QObject* parent = nullptr);

    QString deviceIMEI();
    QString deviceIMSI();
    QString deviceMCC(); ///< of the SIM's home network, not the one in use
    QString deviceMNC();
    QString deviceCountry(); ///< of the system's locale; DeviceCountryPicker knows more

    /// The IMSI without MCC and MNC; empty when it is not longer than these, or both are empty. Up
    /// to three readings; one that finds no IMSI is the last.
    QString deviceMSIN();

    /// SHA-1 over the UTF-8 bytes of the MSIN, 20 raw bytes. The MSIN itself never leaves the
    /// device.
    QByteArray hashedMsin();

    /// deviceMCC(), deviceMNC() and hashedMsin() in one reading.
    SimFacts simFacts();

    /// Whether there is a SIM; a locked one counts.
    bool simStatus();

private:
    // Children of this object. Who deletes one takes its facts away; they are empty then.
    QPointer<QtMobility::QSystemDeviceInfo> deviceInfo;
    QPointer<QtMobility::QSystemNetworkInfo> networkInfo;
    QPointer<QtMobility::QSystemInfo> systemInfo;
};

} // namespace KelRestHandler
