// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/testroot.h"

#include "platform/platformroot.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <memory>

namespace {

std::unique_ptr<QTemporaryDir>& folder()
{
    static auto instance = std::make_unique<QTemporaryDir>();
    return instance;
}

} // namespace

QString QtMobility::platformRoot()
{
    return folder()->path() + QLatin1Char('/');
}

void KelTest::TestRoot::clear()
{
    folder() = std::make_unique<QTemporaryDir>();
}

void KelTest::TestRoot::write(const char* path, const QByteArray& contents)
{
    const QString name = folder()->filePath(QString::fromLatin1(path));
    QFile file(name);
    if (!QDir().mkpath(QFileInfo(name).path()) || !file.open(QIODevice::WriteOnly) ||
        file.write(contents) != contents.size())
        qFatal("cannot write %s", path);
}
