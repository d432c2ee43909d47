// SPDX-License-Identifier: LGPL-2.1-or-later
// What the plugin has the daemon keep, as an earlier version stored it and as damage leaves it: a
// user who is signed in stays so with the next version.
#include "plugin/access.h"
#include "plugin/kept.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDataStream>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

using namespace KelTest;
using ZorAuth::Kept;
using ZorAuth::StoredSession;

namespace {

const auto consumerKey = "the-key"_s;
const auto identitySecret = "pässword"_s;

QByteArray consumer(const QString& secret = "the-secret"_s)
{
    return ZorAuth::consumerIdentity(consumerKey, secret, "https://service.example/"_s);
}

/// Computed by another implementation of PBKDF2 with HMAC-SHA256: of the password in UTF-8 by
/// 20,000 rounds, and by one of key, secret and server in UTF-16 with their lengths before them.
QVariantMap storedSession()
{
    const QVariantMap mark = {
        {"Salt"_s, QByteArray::fromHex("101112131415161718191a1b1c1d1e1f")},
        {"Hash"_s,
         QByteArray::fromHex("b129ea80fce4af6e41b5311aa419dfc450edcfc388bb05c691099343902b3441")}};
    return {{"Token"_s, "the token"_s},           {"TokenSecret"_s, "its secret"_s},
            {"UserId"_s, "the user"_s},           {"LoginId"_s, "the login"_s},
            {"AccountId"_s, "1000042"_s},         {"EmailAddress"_s, "the address"_s},
            {"ValidUntil"_s, qint64{4000000000}}, {"Consumer"_s, mark}};
}

QVariantMap storedMap()
{
    const QVariantMap mark = {
        {"Salt"_s, QByteArray::fromHex("000102030405060708090a0b0c0d0e0f")},
        {"Hash"_s,
         QByteArray::fromHex("965d6048367a305ff315c6c52245875489cb0a1dcf489ea9db0bfffdc91fc6d9")}};
    return {{"Server"_s, 2},
            {"Secret"_s, mark},
            {"NewPassword"_s, "the new password"_s},
            {"WrongPasswords"_s, 3},
            {"Sessions"_s, QVariantMap{{consumerKey, storedSession()}}}};
}

Kept read(const QVariantMap& map, const QByteArray& by = consumer())
{
    return Kept::fromData({{"Kept 0123"_s, map}, {"Other"_s, 1}}, consumerKey, by).value_or(Kept());
}

StoredSession readSession(const char* name, const QVariant& value)
{
    QVariantMap map = storedSession();
    map.insert(QLatin1String(name), value);
    return StoredSession::fromMap(map, consumer());
}

int sizeOf(const QVariantMap& map)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << map;
    return bytes.size();
}

} // namespace

