// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/devicedescription.h"

#include "platform/devicenames.h"
#include "platform/qsystemdeviceinfo.h"
#include "platform/qsysteminfo.h"

namespace KelRestHandler {

namespace {

constexpr int longestHeaderText = 64;

bool isPrintableLatin1(QChar character)
{
    const ushort code = character.unicode();
    return (code >= 0x20 && code <= 0x7E) || (code >= 0xA0 && code <= 0xFF);
}

} // namespace

QString headerText(const QString& text)
{
    QString printable;
    const QString words = text.simplified();
    for (const QChar character : words) {
        if (isPrintableLatin1(character))
            printable.append(character);
        if (printable.size() == longestHeaderText)
            break;
    }
    return printable.simplified();
}

DeviceDescription readDeviceDescription()
{
    QtMobility::QSystemInfo system;
    // One reading for both: it may have to ask for the modems.
    const QtMobility::DeviceNames names = QtMobility::QSystemDeviceInfo().names();
    return {headerText(names.manufacturer), headerText(names.model),
            headerText(system.version(QtMobility::QSystemInfo::Firmware))};
}

} // namespace KelRestHandler
