// SPDX-License-Identifier: LGPL-2.1-or-later
#include "storedsession.h"

#include "common/wipe.h"

#include <QDataStream>

namespace ZorAuth {

namespace {

struct Field
{
    const char* name;
    QString StoredSession::*value;
};

constexpr Field fields[] = {
    {"Token", &StoredSession::token},         {"TokenSecret", &StoredSession::tokenSecret},
    {"UserId", &StoredSession::userId},       {"LoginId", &StoredSession::loginId},
    {"AccountId", &StoredSession::accountId}, {"EmailAddress", &StoredSession::emailAddress}};

const auto validUntilName = QLatin1String("ValidUntil");
const auto consumerName = QLatin1String("Consumer");

/// More than the daemon keeps.
bool isTooLarge(const QVariantMap& map)
{
    constexpr int mostBytes = 4095;
    QByteArray bytes;
    bytes.reserve(2 * mostBytes); // growing would leave what it held behind
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(
        QDataStream::LittleEndian); // turning texts round takes another copy of them
    stream << map;
    const bool is = bytes.size() > mostBytes;
    KelAccount::wipe(bytes);
    return is;
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

QByteArray consumerIdentity(const QString& key, const QString& secret, const QString& server)
{
    QByteArray bytes;
    bytes.reserve(2 * (key.size() + secret.size() + server.size()) + 16); // and three lengths
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(
        QDataStream::LittleEndian); // turning texts round takes another copy of them
    stream << key << secret << server;
    return bytes;
}

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
    if (!map.isEmpty())
        map.insert(consumerName, mConsumer.toMap());
    return map;
}

StoredSession StoredSession::fromMap(const QVariantMap& map, const QByteArray& consumer)
{
    StoredSession session;
    const QVariant bound = map.value(consumerName);
    session.mConsumer =
        bound.userType() == QMetaType::QVariantMap ? Mark::fromMap(bound.toMap()) : Mark();
    if (session.mConsumer.isEmpty() || isTooLarge(map))
        return {};
    if (!session.mConsumer.isOf(Mark::Of::Key, consumer)) {
        session.mIsOfOther = true;
        return session;
    }
    for (const Field& field : fields)
        session.*field.value = textIn(map, QLatin1String(field.name));
    session.validUntil = timeIn(map, validUntilName);
    // Requests name the account besides the token; only signing in tells both.
    if (session.accountId.isEmpty())
        session.forgetToken();
    return session;
}

void StoredSession::bindTo(const QByteArray& consumer)
{
    mIsOfOther = false;
    if (!mConsumer.isOf(Mark::Of::Key, consumer))
        mConsumer = Mark(Mark::Of::Key, consumer);
}

void StoredSession::forgetToken()
{
    KelAccount::wipe(token);
    KelAccount::wipe(tokenSecret);
    validUntil = QDateTime();
}

void StoredSession::wipe()
{
    for (const Field& field : fields)
        KelAccount::wipe(this->*field.value);
}

} // namespace ZorAuth
