// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

namespace KelTest {

/// A system bus of this process's own, and the services on it. Everything ends with it.
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();

    bool start();
    void stop(); ///< the bus only; start() makes a new one at the same address

    /// Runs the modem service in the state that mockmodem.py has under this name, and waits for it.
    bool runModem(const QString& scenario);
    void stopServices();

    bool nameHasOwner(const QString& busName);

    /// A service that the bus would start when somebody called it; starting leaves a trace.
    bool addActivatableService(const QString& busName);
    bool wasActivated() const;

private:
    bool waitForName(const QString& busName);
    QString path(const char* name) const;

    QTemporaryDir mFolder;
    QProcess mBus;
    std::vector<std::unique_ptr<QProcess>> mServices;
};

} // namespace KelTest
