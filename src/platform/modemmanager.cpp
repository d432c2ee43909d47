// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/modemmanager.h"

#include "platform/busvalues.h"

#include <QDBusObjectPath>
#include <QMap>

namespace QtMobility::ModemManager {

namespace {

using Interfaces = QMap<QString, QVariantMap>;
using Objects = QMap<QDBusObjectPath, Interfaces>;

QString service()
{
    return QStringLiteral("org.freedesktop.ModemManager1");
}

QString modemInterface()
{
    return QStringLiteral("org.freedesktop.ModemManager1.Modem");
}

QString modem3gppInterface()
{
    return QStringLiteral("org.freedesktop.ModemManager1.Modem.Modem3gpp");
}

QString simInterface()
{
    return QStringLiteral("org.freedesktop.ModemManager1.Sim");
}

constexpr auto objectsSignature = "a{oa{sa{sv}}}";

// The values of the modem's "UnlockRequired" that leave the SIM usable.
enum Lock : uint { LockUnknown = 0, LockNone = 1, LockSimPin2 = 3, LockSimPuk2 = 5 };

constexpr int countryCodeLength = 3;

std::optional<Objects> managedObjects(SystemBusQuery& query)
{
    const QDBusMessage reply = query.call(
        service(), QStringLiteral("/org/freedesktop/ModemManager1"),
        QStringLiteral("org.freedesktop.DBus.ObjectManager"), QStringLiteral("GetManagedObjects"));
    if (reply.type() != QDBusMessage::ReplyMessage)
        return std::nullopt;
    return onlyValue<Objects>(reply, objectsSignature);
}

bool isLocked(const QVariantMap& modem)
{
    switch (modem.value(QStringLiteral("UnlockRequired")).toUInt()) {
    case LockUnknown:
    case LockNone:
    case LockSimPin2:
    case LockSimPuk2:
        return false;
    default:
        return true;
    }
}

// The service's list of objects names modems; a SIM is an object beside them, mostly not listed.
QVariantMap simProperties(SystemBusQuery& query, const Objects& objects, const QDBusObjectPath& sim)
{
    const Interfaces listed = objects.value(sim);
    if (listed.contains(simInterface()))
        return listed.value(simInterface());
    return onlyValue<QVariantMap>(query.call(service(), sim.path(),
                                             QStringLiteral("org.freedesktop.DBus.Properties"),
                                             QStringLiteral("GetAll"), {simInterface()}),
                                  "a{sv}");
}

} // namespace

std::optional<QVector<ModemDetails>> modems(SystemBusQuery& query)
{
    const auto objects = managedObjects(query);
    if (!objects)
        return std::nullopt;
    QVector<ModemDetails> details;
    for (const Interfaces& interfaces : *objects) {
        if (!interfaces.contains(modemInterface()))
            continue;
        const QVariantMap modem = interfaces.value(modemInterface());
        const QString imei = textOf(interfaces.value(modem3gppInterface()), QStringLiteral("Imei"));
        // Modems of other families have an identifier too, but theirs is no IMEI.
        details.append({textOf(modem, QStringLiteral("Manufacturer")),
                        textOf(modem, QStringLiteral("Model")), imei});
    }
    return details;
}

std::optional<QVector<SimCard>> sims(SystemBusQuery& query)
{
    const auto objects = managedObjects(query);
    if (!objects)
        return std::nullopt;
    QVector<SimCard> cards;
    for (const Interfaces& interfaces : *objects) {
        const QVariantMap modem = interfaces.value(modemInterface());
        const auto path = modem.value(QStringLiteral("Sim")).value<QDBusObjectPath>();
        // "/" says that there is none.
        if (path.path().size() <= 1)
            continue;
        const QVariantMap sim = simProperties(query, *objects, path);
        // MCC and MNC in one text
        const QString home = textOf(sim, QStringLiteral("OperatorIdentifier"));
        cards.append({isLocked(modem), textOf(sim, QStringLiteral("Imsi")),
                      home.left(countryCodeLength), home.mid(countryCodeLength)});
    }
    return cards;
}

} // namespace QtMobility::ModemManager
