// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QDirIterator>
#include <QFile>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

/// Looks for texts that must not be written anywhere, however they are encoded.
namespace KelTest::SecretSearch {

inline QByteArray utf16(const QString& text, bool bigEndian)
{
    QByteArray bytes;
    for (const QChar character : text) {
        bytes += bigEndian ? char(character.row()) : char(character.cell());
        bytes += bigEndian ? char(character.cell()) : char(character.row());
    }
    return bytes;
}

/// How a text may lie in a file or a log.
inline QList<QByteArray> formsOf(const QString& text)
{
    return {text.toUtf8(),
            text.toLatin1(),
            utf16(text, true),
            utf16(text, false),
            QUrl::toPercentEncoding(text),
            text.toUtf8().toBase64(),
            QUrl::toPercentEncoding(QString::fromLatin1(text.toUtf8().toBase64())),
            text.toUtf8().toHex()};
}

/// The first of the secrets that the bytes hold in any form.
inline QString foundIn(const QByteArray& bytes, const QStringList& secrets)
{
    for (const QString& secret : secrets) {
        const QList<QByteArray> forms = formsOf(secret);
        for (const QByteArray& form : forms) {
            if (bytes.contains(form))
                return secret;
        }
    }
    return {};
}

inline QByteArray contentOf(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Names of the files below a folder that hold one of the secrets, but for those that may;
/// `searched` counts all.
inline QStringList filesWith(const QStringList& secrets, const QString& folder,
                             const QString& mayHold, int& searched)
{
    QStringList names;
    searched = 0;
    QDirIterator all(folder, QDir::Files | QDir::Hidden | QDir::System,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString file = all.next();
        if (!QFileInfo(file).isFile())
            continue;
        ++searched;
        if (!all.fileName().startsWith(mayHold) && !foundIn(contentOf(file), secrets).isEmpty())
            names.append(all.fileName());
    }
    return names;
}

} // namespace KelTest::SecretSearch
