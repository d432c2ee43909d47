// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QString>
#include <QTest>
#include <QVariantMap>

#include <sys/types.h>

/// A test inside the emulator: the service by its administrative endpoint, and the device by the
/// files of its session and by its processes.
class EmulatedDevice : public QObject
{
    Q_OBJECT

protected Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(isInside(), "run this with kelaccount-emulator run -- PROGRAM");
    }

protected:
    /// Whether this program runs where it must.
    static bool isInside();

    /// Makes an account of the service: userName, password, email, ... Its number there.
    static QString addAccount(const QJsonObject& account);
    /// The service's account with that number, without anything secret.
    static QJsonObject accountAtService(const QString& number);
    /// Numbers of the operations that the service was asked since this was last called.
    static QList<int> operations();
    static bool letTokensExpire();

    static QString storeFile(const char* file);
    /// What the daemon keeps for an identity, by name.
    static QVariantMap storedFor(int identity);
    /// Has the daemon keep this instead of what stands under that name.
    static bool changeStored(int identity, const QString& name, const QVariant& value);
    /// Processes of this session whose names, with the end of line behind them, begin with that.
    static QList<pid_t> processesNamed(const char* beginning);
    /// What the daemon runs plugins in: one for each identity of which a session is open.
    static QList<pid_t> pluginProcesses() { return processesNamed("signonplugin"); }
    /// Kills them. False when there was none.
    static bool killPluginProcesses();
};
