// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QString>

/// The device's country as an ISO 3166-1 alpha-2 code.
class DeviceCountryPicker : public QObject
{
    Q_OBJECT

public:
    explicit DeviceCountryPicker(QObject* parent = nullptr);

    /// With a SIM, usable or locked, the country of its home network, or nothing when that is
    /// unknown; without one, regionConfiguredOnDevice(). Takes at most two seconds, when the
    /// modem's service hangs.
    QString deviceCountry();

    /// What follows the last "_" in the user interface's region setting; the whole of it when it
    /// has none; empty when it is unset.
    QString regionConfiguredOnDevice();

    /// Empty for an unknown code.
    QString convertMccToCountryCode(QString mcc);
};
