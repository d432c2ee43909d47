// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/cryptographicutils.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

namespace {

QString fromHex(const char* hex)
{
    return QString::fromLatin1(QByteArray::fromHex(hex));
}

QString base64OfHex(const char* hex)
{
    return QString::fromLatin1(QByteArray::fromHex(hex).toBase64());
}

} // namespace

class CryptographicUtilsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hmacGivesThePublishedResults_data()
    {
        columns<QString, QString, QString>("key", "message", "result");

        // RFC 2202 section 3
        row("case 1", QString(20, QChar(0x0b)), "Hi There"_s,
            base64OfHex("b617318655057264e28bc0b6fb378c8ef146be00"));
        row("case 2", "Jefe"_s, "what do ya want for nothing?"_s,
            base64OfHex("effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"));
        row("case 3", QString(20, QChar(0xaa)), QString(50, QChar(0xdd)),
            base64OfHex("125d7342b9ac11cd91a39af48aa17b4f63f175d3"));
        row("case 4", fromHex("0102030405060708090a0b0c0d0e0f10111213141516171819"),
            QString(50, QChar(0xcd)), base64OfHex("4c9007f4026250c6bc8414f9bf50c86c2d7235da"));
        row("case 5", QString(20, QChar(0x0c)), "Test With Truncation"_s,
            base64OfHex("4c1a03424b55e07fe7f27be1d58bb9324a9a5a04"));
        row("case 6", QString(80, QChar(0xaa)),
            "Test Using Larger Than Block-Size Key - Hash Key First"_s,
            base64OfHex("aa4ae5e15272d00e95705637ce8a3b55ed402112"));
        row("case 7", QString(80, QChar(0xaa)),
            "Test Using Larger Than Block-Size Key and Larger Than One "
            "Block-Size Data"_s,
            base64OfHex("e8e99d0f45237d786d6bbaa7965c7808bbff1a91"));
        row("empty", QString(), QString(), base64OfHex("fbdb1d1b18aa6c08324b7d64b71fb76370690e1d"));
    }
    void hmacGivesThePublishedResults()
    {
        const auto [key, message, result] =
            fetch<QString, QString, QString>("key", "message", "result");
        QCOMPARE(CryptographicUtils::HMACSHA1(message, key), result);
    }

    void aKeyIsHashedFromSixtyFiveCharactersOn_data()
    {
        columns<int, QString>("length", "result");
        // openssl dgst -sha1 -hmac KEY -binary | base64, the key being so many times "k"
        QTest::newRow("63") << 63 << "Oa1gRhS5fxRu09jWaf8qwb1CqcA="_s;
        QTest::newRow("64") << 64 << "Cgt6MUsQFznDVX9rXh3Wq1VliXA="_s;
        QTest::newRow("65") << 65 << "notwEUOoLNwFmnKoYjDfJkNUzbA="_s;
        QTest::newRow("66") << 66 << "zk7tKHByrkTqlhaevTkucg0P3UI="_s;
        QTest::newRow("128") << 128 << "fc3+bopyxYadH0M3iLvw5eWTghM="_s;
    }
    void aKeyIsHashedFromSixtyFiveCharactersOn()
    {
        const auto [length, result] = fetch<int, QString>("length", "result");
        const QString message = "message"_s;
        const QString key(length, QLatin1Char('k'));
        QCOMPARE(CryptographicUtils::HMACSHA1(message, key), result);

        // From one block on, the key's SHA-1 stands in for it: at 64 it must not, at 65 it must.
        const QString hashed = QString::fromLatin1(
            QByteArray::fromBase64(CryptographicUtils::getValidator(key, QString()).toLatin1()));
        QCOMPARE(CryptographicUtils::HMACSHA1(message, hashed) == result, length > 64);
    }

    void keyAndMessageAreLatin1()
    {
        // printf '\xe9' | openssl dgst -sha1 -hmac "$(printf '\xe8')" -binary | base64
        QCOMPARE(CryptographicUtils::HMACSHA1("é"_s, "è"_s), "eGZqlPYHy82vCSKLGWbrl9vNz1k="_s);
    }

    void aLongMessageIsHashedWhole()
    {
        // head -c 1048576 /dev/zero | tr '\0' a | openssl dgst -sha1 -hmac key -binary | base64
        QCOMPARE(CryptographicUtils::HMACSHA1(QString(1 << 20, QLatin1Char('a')), "key"_s),
                 "Z0v3UoOKwpzlIjPBcaic6a+FINI="_s);
    }

    void everyResultIsTwentyEightCharacters()
    {
        static const QRegularExpression shape("^[A-Za-z0-9+/]{27}=$"_s);
        for (int length = 0; length < 200; ++length) {
            const QString result =
                CryptographicUtils::HMACSHA1(QString(length, QLatin1Char('m')), "key"_s);
            QVERIFY2(shape.match(result).hasMatch(), qPrintable(result));
        }
    }

    void theValidatorHashesItsArgumentsInOrder_data()
    {
        columns<QString, QString, QString>("a", "b", "result");
        // printf %s%s "$a" "$b" | openssl dgst -sha1 -binary | base64
        row("empty", ""_s, ""_s, "2jmj7l5rSw0yVb/vlWAYkK/YBwk="_s);
        row("user and word", "alice"_s, "wonderland"_s, "9xJEhc5QquynVNFa+pAVZS/gNrA="_s);
        row("the other way round", "wonderland"_s, "alice"_s, "NLNTRMSbWX6QH46Y4L05MvAc7+c="_s);
        QTest::newRow("non-Latin") << "Алиса"_s
                                   << "密码😀"_s
                                   << "2gwUowyf/FyYfR8bSZcOXD//a2U="_s;
    }
    void theValidatorHashesItsArgumentsInOrder()
    {
        const auto [a, b, result] = fetch<QString, QString, QString>("a", "b", "result");
        QCOMPARE(CryptographicUtils::getValidator(a, b), result);
    }

    void theDigestHashesItsArgumentsBackwards_data()
    {
        columns<QString, QString, QString, QString>("a", "b", "c", "result");
        // printf %s%s%s "$c" "$b" "$a" | openssl dgst -sha1 -binary | base64
        row("empty", ""_s, ""_s, ""_s, "2jmj7l5rSw0yVb/vlWAYkK/YBwk="_s);
        row("three letters", "a"_s, "b"_s, "c"_s, "2fBQn7fovX1MS2J9/scMDA4B+zQ="_s);
        row("password, time, nonce", "secret"_s, "2010-02-01T12:00:00Z"_s,
            "{d2719f2f-4f4c-4a34-b8b5-6f4a2f1d9a6e}"_s, "LrZ6/55YwtJ0R4w/L54rz/OcgZw="_s);
        row("non-Latin", "пароль"_s, "é"_s, "😀"_s, "MobzwnnZb4arALRcBBAvXCCS3Hw="_s);
    }
    void theDigestHashesItsArgumentsBackwards()
    {
        const auto [a, b, c, result] =
            fetch<QString, QString, QString, QString>("a", "b", "c", "result");
        QCOMPARE(CryptographicUtils::getDigest(a, b, c), result);
    }

    void aNonceIsAFreshRandomUuid()
    {
        // Version 4 and the variant of RFC 4122 section 4.4
        static const QRegularExpression uuid(
            "^\\{[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}\\}$"_s);
        QSet<QString> nonces;
        constexpr int count = 10000;
        for (int i = 0; i < count; ++i) {
            const QString nonce = CryptographicUtils::getNOnce();
            QVERIFY2(uuid.match(nonce).hasMatch(), qPrintable(nonce));
            nonces.insert(nonce);
        }
        QCOMPARE(nonces.size(), count);
    }
};

QTEST_GUILESS_MAIN(CryptographicUtilsTest)
#include "tst_cryptographicutils.moc"
