// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/modem/modem.h"

#include <QDBusMetaType>
#include <QStringList>

namespace KelEmulator {

namespace {

const auto modemPath = QStringLiteral("/modem");

QVariantMap modemProperties(const Sim& sim)
{
    return {
        {QStringLiteral("Type"), QStringLiteral("hardware")},
        {QStringLiteral("Powered"), true},
        {QStringLiteral("Online"), true},
        {QStringLiteral("Manufacturer"), QStringLiteral("Emulator")},
        {QStringLiteral("Model"), QStringLiteral("Modem")},
        {QStringLiteral("Revision"), QStringLiteral("1")},
        {QStringLiteral("Serial"), QString::fromStdString(sim.imei)},
        {QStringLiteral("Interfaces"), QStringList{QStringLiteral("org.ofono.SimManager")}},
    };
}

QVariantMap simProperties(const Sim& sim)
{
    return {
        {QStringLiteral("Present"), true},
        {QStringLiteral("PinRequired"), QStringLiteral("none")},
        {QStringLiteral("SubscriberIdentity"),
         QString::fromStdString(sim.mcc + sim.mnc + sim.msin)},
        {QStringLiteral("MobileCountryCode"), QString::fromStdString(sim.mcc)},
        {QStringLiteral("MobileNetworkCode"), QString::fromStdString(sim.mnc)},
    };
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const ListedModem& modem)
{
    argument.beginStructure();
    argument << modem.path << modem.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ListedModem& modem)
{
    argument.beginStructure();
    argument >> modem.path >> modem.properties;
    argument.endStructure();
    return argument;
}

ManagerAdaptor::ManagerAdaptor(QObject* object, const ListedModem& modem)
    : QDBusAbstractAdaptor(object), mModem(modem)
{
}

ModemAdaptor::ModemAdaptor(QObject* object, const QVariantMap& properties)
    : QDBusAbstractAdaptor(object), mProperties(properties)
{
}

SimAdaptor::SimAdaptor(QObject* object, const Sim& sim)
    : QDBusAbstractAdaptor(object), mProperties(simProperties(sim))
{
}

// The objects own their adaptors, which the bus finds among their children.
Modem::Modem(const Sim& sim)
{
    const QVariantMap properties = modemProperties(sim);
    new ManagerAdaptor(&mManager, {QDBusObjectPath(modemPath), properties});
    new ModemAdaptor(&mModem, properties);
    new SimAdaptor(&mModem, sim);
}

bool Modem::appearOn(QDBusConnection bus)
{
    qDBusRegisterMetaType<ListedModem>();
    qDBusRegisterMetaType<QList<ListedModem>>();
    // The name comes last: who sees it sees all of the modem.
    return bus.registerObject(QStringLiteral("/"), &mManager) &&
           bus.registerObject(modemPath, &mModem) &&
           bus.registerService(QStringLiteral("org.ofono"));
}

} // namespace KelEmulator
