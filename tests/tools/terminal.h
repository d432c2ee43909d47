// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/emulatorprocess.h"

#include <QTest>

#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace KelTest {

/// A program that has a terminal, or has none.
class TerminalProcess : public BoundProcess
{
public:
    explicit TerminalProcess(const QByteArray& terminal) : mTerminal(terminal) {}
    /// What it writes goes there, too.
    void writeToTerminal() { mWrites = true; }

protected:
    void setupChildProcess() override
    {
        BoundProcess::setupChildProcess();
        ::setsid();
        // The first one that a session's leader opens becomes its terminal.
        const int terminal =
            mTerminal.isEmpty() ? -1 : ::open(mTerminal.constData(), O_RDWR | O_CLOEXEC);
        if (!mTerminal.isEmpty() && terminal < 0)
            ::_exit(99);
        if (mWrites && (::dup2(terminal, STDOUT_FILENO) < 0 || ::dup2(terminal, STDERR_FILENO) < 0))
            ::_exit(99);
    }

private:
    QByteArray mTerminal;
    bool mWrites = false;
};

/// Both ends of a terminal: the person's, and the name of the program's.
class Terminal
{
public:
    Terminal() : mPerson(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        if (mPerson >= 0 && ::grantpt(mPerson) == 0 && ::unlockpt(mPerson) == 0)
            mName = ::ptsname(mPerson);
        // Kept open, so that the settings outlive the program.
        mProgram = ::open(mName.constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        ::fcntl(mPerson, F_SETFL, O_NONBLOCK);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal()
    {
        ::close(mProgram);
        ::close(mPerson);
    }

    QByteArray name() const { return mName; }
    bool echoes() const
    {
        termios settings{};
        return ::tcgetattr(mProgram, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    }
    bool setWidth(int columns)
    {
        winsize size{};
        size.ws_row = 24;
        size.ws_col = static_cast<unsigned short>(columns);
        return ::ioctl(mProgram, TIOCSWINSZ, &size) == 0;
    }
    bool type(const QByteArray& keys)
    {
        return ::write(mPerson, keys.constData(), size_t(keys.size())) == keys.size();
    }
    /// Everything that was shown so far.
    QByteArray screen()
    {
        char bytes[1024];
        for (ssize_t count = 1; count > 0;) {
            count = ::read(mPerson, bytes, sizeof bytes);
            if (count > 0)
                mScreen.append(bytes, int(count));
        }
        return mScreen;
    }
    bool shows(const QByteArray& text)
    {
        return QTest::qWaitFor([&] { return screen().contains(text); }, 20000);
    }

private:
    int mPerson = -1;
    int mProgram = -1;
    QByteArray mName;
    QByteArray mScreen;
};

} // namespace KelTest
