// SPDX-License-Identifier: LGPL-2.1-or-later
#include "secretinput.h"

#include <fcntl.h>
#include <openssl/ui.h>
#include <unistd.h>

namespace {

constexpr int longestSecret = 4096;

// Byte by byte: what follows the line belongs to the next secret.
bool readLine(int descriptor, QString& line)
{
    QByteArray bytes;
    for (;;) {
        char byte = 0;
        const ssize_t count = ::read(descriptor, &byte, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0 && bytes.isEmpty())
            return false;
        if (count <= 0 || byte == '\n')
            break;
        if (bytes.size() == longestSecret)
            return false;
        bytes.append(byte);
    }
    line = QString::fromUtf8(bytes);
    bytes.fill('\0');
    return true;
}

bool hasTerminal()
{
    const int terminal = ::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (terminal >= 0)
        ::close(terminal);
    return terminal >= 0;
}

// OpenSSL turns the echo off, and on again also when a signal ends the question.
bool ask(const QString& name, QString& answer)
{
    QByteArray bytes(longestSecret + 1, '\0');
    const QByteArray prompt = name.toLocal8Bit() + ": ";
    const bool good =
        UI_UTIL_read_pw_string(bytes.data(), bytes.size(), prompt.constData(), 0) == 0;
    if (good)
        answer = QString::fromUtf8(bytes.constData());
    bytes.fill('\0');
    return good;
}

} // namespace

QStringList readSecrets(const QStringList& names, int descriptor, QString& problem)
{
    QStringList secrets;
    if (names.isEmpty())
        return secrets;
    if (descriptor >= 0) {
        for (const QString& name : names) {
            QString secret;
            if (!readLine(descriptor, secret)) {
                problem = QStringLiteral("descriptor %1 gave no line for the %2")
                              .arg(descriptor)
                              .arg(name);
                return {};
            }
            secrets.append(secret);
        }
        return secrets;
    }
    if (!hasTerminal()) {
        problem = QStringLiteral("no terminal to ask for the %1; give --password-fd N")
                      .arg(names.join(QLatin1String(" and the ")));
        return {};
    }
    for (const QString& name : names) {
        QString secret;
        if (!ask(name, secret)) {
            problem = QStringLiteral("no %1 was given").arg(name);
            return {};
        }
        secrets.append(secret);
    }
    return secrets;
}
