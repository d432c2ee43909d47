// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/devicecountrypicker.h"

#include "device/deviceinfoutil.h"
#include "device/mcccountrycodeconverter.h"
#include "platform/mgconfitem.h"

#include <QStringList>

DeviceCountryPicker::DeviceCountryPicker(QObject* parent) : QObject(parent)
{
}

QString DeviceCountryPicker::deviceCountry()
{
    KelRestHandler::DeviceInfoUtil device;
    // No way back to the region: someone with a SIM of an unknown network is not at home there.
    if (device.simStatus())
        return convertMccToCountryCode(device.deviceMCC());
    return regionConfiguredOnDevice();
}

QString DeviceCountryPicker::regionConfiguredOnDevice()
{
    const MGConfItem region(QStringLiteral("/meegotouch/i18n/region"));
    const QStringList parts = region.value().toString().split(QLatin1Char('_'));
    // Locale names are in the local 8-bit encoding; what that lacks becomes a question mark.
    return QString::fromLocal8Bit(parts.constLast().toLocal8Bit());
}

QString DeviceCountryPicker::convertMccToCountryCode(QString mcc)
{
    return MccCountryCodeConverter().countryCode(mcc);
}
