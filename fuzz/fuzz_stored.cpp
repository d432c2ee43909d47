// SPDX-License-Identifier: LGPL-2.1-or-later
// What the plugin had the daemon keep, as it comes back: whole, damaged, another version's, a
// client's.
#include "fuzztarget.h"
#include "sessiondata.h"
#include "surroundings.h"

#include "plugin/kept.h"

#include <QDataStream>

namespace KelFuzz::Stored {

namespace {

using namespace ZorAuth;

int serializedSize(const QVariantMap& map)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << map;
    return bytes.size();
}

void readSession(const StoredSession& session)
{
    require(!session.isOfOther() || session.token.isEmpty());
    require(session.token.isEmpty() || !session.accountId.isEmpty());
    require(session.validUntil.isNull() ||
            (session.validUntil.isValid() && session.validUntil.timeSpec() == Qt::UTC));
    require(!session.hasExpired() || session.validUntil.isValid());
    // Nobody else's can be read with another consumer's secret.
    const QVariantMap map = session.toMap();
    const StoredSession others = StoredSession::fromMap(map, QByteArrayLiteral("another"));
    require(others.token.isEmpty() && others.tokenSecret.isEmpty() && others.accountId.isEmpty());
}

void run(const uint8_t* data, size_t size)
{
    beApplication();
    setServiceBase(QStringLiteral("https://account.example/rest/1.0/"));
    ByteSource source(data, size);
    const QVariantMap handedIn = SessionData::dataFrom(source);
    const auto kept = Kept::fromData(handedIn, SessionData::consumerKey, SessionData::consumer());
    if (!kept)
        return;
    readSession(kept->session);
    require(kept->wrongPasswords >= 0);
    const QVariantMap map = kept->toMap();
    const QVariantMap toStore = kept->toData();
    require(toStore.size() == 1 && toStore.firstKey().startsWith(QLatin1String("Kept ")));
    // The daemon would keep nothing at all of what is larger; a password has no bound of ours.
    if (!map.contains(QStringLiteral("NewPassword")))
        require(serializedSize(map) <= 4096);
    const auto again = Kept::fromData(toStore, SessionData::consumerKey, SessionData::consumer());
    require(again.has_value());
    require(again->toMap() == map);
}

} // namespace

} // namespace KelFuzz::Stored

KEL_FUZZ_TARGET(stored, KelFuzz::Stored::run)
