// SPDX-License-Identifier: LGPL-2.1-or-later
#include "secretinput.h"

#include <fcntl.h>
#include <termios.h>
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

// The terminal without its echo for as long as one lives.
class QuietTerminal
{
public:
    QuietTerminal() : mDescriptor(::open("/dev/tty", O_RDWR | O_CLOEXEC))
    {
        if (mDescriptor < 0 || ::tcgetattr(mDescriptor, &mBefore) != 0)
            return;
        termios quiet = mBefore;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        mChanged = ::tcsetattr(mDescriptor, TCSAFLUSH, &quiet) == 0;
    }
    ~QuietTerminal()
    {
        if (mChanged)
            ::tcsetattr(mDescriptor, TCSAFLUSH, &mBefore);
        if (mDescriptor >= 0)
            ::close(mDescriptor);
    }
    QuietTerminal(const QuietTerminal&) = delete;
    QuietTerminal& operator=(const QuietTerminal&) = delete;

    bool isUsable() const { return mChanged; }

    bool ask(const QString& name, QString& answer) const
    {
        write(name.toLocal8Bit() + ": ");
        const bool good = readLine(mDescriptor, answer);
        write("\n");
        return good;
    }

private:
    void write(const QByteArray& text) const
    {
        const ssize_t ignored = ::write(mDescriptor, text.constData(), size_t(text.size()));
        Q_UNUSED(ignored)
    }

    int mDescriptor;
    termios mBefore{};
    bool mChanged = false;
};

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
    const QuietTerminal terminal;
    if (!terminal.isUsable()) {
        problem = QStringLiteral("no terminal to ask for the %1; give --password-fd N")
                      .arg(names.join(QLatin1String(" and the ")));
        return {};
    }
    for (const QString& name : names) {
        QString secret;
        if (!terminal.ask(name, secret)) {
            problem = QStringLiteral("no %1 was given").arg(name);
            return {};
        }
        secrets.append(secret);
    }
    return secrets;
}
