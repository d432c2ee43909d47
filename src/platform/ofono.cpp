// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/ofono.h"

#include "platform/busvalues.h"

#include <QDBusObjectPath>
#include <QStringList>

namespace QtMobility::Ofono {

namespace {

QString service()
{
    return QStringLiteral("org.ofono");
}

QString simInterface()
{
    return QStringLiteral("org.ofono.SimManager");
}

constexpr auto modemListSignature = "a(oa{sv})";

struct Modem
{
    QString path;
    QVariantMap properties;
};

const QDBusArgument& operator>>(const QDBusArgument& argument, Modem& modem)
{
    QDBusObjectPath path;
    argument.beginStructure();
    argument >> path >> modem.properties;
    argument.endStructure();
    modem.path = path.path();
    return argument;
}

// A hands-free or SIM-access profile is somebody's phone, connected over Bluetooth.
bool belongsToThisDevice(const Modem& modem)
{
    const QString type = textOf(modem.properties, QStringLiteral("Type"));
    return type != QLatin1String("hfp") && type != QLatin1String("sap");
}

std::optional<QVector<Modem>> ownModems(SystemBusQuery& query)
{
    const QDBusMessage reply =
        query.call(service(), QStringLiteral("/"), QStringLiteral("org.ofono.Manager"),
                   QStringLiteral("GetModems"));
    if (reply.type() != QDBusMessage::ReplyMessage)
        return std::nullopt;
    QVector<Modem> own;
    const auto modems = onlyValue<QList<Modem>>(reply, modemListSignature);
    for (const Modem& modem : modems) {
        if (belongsToThisDevice(modem))
            own.append(modem);
    }
    return own;
}

// The second PIN guards some of the SIM's numbers, not the SIM.
bool asksForPin(const QVariantMap& sim)
{
    const QString pin = textOf(sim, QStringLiteral("PinRequired"));
    return !pin.isEmpty() && pin != QLatin1String("none") && pin != QLatin1String("pin2") &&
           pin != QLatin1String("puk2");
}

} // namespace

std::optional<QVector<ModemDetails>> modems(SystemBusQuery& query)
{
    const auto own = ownModems(query);
    if (!own)
        return std::nullopt;
    QVector<ModemDetails> details;
    for (const Modem& modem : *own) {
        details.append({textOf(modem.properties, QStringLiteral("Manufacturer")),
                        textOf(modem.properties, QStringLiteral("Model")),
                        textOf(modem.properties, QStringLiteral("Serial"))});
    }
    return details;
}

std::optional<QVector<SimCard>> sims(SystemBusQuery& query)
{
    const auto own = ownModems(query);
    if (!own)
        return std::nullopt;
    QVector<SimCard> cards;
    for (const Modem& modem : *own) {
        // Without power a modem offers no such interface: one exchange less to wait for.
        const QStringList interfaces =
            modem.properties.value(QStringLiteral("Interfaces")).toStringList();
        if (!interfaces.contains(simInterface()))
            continue;
        const auto sim = onlyValue<QVariantMap>(
            query.call(service(), modem.path, simInterface(), QStringLiteral("GetProperties")),
            "a{sv}");
        if (!sim.value(QStringLiteral("Present")).toBool())
            continue;
        cards.append({asksForPin(sim), textOf(sim, QStringLiteral("SubscriberIdentity")),
                      textOf(sim, QStringLiteral("MobileCountryCode")),
                      textOf(sim, QStringLiteral("MobileNetworkCode"))});
    }
    return cards;
}

} // namespace QtMobility::Ofono
