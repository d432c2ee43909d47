// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// What the bus may call is a slot, constant or not.
// clazy:excludeall=const-signal-or-slot

#include "emulator/modem/sim.h"

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QList>
#include <QVariantMap>

namespace KelEmulator {

/// A modem as oFono lists it.
struct ListedModem
{
    QDBusObjectPath path;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const ListedModem& modem);
const QDBusArgument& operator>>(const QDBusArgument& argument, ListedModem& modem);

/// "org.ofono.Manager": the modems that there are, which is one.
class ManagerAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.ofono.Manager")

public:
    ManagerAdaptor(QObject* object, const ListedModem& modem);

public Q_SLOTS:
    QList<KelEmulator::ListedModem> GetModems() const { return {mModem}; }

private:
    const ListedModem mModem;
};

/// "org.ofono.Modem": the modem itself.
class ModemAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.ofono.Modem")

public:
    ModemAdaptor(QObject* object, const QVariantMap& properties);

public Q_SLOTS:
    QVariantMap GetProperties() const { return mProperties; }

private:
    const QVariantMap mProperties;
};

/// "org.ofono.SimManager": the SIM in it, which asks for no PIN.
class SimAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.ofono.SimManager")

public:
    SimAdaptor(QObject* object, const Sim& sim);

public Q_SLOTS:
    QVariantMap GetProperties() const { return mProperties; }

private:
    const QVariantMap mProperties;
};

/// A modem with a SIM, at the names and paths at which oFono has one. Nothing about it changes, so
/// there are no signals.
class Modem
{
public:
    explicit Modem(const Sim& sim);

    /// Owns "org.ofono" on the bus from now on. False when that cannot be.
    bool appearOn(QDBusConnection bus);

private:
    QObject mManager;
    QObject mModem;
};

} // namespace KelEmulator

Q_DECLARE_METATYPE(KelEmulator::ListedModem)
