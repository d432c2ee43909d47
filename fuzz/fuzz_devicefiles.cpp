// SPDX-License-Identifier: LGPL-2.1-or-later
// The files that describe the device, each behind its size, and a country code as the modem tells
// it.
#include "bytesource.h"
#include "fuzztarget.h"
#include "surroundings.h"

#include "device/mcccountrycodeconverter.h"
#include "platform/devicenames.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace KelFuzz::DeviceFiles {

namespace {

constexpr const char* paths[] = {
    "proc/device-tree/model",
    "proc/device-tree/compatible",
    "sys/class/dmi/id/sys_vendor",
    "sys/class/dmi/id/product_name",
    "etc/os-release",
    "usr/lib/os-release",
};

const QTemporaryDir& folder()
{
    static const QTemporaryDir made;
    static const bool filled = [] {
        for (const char* path : paths)
            QDir().mkpath(QFileInfo(made.filePath(QLatin1String(path))).path());
        return true;
    }();
    Q_UNUSED(filled)
    return made;
}

void write(const char* path, const QByteArray& contents)
{
    QFile file(folder().filePath(QLatin1String(path)));
    // Empty ones are not there.
    if (contents.isEmpty())
        file.remove();
    else
        require(file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size());
}

void run(const uint8_t* data, size_t size)
{
    setPlatformRoot(folder().path() + QLatin1Char('/'));
    ByteSource source(data, size);
    for (const char* path : paths)
        write(path, source.block());
    const QtMobility::DeviceNames names = QtMobility::deviceNames();
    for (const QString& text : {names.model, names.manufacturer}) {
        require(text.size() <= 255);
        require(!text.contains(QChar::Null) || !text.startsWith(QChar::Null));
    }
    require(QtMobility::firmwareVersion().size() <= 255);
    require(!QtMobility::firmwareVersion().contains(QLatin1Char('\n')));
    const QString code = MccCountryCodeConverter().countryCode(QString::fromUtf8(source.block()));
    require(code.isEmpty() || code.size() == 2);
}

} // namespace

} // namespace KelFuzz::DeviceFiles

KEL_FUZZ_TARGET(devicefiles, KelFuzz::DeviceFiles::run)
