// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/qsysteminfo.h"

#include "platform/devicenames.h"

#include <QLocale>
#include <QSysInfo>

namespace QtMobility {

QSystemInfo::QSystemInfo(QObject* parent) : QObject(parent)
{
}

QString QSystemInfo::version(Version type)
{
    switch (type) {
    case Os:
        return QSysInfo::kernelVersion();
    case QtCore:
        return QLatin1String(qVersion());
    case Firmware:
        return firmwareVersion();
    }
    return {};
}

QString QSystemInfo::currentCountryCode() const
{
    // language, underscore, country
    return QLocale::system().name().section(QLatin1Char('_'), 1, 1);
}

} // namespace QtMobility
