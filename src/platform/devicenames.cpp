// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/devicenames.h"

#include "platform/platformroot.h"

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace QtMobility {

namespace {

// Larger than any release file or device-tree text; the rest of a larger file is not read.
constexpr int readLimit = 64 * 1024;

// Not by QFile: most of these are not there, which it puts in words each time, and it provides for
// the whole limit. They are read on the way of a process's first request.
QByteArray contents(const QString& path)
{
    const QByteArray name = QFile::encodeName(platformRoot() + path);
    const int descriptor = ::open(name.constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return {};
    QByteArray contents;
    std::array<char, 4096> part{};
    while (contents.size() < readLimit) {
        const std::size_t most = std::min<std::size_t>(
            part.size(), static_cast<std::size_t>(readLimit - contents.size()));
        const ssize_t length = ::read(descriptor, part.data(), most);
        if (length > 0)
            contents.append(part.data(), static_cast<int>(length));
        else if (length == 0 || errno != EINTR)
            break;
    }
    ::close(descriptor);
    return contents;
}

// Device-tree texts are lists whose entries end in null; the first one is the most specific.
QString firstEntry(const QByteArray& list)
{
    return QString::fromUtf8(list.constData()).trimmed();
}

DeviceNames deviceTreeNames()
{
    const QString folder = QStringLiteral("proc/device-tree/");
    DeviceNames names;
    names.model = firstEntry(contents(folder + QLatin1String("model")));

    // "vendor,board"
    const QString compatible = firstEntry(contents(folder + QLatin1String("compatible")));
    const int comma = compatible.indexOf(QLatin1Char(','));
    if (comma > 0)
        names.manufacturer = compatible.left(comma);
    if (names.model.isEmpty())
        names.model = compatible.mid(comma + 1);

    const QString maker = names.manufacturer + QLatin1Char(' ');
    if (maker.size() > 1 && names.model.startsWith(maker, Qt::CaseInsensitive)) {
        // The model spells the maker as its users do; "compatible" has it in lower case.
        names.manufacturer = names.model.left(maker.size() - 1);
        names.model = names.model.mid(maker.size()).trimmed();
    }
    return names;
}

DeviceNames dmiNames()
{
    const QString folder = QStringLiteral("sys/class/dmi/id/");
    return {QString::fromUtf8(contents(folder + QLatin1String("sys_vendor"))).trimmed(),
            QString::fromUtf8(contents(folder + QLatin1String("product_name"))).trimmed()};
}

// The file is meant to be read by a shell: a value may stand in quotes, with characters escaped.
QString unquoted(const QByteArray& value)
{
    const char quote = value.isEmpty() ? '\0' : value.front();
    if (quote != '"' && quote != '\'')
        return QString::fromUtf8(value);
    QByteArray plain;
    for (int i = 1; i < value.size() && value.at(i) != quote; ++i) {
        if (quote == '"' && value.at(i) == '\\' && i + 1 < value.size())
            ++i;
        plain.append(value.at(i));
    }
    return QString::fromUtf8(plain);
}

QString releaseField(const QByteArray& release, const QByteArray& name)
{
    const QByteArray start = name + '=';
    const QList<QByteArray> lines = release.split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith(start))
            return unquoted(line.mid(start.size()).trimmed());
    }
    return {};
}

} // namespace

DeviceNames deviceNames()
{
    const DeviceNames names = deviceTreeNames();
    return names.model.isEmpty() ? dmiNames() : names;
}

QString firmwareVersion()
{
    QByteArray release = contents(QStringLiteral("etc/os-release"));
    if (release.isEmpty())
        release = contents(QStringLiteral("usr/lib/os-release"));
    for (const char* name : {"IMAGE_VERSION", "BUILD_ID", "VERSION_ID"}) {
        const QString version = releaseField(release, name);
        if (!version.isEmpty())
            return version;
    }
    return {};
}

} // namespace QtMobility
