// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/deviceinfoutil.h"

#include "platform/qsystemdeviceinfo.h"
#include "platform/qsysteminfo.h"
#include "platform/qsystemnetworkinfo.h"

#include <QCryptographicHash>

namespace KelRestHandler {

using QtMobility::QSystemDeviceInfo;

DeviceInfoUtil::DeviceInfoUtil(QObject* parent)
    : QObject(parent), deviceInfo(new QSystemDeviceInfo(this)),
      networkInfo(new QtMobility::QSystemNetworkInfo(this)),
      systemInfo(new QtMobility::QSystemInfo(this))
{
}

QString DeviceInfoUtil::deviceIMEI()
{
    return deviceInfo->imei();
}

QString DeviceInfoUtil::deviceIMSI()
{
    return deviceInfo->imsi();
}

QString DeviceInfoUtil::deviceMCC()
{
    return networkInfo->homeMobileCountryCode();
}

QString DeviceInfoUtil::deviceMNC()
{
    return networkInfo->homeMobileNetworkCode();
}

QString DeviceInfoUtil::deviceCountry()
{
    return systemInfo->currentCountryCode();
}

QString DeviceInfoUtil::deviceMSIN()
{
    const QString imsi = deviceIMSI();
    // No other reading can change the answer, and each may have to wait for a service that hangs.
    if (imsi.isEmpty())
        return {};
    const int homeLength = deviceMCC().size() + deviceMNC().size();
    return homeLength > 0 && homeLength < imsi.size() ? imsi.mid(homeLength) : QString();
}

QByteArray DeviceInfoUtil::hashedMsin()
{
    return QCryptographicHash::hash(deviceMSIN().toUtf8(), QCryptographicHash::Sha1);
}

bool DeviceInfoUtil::simStatus()
{
    switch (deviceInfo->simStatus()) {
    case QSystemDeviceInfo::SingleSimAvailable:
    case QSystemDeviceInfo::DualSimAvailable:
    case QSystemDeviceInfo::SimLocked:
        return true;
    case QSystemDeviceInfo::SimNotAvailable:
        break;
    }
    return false;
}

} // namespace KelRestHandler
