// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <QVariantMap>

/// What the plugin has the daemon keep: one map, under a name that is another one each time.
namespace KelTest::KeptData {

constexpr const char* namePrefix = "Kept ";

/// The name, empty unless there is exactly one.
inline QString nameIn(const QVariantMap& stored)
{
    return stored.size() == 1 && stored.firstKey().startsWith(QLatin1String(namePrefix))
               ? stored.firstKey()
               : QString();
}

inline QVariantMap mapIn(const QVariantMap& stored)
{
    return stored.value(nameIn(stored)).toMap();
}

/// An application's part of it.
inline QVariantMap sessionIn(const QVariantMap& stored,
                             const QString& consumerKey = QStringLiteral("demo-key"))
{
    return mapIn(stored).value(QStringLiteral("Sessions")).toMap().value(consumerKey).toMap();
}

/// The same with another value in the map.
inline QVariantMap with(const QVariantMap& stored, const char* name, const QVariant& value)
{
    QVariantMap map = mapIn(stored);
    map.insert(QLatin1String(name), value);
    return {{nameIn(stored), map}};
}

/// The same with something else as the application's part.
inline QVariantMap withSession(const QVariantMap& stored, const QVariant& session,
                               const QString& consumerKey = QStringLiteral("demo-key"))
{
    QVariantMap sessions = mapIn(stored).value(QStringLiteral("Sessions")).toMap();
    sessions.insert(consumerKey, session);
    return with(stored, "Sessions", sessions);
}

} // namespace KelTest::KeptData
