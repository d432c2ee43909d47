// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/qsystemdeviceinfo.h"

#include "platform/devicenames.h"

namespace QtMobility {

QSystemDeviceInfo::QSystemDeviceInfo(QObject* parent) : QObject(parent)
{
}

QString QSystemDeviceInfo::manufacturer()
{
    return deviceNames().manufacturer;
}

QString QSystemDeviceInfo::model()
{
    return deviceNames().model;
}

} // namespace QtMobility
