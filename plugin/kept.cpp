// SPDX-License-Identifier: LGPL-2.1-or-later
#include "kept.h"

#include "common/wipe.h"

#include <QDataStream>
#include <QRandomGenerator>

namespace ZorAuth {

namespace {

const auto namePrefix = QLatin1String("Kept ");
const auto serverName = QLatin1String("Server");
const auto secretName = QLatin1String("Secret");
const auto newPasswordName = QLatin1String("NewPassword");
const auto wrongPasswordsName = QLatin1String("WrongPasswords");
const auto sessionsName = QLatin1String("Sessions");

constexpr int mostBytes = 4000; // the daemon stores nothing at all beyond 4 kB
// All that is stored goes to the plugin's process with each request, and the daemon loses requests
// that are larger than 4 kB together with their own data.
constexpr int mostBytesWithOthers = 2048;

int storedSize(const QString& key, const QVariant& value)
{
    QByteArray bytes;
    bytes.reserve(2 * mostBytes); // growing would leave what it held behind
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(
        QDataStream::LittleEndian); // turning texts round takes another copy of them
    stream << key << value;
    const int size = bytes.size();
    KelAccount::wipe(bytes);
    return size;
}

/// Null when it is of another type: what is in the store may be damaged, or another version's.
QVariant valueIn(const QVariantMap& map, QLatin1String name, QMetaType::Type type)
{
    const QVariant value = map.value(name);
    return value.userType() == type ? value : QVariant();
}

QString newName()
{
    quint32 words[4];
    QRandomGenerator::system()->fillRange(words);
    return namePrefix +
           QString::fromLatin1(
               QByteArray::fromRawData(reinterpret_cast<const char*>(words), sizeof words).toHex());
}

} // namespace

std::optional<Kept> Kept::fromData(const QVariantMap& data, const QString& consumerKey,
                                   const QByteArray& consumer)
{
    Kept kept;
    kept.mConsumerKey = consumerKey;
    auto entry = data.lowerBound(namePrefix);
    if (entry == data.cend() || !entry.key().startsWith(namePrefix))
        return kept;
    const QVariantMap map = entry.value().toMap();
    if (++entry != data.cend() && entry.key().startsWith(namePrefix))
        return std::nullopt;

    const QVariant server = valueIn(map, serverName, QMetaType::Int);
    if (!server.isNull())
        kept.server = server.toInt();
    kept.wrongPasswords = qMax(0, valueIn(map, wrongPasswordsName, QMetaType::Int).toInt());
    kept.mSessions = valueIn(map, sessionsName, QMetaType::QVariantMap).toMap();
    kept.session = StoredSession::fromMap(kept.mSessions.value(consumerKey).toMap(), consumer);
    kept.mSecret = Mark::fromMap(valueIn(map, secretName, QMetaType::QVariantMap).toMap());
    const QString changed = valueIn(map, newPasswordName, QMetaType::QString).toString();
    if (changed.size() < mostBytes)
        kept.mNewPassword = changed;
    return kept;
}

QVariantMap Kept::toMap() const
{
    QVariantMap map;
    if (server)
        map.insert(serverName, *server);
    if (!mSecret.isEmpty())
        map.insert(secretName, mSecret.toMap());
    if (!mNewPassword.isEmpty())
        map.insert(newPasswordName, mNewPassword);
    if (wrongPasswords > 0)
        map.insert(wrongPasswordsName, wrongPasswords);

    QVariantMap sessions;
    int size = storedSize(sessionsName, sessions) + storedSize(newName(), map);
    const auto add = [&](const QString& key, const QVariantMap& value, int most) {
        const int more = storedSize(key, value);
        if (value.isEmpty() || size + more > most)
            return;
        sessions.insert(key, value);
        size += more;
    };
    // The consumer's own is what this is all for; the others' come after it.
    add(mConsumerKey, session.isOfOther() ? mSessions.value(mConsumerKey).toMap() : session.toMap(),
        mostBytes);
    for (auto other = mSessions.cbegin(); other != mSessions.cend(); ++other) {
        if (other.key() != mConsumerKey)
            add(other.key(), other.value().toMap(), mostBytesWithOthers);
    }
    if (!sessions.isEmpty())
        map.insert(sessionsName, sessions);
    return map;
}

QVariantMap Kept::toData() const
{
    return {{newName(), toMap()}};
}

QString Kept::passwordFor(const QString& identitySecret) const
{
    return !mNewPassword.isEmpty() && hasAccepted(identitySecret) ? mNewPassword : identitySecret;
}

bool Kept::hasAccepted(const QString& identitySecret) const
{
    QByteArray bytes = identitySecret.toUtf8();
    const bool isSame = mSecret.isOf(Mark::Of::Password, bytes);
    KelAccount::wipe(bytes);
    return isSame;
}

void Kept::accepted(int atServer, const QString& identitySecret)
{
    server = atServer;
    if (hasAccepted(identitySecret))
        return;
    // An identity that is given another secret is believed.
    KelAccount::wipe(mNewPassword);
    QByteArray bytes = identitySecret.toUtf8();
    mSecret = Mark(Mark::Of::Password, bytes);
    KelAccount::wipe(bytes);
}

void Kept::changed(const QString& identitySecret, const QString& newPassword)
{
    if (hasAccepted(identitySecret))
        mNewPassword = newPassword;
}

void Kept::wipe()
{
    session.wipe();
    KelAccount::wipe(mNewPassword);
    KelAccount::wipe(mSessions);
}

} // namespace ZorAuth
