// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDBusArgument>
#include <QDBusMessage>
#include <QString>
#include <QVariantMap>

namespace QtMobility {

/// The reply's only value when it is a container of the given D-Bus signature; a
/// default-constructed one otherwise, so that a service of another mind is read as one that says
/// nothing.
template <typename T>
T onlyValue(const QDBusMessage& reply, const char* signature)
{
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != QLatin1String(signature))
        return {};
    return qdbus_cast<T>(reply.arguments().constFirst().value<QDBusArgument>());
}

/// The property's text; empty when it is missing or something else than text.
inline QString textOf(const QVariantMap& properties, const QString& name)
{
    const QVariant value = properties.value(name);
    return value.userType() == QMetaType::QString ? value.toString() : QString();
}

} // namespace QtMobility
