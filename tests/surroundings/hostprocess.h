// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArrayList>
#include <QMap>
#include <QStringList>

#include <sys/types.h>

namespace KelTest {

/// What belongs to an application and not to its libraries: its handlers, its children and the
/// state of its process.
class HostProcess
{
public:
    ~HostProcess();

    /// Installs the handlers and starts the children.
    bool settle();
    /// What is not as it was when the application settled.
    QStringList whatChanged() const;
    /// What its message handler was given.
    static QStringList messages();
    /// Takes the handlers away and ends the children.
    void leave();

    /// Runs a program as an application does that has no use for QProcess: its exit status.
    static int run(const QByteArrayList& command);

private:
    QMap<QString, QByteArray> state() const;

    pid_t mLasting = 0; ///< a child that waits
    pid_t mEnded = 0;   ///< a child that has ended and is to be collected
    QMap<QString, QByteArray> mState;
};

} // namespace KelTest
