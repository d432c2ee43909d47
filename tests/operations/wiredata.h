// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/servicehosts.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QStringList>

/// The documents under data/; see the README there.
namespace wiredata {

inline QDir folder()
{
    return QDir(QStringLiteral(KELACCOUNT_TEST_DATA));
}

inline QString text(const QString& name)
{
    QFile file(folder().filePath(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s is missing", qPrintable(file.fileName()));
    return QString::fromUtf8(file.readAll());
}

/// The lines of a record that a reply carries.
inline QStringList expected(const char* name)
{
    QStringList lines =
        text(QLatin1String(name) + QLatin1String(".expect")).split(QLatin1Char('\n'));
    lines.removeLast(); // behind the last line's end
    return lines;
}

/// The body of a reply: a case, or the text itself.
inline QString body(const char* nameOrText)
{
    const QString given = QString::fromUtf8(nameOrText);
    return given.isEmpty() || given.startsWith(QLatin1Char('<'))
               ? given
               : text(given + QLatin1String(".reply"));
}

/// "operation/case" of every file with this suffix, sorted.
inline QStringList cases(const QString& suffix)
{
    QStringList found;
    QDirIterator files(folder().path(), {QLatin1String("*.") + suffix}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QString name = folder().relativeFilePath(files.next());
        name.chop(suffix.size() + 1);
        found.append(name);
    }
    found.sort();
    return found;
}

/// The lines of an expected body, without their indentation.
inline QStringList requestLines(const QString& name)
{
    QStringList lines;
    const QStringList raw =
        text(name + QLatin1String(".request")).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : raw) {
        lines.append(line.trimmed().replace(
            QLatin1String("{namespace}"),
            QStringLiteral("https://" KELACCOUNT_HOST_PRODUCTION "/schemas/rest/v1_0")));
    }
    return lines;
}

/// The expected body, byte for byte.
inline QString request(const QString& name)
{
    return requestLines(name).join(QString());
}

} // namespace wiredata
