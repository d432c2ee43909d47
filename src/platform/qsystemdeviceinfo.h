// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QString>

#include <memory>

namespace QtMobility {

class ModemReader;
struct DeviceNames;

/// The device and its SIM. Every call reads the platform afresh; what it does not say is empty.
class QSystemDeviceInfo : public QObject
{
    Q_OBJECT

public:
    enum SimStatus {
        SimNotAvailable = 0,
        SingleSimAvailable = 1,
        DualSimAvailable = 2, ///< two SIMs or more, of which one is usable
        SimLocked = 3         ///< every SIM asks for its PIN
    };

    explicit QSystemDeviceInfo(QObject* parent = nullptr);
    ~QSystemDeviceInfo() override;

    QString imei();
    QString imsi(); ///< of the SIM that homeSim() chooses
    SimStatus simStatus();

    /// As the device tree or DMI has them; the first modem's where neither knows the device.
    DeviceNames names();
    QString manufacturer();
    QString model();

private:
    std::unique_ptr<ModemReader> mModemReader;
};

} // namespace QtMobility