class TestPluginKept : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatWasStoredBeforeIsKnown()
    {
        const Kept kept = read(storedMap());
        QVERIFY(kept.server);
        QCOMPARE(*kept.server, 2);
        QCOMPARE(kept.wrongPasswords, 3);
        QVERIFY(kept.hasAccepted(identitySecret));
        QVERIFY(!kept.hasAccepted("password"_s));
        QCOMPARE(kept.passwordFor(identitySecret), "the new password"_s);
        QCOMPARE(kept.passwordFor("password"_s), "password"_s);
        QVERIFY(!kept.session.isOfOther());
        QCOMPARE(kept.session.token, "the token"_s);
        QCOMPARE(kept.session.tokenSecret, "its secret"_s);
        QCOMPARE(kept.session.userId, "the user"_s);
        QCOMPARE(kept.session.loginId, "the login"_s);
        QCOMPARE(kept.session.accountId, "1000042"_s);
        QCOMPARE(kept.session.emailAddress, "the address"_s);
        QCOMPARE(kept.session.validUntil.toSecsSinceEpoch(), qint64{4000000000});
        QCOMPARE(kept.toMap(), storedMap());
    }

    void theNameIsAnotherOneEachTime()
    {
        const Kept kept = read(storedMap());
        QSet<QString> names;
        for (int i = 0; i < 8; ++i) {
            const QVariantMap data = kept.toData();
            QCOMPARE(data.size(), 1);
            QCOMPARE(data.first().toMap(), storedMap());
            const QRegularExpression form("^Kept [0-9a-f]{32}$"_s);
            QVERIFY2(form.match(data.firstKey()).hasMatch(), qPrintable(data.firstKey()));
            names.insert(data.firstKey());
        }
        QCOMPARE(names.size(), 8);
    }

    void twoAreNone()
    {
        QVERIFY(!Kept::fromData({{"Kept 1"_s, storedMap()}, {"Kept 2"_s, storedMap()}}, consumerKey,
                                consumer()));
        const auto none =
            Kept::fromData({{"Kelp"_s, 1}, {"Kept"_s, 1}, {"Kf"_s, 1}}, consumerKey, consumer());
        QVERIFY(none);
        QVERIFY(!none->server);
        QCOMPARE(none->toMap(), QVariantMap());
    }

    void anotherConsumersSessionIsKeptAndNotTold()
    {
        const Kept kept = read(storedMap(), consumer("another-secret"_s));
        QVERIFY(kept.session.isOfOther());
        QCOMPARE(kept.session.token, QString());
        QCOMPARE(kept.toMap(), storedMap());
    }

    void ofDamageAsMuchIsReadAsCanBe_data()
    {
        columns<QString, QVariant, int, int, QString>("name", "value", "server", "wrong",
                                                      "password");
        const QString changed = "the new password"_s;
        const QString longest(3999, QLatin1Char('p'));
        constexpr int unknown = -1;
        row("server: a text", "Server"_s, QVariant("2"_s), unknown, 3, changed);
        row("server: none", "Server"_s, QVariant(), unknown, 3, changed);
        row("count: negative", "WrongPasswords"_s, QVariant(-1), 2, 0, changed);
        row("count: a text", "WrongPasswords"_s, QVariant("3"_s), 2, 0, changed);
        row("new password: a number", "NewPassword"_s, QVariant(1), 2, 3, identitySecret);
        row("new password: long", "NewPassword"_s, QVariant(longest), 2, 3, longest);
        row("new password: too long", "NewPassword"_s, QVariant(longest + "p"_s), 2, 3,
            identitySecret);
        row("mark: none", "Secret"_s, QVariant(), 2, 3, identitySecret);
        row("mark: a text", "Secret"_s, QVariant("x"_s), 2, 3, identitySecret);
    }
    void ofDamageAsMuchIsReadAsCanBe()
    {
        const auto [name, value, server, wrong, password] =
            fetch<QString, QVariant, int, int, QString>("name", "value", "server", "wrong",
                                                        "password");
        QVariantMap map = storedMap();
        map.insert(name, value);
        const Kept kept = read(map);
        QCOMPARE(kept.server.value_or(-1), server);
        QCOMPARE(kept.wrongPasswords, wrong);
        QCOMPARE(kept.passwordFor(identitySecret), password);
        QCOMPARE(kept.session.token, "the token"_s);
    }

    void aSessionWithoutItsAccountHasNoToken()
    {
        const StoredSession session = readSession("AccountId", QString());
        QCOMPARE(session.token, QString());
        QCOMPARE(session.tokenSecret, QString());
        QVERIFY(!session.validUntil.isValid());
        QCOMPARE(session.userId, "the user"_s);
    }

    void aSessionThatNoClockEndsHasNoEnd_data()
    {
        columns<QVariant, bool, bool>("value", "ends", "hasEnded");
        row("the first second", QVariant(qint64{1}), true, true);
        row("the last of four digits", QVariant(qint64{253402300799}), true, false);
        row("zero", QVariant(qint64{0}), false, false);
        row("before", QVariant(qint64{-1}), false, false);
        row("the year ten thousand", QVariant(qint64{253402300800}), false, false);
        row("a text", QVariant("1"_s), false, false);
        row("none", QVariant(), false, false);
    }
    void aSessionThatNoClockEndsHasNoEnd()
    {
        const auto [value, ends, hasEnded] =
            fetch<QVariant, bool, bool>("value", "ends", "hasEnded");
        const StoredSession session = readSession("ValidUntil", value);
        QCOMPARE(session.token, "the token"_s);
        QCOMPARE(session.validUntil.isValid(), ends);
        QCOMPARE(session.hasExpired(), hasEnded);
    }

    void aSessionOfMoreThanTheDaemonKeepsIsNone()
    {
        constexpr int most = 4095;
        QVariantMap map = storedSession();
        map.insert("Unknown"_s, QByteArray());
        const int room = most - sizeOf(map);
        map.insert("Unknown"_s, QByteArray(room, 'x'));
        QCOMPARE(sizeOf(map), most);
        QCOMPARE(StoredSession::fromMap(map, consumer()).token, "the token"_s);
        map.insert("Unknown"_s, QByteArray(room + 1, 'x'));
        QCOMPARE(StoredSession::fromMap(map, consumer()).token, QString());
    }

    void anotherSecretIsBelievedAndEndsTheChange()
    {
        Kept kept = read(storedMap());
        kept.accepted(3, identitySecret);
        QCOMPARE(kept.server.value_or(-1), 3);
        QCOMPARE(kept.passwordFor(identitySecret), "the new password"_s);
        kept.accepted(3, "another"_s);
        QVERIFY(kept.hasAccepted("another"_s));
        QVERIFY(!kept.hasAccepted(identitySecret));
        QCOMPARE(kept.passwordFor("another"_s), "another"_s);
        QVERIFY(!kept.toMap().contains("NewPassword"_s));
    }

    void aChangeCountsForTheSecretThatWasAccepted()
    {
        Kept kept = read({});
        kept.changed(identitySecret, "changed"_s);
        QCOMPARE(kept.toMap(), QVariantMap());
        kept.accepted(2, identitySecret);
        kept.changed("another"_s, "changed"_s);
        QCOMPARE(kept.passwordFor(identitySecret), identitySecret);
        kept.changed(identitySecret, "changed"_s);
        QCOMPARE(kept.passwordFor(identitySecret), "changed"_s);
        QCOMPARE(kept.passwordFor("another"_s), "another"_s);
    }

    void aMarkIsAnotherOneEachTime()
    {
        const ZorAuth::Mark one(ZorAuth::Mark::Of::Key, "secret");
        const ZorAuth::Mark other(ZorAuth::Mark::Of::Key, "secret");
        for (const char* part : {"Salt", "Hash"})
            QVERIFY(one.toMap().value(QLatin1String(part)) !=
                    other.toMap().value(QLatin1String(part)));
        QVERIFY(one.isOf(ZorAuth::Mark::Of::Key, "secret"));
        QVERIFY(!one.isOf(ZorAuth::Mark::Of::Password, "secret"));
        QVERIFY(!ZorAuth::Mark().isOf(ZorAuth::Mark::Of::Key, "secret"));
        QCOMPARE(ZorAuth::Mark().toMap(), QVariantMap());
    }

    void aMarkOfAnotherLengthIsNone_data() { rowsNamed("part", {"Salt", "Hash"}); }
    void aMarkOfAnotherLengthIsNone()
    {
        QFETCH(QByteArray, part);
        const QVariantMap whole = storedMap().value("Secret"_s).toMap();
        QVERIFY(!ZorAuth::Mark::fromMap(whole).isEmpty());
        for (const QByteArray& more : {""_ba, "x"_ba}) {
            QVariantMap damaged = whole;
            const QByteArray bytes = whole.value(QString::fromLatin1(part)).toByteArray();
            damaged.insert(QString::fromLatin1(part),
                           more.isEmpty() ? bytes.chopped(1) : bytes + more);
            QVERIFY(ZorAuth::Mark::fromMap(damaged).isEmpty());
        }
    }

    void aClientIsTrustedByOneOfItsTokens_data()
    {
        columns<QVariant, bool>("tokens", "isTrusted");
        const QString own = "libaccounts-kel::accesssvt"_s;
        row("nobody says", QVariant(), true);
        row("kept open", QVariant(QStringList()), true);
        row("its own", QVariant(QStringList{own}), true);
        row("the plugin's", QVariant(QStringList{"account-plugin-zor::kelaccess"_s}), true);
        row("among others", QVariant(QStringList{"other"_s, own}), true);
        row("others", QVariant(QStringList{"other"_s, own + "x"_s}), false);
        row("a text", QVariant(own), false);
        row("an empty text", QVariant(""_s), false);
        row("a list of anything", QVariant(QVariantList{own}), false);
    }
    void aClientIsTrustedByOneOfItsTokens()
    {
        const auto [tokens, isTrusted] = fetch<QVariant, bool>("tokens", "isTrusted");
        QCOMPARE(ZorAuth::isTrustedClient(tokens), isTrusted);
    }
};

QTEST_GUILESS_MAIN(TestPluginKept)
#include "tst_plugin_kept.moc"
