// SPDX-License-Identifier: LGPL-2.1-or-later
#include "storedsession.h"

#include <QDataStream>

namespace ZorAuth {

namespace {

struct Field
{
    const char* name;
    QString StoredSession::*value;
};

constexpr Field fields[] = {
    {"Token", &StoredSession::token},          {"TokenSecret", &StoredSession::tokenSecret},
    {"UserId", &StoredSession::userId},        {"LoginId", &StoredSession::loginId},
    {"AccountId", &StoredSession::accountId},  {"EmailAddress", &StoredSession::emailAddress},
    {"ZorService", &StoredSession::zorService}};

const auto keyPrefix = QLatin1String("Session ");
const auto validUntilName = QLatin1String("ValidUntil");
const auto oldSecretName = QLatin1String("Old");
const auto newSecretName = QLatin1String("New");

constexpr int mostBytes = 4095; // the daemon stores nothing at all beyond that
// All that is stored goes to the plugin's process with each request, and the daemon loses requests
// that are larger than 4 kB together with their own data.
constexpr int mostBytesWithOthers = 2048;

/// What an entry counts for the daemon.
int storedSize(const QString& key, const QVariant& value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << value;
    return key.size() + bytes.size();
}

/// What is in the store may be damaged, or another version's: only a text is taken for one.
QString textIn(const QVariantMap& map, QLatin1String name)
{
    const QVariant value = map.value(name);
    return value.userType() == QMetaType::QString ? value.toString() : QString();
}

/// A moment in seconds since 1970; none when it is no number, or one that no clock shows.
QDateTime timeIn(const QVariantMap& map, QLatin1String name)
{
    constexpr qint64 yearTenThousand = 253402300800;
    const QVariant value = map.value(name);
    const qint64 seconds = value.userType() == QMetaType::LongLong ? value.toLongLong() : 0;
    return seconds > 0 && seconds < yearTenThousand
               ? QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC)
               : QDateTime();
}

} // namespace

bool StoredSession::hasExpired() const
{
    return validUntil.isValid() && validUntil <= QDateTime::currentDateTimeUtc();
}

QVariantMap StoredSession::toMap() const
{
    QVariantMap map;
    for (const Field& field : fields) {
        if (!(this->*field.value).isEmpty())
            map.insert(QLatin1String(field.name), this->*field.value);
    }
    if (validUntil.isValid())
        map.insert(validUntilName, validUntil.toSecsSinceEpoch());
    return map;
}

StoredSession StoredSession::fromMap(const QVariantMap& map)
{
    StoredSession session;
    if (storedSize(QString(), map) > mostBytes)
        return session;
    for (const Field& field : fields)
        session.*field.value = textIn(map, QLatin1String(field.name));
    // Requests name the account besides the token; only signing in tells both.
    if (session.accountId.isEmpty()) {
        session.token.clear();
        session.tokenSecret.clear();
    }
    session.validUntil = timeIn(map, validUntilName);
    return session;
}

QString StoredSession::key(int server, const QString& consumerKey)
{
    return keyPrefix + QString::number(server) + QLatin1Char(' ') + consumerKey;
}

QString ChangedPassword::key()
{
    return QStringLiteral("ChangedPassword");
}

QVariantMap ChangedPassword::toMap() const
{
    if (newSecret.isEmpty())
        return {};
    return {{oldSecretName, oldSecret}, {newSecretName, newSecret}};
}

ChangedPassword ChangedPassword::fromMap(const QVariantMap& map)
{
    const ChangedPassword changed{textIn(map, oldSecretName), textIn(map, newSecretName)};
    const bool isWhole = !changed.oldSecret.isEmpty() && !changed.newSecret.isEmpty();
    return isWhole && storedSize(QString(), map) <= mostBytes ? changed : ChangedPassword();
}

QString ChangedPassword::secretFor(const QString& identitySecret) const
{
    return !newSecret.isEmpty() && oldSecret == identitySecret ? newSecret : identitySecret;
}

QVariantMap everythingToStore(const QVariantMap& own, const QVariantMap& data)
{
    QVariantMap everything;
    int size = 0;
    const auto add = [&](const QString& key, const QVariant& value, int most) {
        const int more = storedSize(key, value);
        if (everything.contains(key) || size + more > most)
            return;
        everything.insert(key, value);
        size += more;
    };
    for (auto entry = own.cbegin(); entry != own.cend(); ++entry) {
        if (!entry.value().toMap().isEmpty())
            add(entry.key(), entry.value(), mostBytes);
    }
    for (auto entry = data.cbegin(); entry != data.cend(); ++entry) {
        if (entry.key().startsWith(keyPrefix) && !own.contains(entry.key()))
            add(entry.key(), entry.value(), mostBytesWithOthers);
    }
    return everything;
}

} // namespace ZorAuth
