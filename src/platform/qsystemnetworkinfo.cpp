// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/qsystemnetworkinfo.h"

#include "platform/modemreader.h"

namespace QtMobility {

QSystemNetworkInfo::QSystemNetworkInfo(QObject* parent)
    : QObject(parent), mModemReader(makeModemReader())
{
}

QSystemNetworkInfo::~QSystemNetworkInfo() = default;

QString QSystemNetworkInfo::homeMobileCountryCode()
{
    return homeSim(mModemReader->sims()).homeCountryCode;
}

QString QSystemNetworkInfo::homeMobileNetworkCode()
{
    return homeSim(mModemReader->sims()).homeNetworkCode;
}

} // namespace QtMobility
