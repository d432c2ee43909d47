// SPDX-License-Identifier: LGPL-2.1-or-later
#include "storedsession.h"

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

const auto validUntilName = QLatin1String("ValidUntil");
const auto oldSecretName = QLatin1String("Old");
const auto newSecretName = QLatin1String("New");

} // namespace

bool StoredSession::hasExpired() const
{
    return validUntil.isValid() && validUntil <= QDateTime::currentDateTimeUtc();
}

QVariantMap StoredSession::toMap() const
{
    QVariantMap map;
    for (const Field& field : fields)
        map.insert(QLatin1String(field.name), this->*field.value);
    if (validUntil.isValid())
        map.insert(validUntilName, validUntil.toSecsSinceEpoch());
    return map;
}

StoredSession StoredSession::fromMap(const QVariantMap& map)
{
    StoredSession session;
    for (const Field& field : fields)
        session.*field.value = map.value(QLatin1String(field.name)).toString();
    bool isNumber = false;
    const qint64 seconds = map.value(validUntilName).toLongLong(&isNumber);
    if (isNumber)
        session.validUntil = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
    return session;
}

QString StoredSession::key(int server, const QString& consumerKey)
{
    return QStringLiteral("Session %1 %2").arg(QString::number(server), consumerKey);
}

QString ChangedPassword::key()
{
    return QStringLiteral("ChangedPassword");
}

QVariantMap ChangedPassword::toMap() const
{
    return {{oldSecretName, oldSecret}, {newSecretName, newSecret}};
}

ChangedPassword ChangedPassword::fromMap(const QVariantMap& map)
{
    return {map.value(oldSecretName).toString(), map.value(newSecretName).toString()};
}

QString ChangedPassword::secretFor(const QString& identitySecret) const
{
    return !newSecret.isEmpty() && oldSecret == identitySecret ? newSecret : identitySecret;
}

} // namespace ZorAuth
