// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/deviceinfoutil.h"

#include "platform/modemreader.h"
#include "platform/qsystemdeviceinfo.h"
#include "platform/qsysteminfo.h"
#include "platform/qsystemnetworkinfo.h"

#include <QCryptographicHash>

namespace KelRestHandler {

using QtMobility::QSystemDeviceInfo;

namespace {

QString msinOf(const QString& imsi, const QString& mcc, const QString& mnc)
{
    const int homeLength = mcc.size() + mnc.size();
    return homeLength > 0 ? imsi.mid(homeLength) : QString();
}

QByteArray hashOf(const QString& msin)
{
    return QCryptographicHash::hash(msin.toUtf8(), QCryptographicHash::Sha1);
}

} // namespace

DeviceInfoUtil::DeviceInfoUtil(QObject* parent)
    : QObject(parent), deviceInfo(new QSystemDeviceInfo(this)),
      networkInfo(new QtMobility::QSystemNetworkInfo(this)),
      systemInfo(new QtMobility::QSystemInfo(this))
{
}

QString DeviceInfoUtil::deviceIMEI()
{
    return deviceInfo ? deviceInfo->imei() : QString();
}

QString DeviceInfoUtil::deviceIMSI()
{
    return deviceInfo ? deviceInfo->imsi() : QString();
}

QString DeviceInfoUtil::deviceMCC()
{
    return networkInfo ? networkInfo->homeMobileCountryCode() : QString();
}

QString DeviceInfoUtil::deviceMNC()
{
    return networkInfo ? networkInfo->homeMobileNetworkCode() : QString();
}

QString DeviceInfoUtil::deviceCountry()
{
    return systemInfo ? systemInfo->currentCountryCode() : QString();
}

QString DeviceInfoUtil::deviceMSIN()
{
    const QString imsi = deviceIMSI();
    // No other reading can change the answer, and each may have to wait for a service that hangs.
    return imsi.isEmpty() ? QString() : msinOf(imsi, deviceMCC(), deviceMNC());
}

QByteArray DeviceInfoUtil::hashedMsin()
{
    return hashOf(deviceMSIN());
}

SimFacts DeviceInfoUtil::simFacts()
{
    const QtMobility::SimCard sim = homeSim(QtMobility::makeModemReader()->sims());
    return {sim.homeCountryCode, sim.homeNetworkCode,
            hashOf(msinOf(sim.imsi, sim.homeCountryCode, sim.homeNetworkCode))};
}

bool DeviceInfoUtil::simStatus()
{
    if (!deviceInfo)
        return false;
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
