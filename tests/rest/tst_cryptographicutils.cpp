// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/cryptographicutils.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

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
    void hmacGivesThePublishedResults_data();
    void hmacGivesThePublishedResults();
    void aKeyIsHashedFromSixtyFiveCharactersOn_data();
    void aKeyIsHashedFromSixtyFiveCharactersOn();
    void keyAndMessageAreLatin1();
    void aLongMessageIsHashedWhole();
    void everyResultIsTwentyEightCharacters();

    void theValidatorHashesItsArgumentsInOrder_data();
    void theValidatorHashesItsArgumentsInOrder();
    void theDigestHashesItsArgumentsBackwards_data();
    void theDigestHashesItsArgumentsBackwards();

    void aNonceIsAFreshRandomUuid();
};

void CryptographicUtilsTest::hmacGivesThePublishedResults_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("result");

    // RFC 2202 section 3
    QTest::newRow("case 1") << QString(20, QChar(0x0b)) << text("Hi There")
                            << base64OfHex("b617318655057264e28bc0b6fb378c8ef146be00");
    QTest::newRow("case 2") << text("Jefe") << text("what do ya want for nothing?")
                            << base64OfHex("effcdf6ae5eb2fa2d27416d5f184df9c259a7c79");
    QTest::newRow("case 3") << QString(20, QChar(0xaa)) << QString(50, QChar(0xdd))
                            << base64OfHex("125d7342b9ac11cd91a39af48aa17b4f63f175d3");
    QTest::newRow("case 4") << fromHex("0102030405060708090a0b0c0d0e0f10111213141516171819")
                            << QString(50, QChar(0xcd))
                            << base64OfHex("4c9007f4026250c6bc8414f9bf50c86c2d7235da");
    QTest::newRow("case 5") << QString(20, QChar(0x0c)) << text("Test With Truncation")
                            << base64OfHex("4c1a03424b55e07fe7f27be1d58bb9324a9a5a04");
    QTest::newRow("case 6") << QString(80, QChar(0xaa))
                            << text("Test Using Larger Than Block-Size Key - Hash Key First")
                            << base64OfHex("aa4ae5e15272d00e95705637ce8a3b55ed402112");
    QTest::newRow("case 7") << QString(80, QChar(0xaa))
                            << text("Test Using Larger Than Block-Size Key and Larger Than One "
                                    "Block-Size Data")
                            << base64OfHex("e8e99d0f45237d786d6bbaa7965c7808bbff1a91");
    // OAuth Core 1.0, appendix A.5
    QTest::newRow("photos.example.net")
        << text("kd94hf93k423kf44&pfkkdhi9sl3r4s00")
        << text("GET&http%3A%2F%2Fphotos.example.net%2Fphotos&file%3Dvacation.jpg%26"
                "oauth_consumer_key%3Ddpf43f3p2l4k3l03%26oauth_nonce%3Dkllo9940pd9333jh%26"
                "oauth_signature_method%3DHMAC-SHA1%26oauth_timestamp%3D1191242096%26"
                "oauth_token%3Dnnch734d00sl2jdk%26oauth_version%3D1.0%26size%3Doriginal")
        << text("tR3+Ty81lMeYAr/Fid0kMTYa/WM=");
    QTest::newRow("empty") << QString() << QString()
                           << base64OfHex("fbdb1d1b18aa6c08324b7d64b71fb76370690e1d");
}

void CryptographicUtilsTest::hmacGivesThePublishedResults()
{
    QFETCH(QString, key);
    QFETCH(QString, message);
    QFETCH(QString, result);
    QCOMPARE(CryptographicUtils::HMACSHA1(message, key), result);
}

void CryptographicUtilsTest::aKeyIsHashedFromSixtyFiveCharactersOn_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QString>("result");
    // openssl dgst -sha1 -hmac KEY -binary | base64, the key being so many times "k"
    QTest::newRow("63") << 63 << text("Oa1gRhS5fxRu09jWaf8qwb1CqcA=");
    QTest::newRow("64") << 64 << text("Cgt6MUsQFznDVX9rXh3Wq1VliXA=");
    QTest::newRow("65") << 65 << text("notwEUOoLNwFmnKoYjDfJkNUzbA=");
    QTest::newRow("66") << 66 << text("zk7tKHByrkTqlhaevTkucg0P3UI=");
    QTest::newRow("128") << 128 << text("fc3+bopyxYadH0M3iLvw5eWTghM=");
}

void CryptographicUtilsTest::aKeyIsHashedFromSixtyFiveCharactersOn()
{
    QFETCH(int, length);
    QFETCH(QString, result);
    const QString message = QStringLiteral("message");
    const QString key(length, QLatin1Char('k'));
    QCOMPARE(CryptographicUtils::HMACSHA1(message, key), result);

    // From one block on, the key's SHA-1 stands in for it: at 64 it must not, at 65 it must.
    const QString hashed = QString::fromLatin1(
        QByteArray::fromBase64(CryptographicUtils::getValidator(key, QString()).toLatin1()));
    QCOMPARE(CryptographicUtils::HMACSHA1(message, hashed) == result, length > 64);
}

void CryptographicUtilsTest::keyAndMessageAreLatin1()
{
    // printf '\xe9' | openssl dgst -sha1 -hmac "$(printf '\xe8')" -binary | base64
    QCOMPARE(CryptographicUtils::HMACSHA1(text("é"), text("è")),
             text("eGZqlPYHy82vCSKLGWbrl9vNz1k="));
}

void CryptographicUtilsTest::aLongMessageIsHashedWhole()
{
    // head -c 1048576 /dev/zero | tr '\0' a | openssl dgst -sha1 -hmac key -binary | base64
    QCOMPARE(CryptographicUtils::HMACSHA1(QString(1 << 20, QLatin1Char('a')), text("key")),
             text("Z0v3UoOKwpzlIjPBcaic6a+FINI="));
}

void CryptographicUtilsTest::everyResultIsTwentyEightCharacters()
{
    static const QRegularExpression shape(QStringLiteral("^[A-Za-z0-9+/]{27}=$"));
    for (int length = 0; length < 200; ++length) {
        const QString result =
            CryptographicUtils::HMACSHA1(QString(length, QLatin1Char('m')), text("key"));
        QVERIFY2(shape.match(result).hasMatch(), qPrintable(result));
    }
}

void CryptographicUtilsTest::theValidatorHashesItsArgumentsInOrder_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<QString>("result");
    // printf %s%s "$a" "$b" | openssl dgst -sha1 -binary | base64
    QTest::newRow("empty") << text("") << text("") << text("2jmj7l5rSw0yVb/vlWAYkK/YBwk=");
    QTest::newRow("user and word")
        << text("alice") << text("wonderland") << text("9xJEhc5QquynVNFa+pAVZS/gNrA=");
    QTest::newRow("the other way round")
        << text("wonderland") << text("alice") << text("NLNTRMSbWX6QH46Y4L05MvAc7+c=");
    QTest::newRow("non-Latin") << text("Алиса") << text("密码😀")
                               << text("2gwUowyf/FyYfR8bSZcOXD//a2U=");
}

void CryptographicUtilsTest::theValidatorHashesItsArgumentsInOrder()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(QString, result);
    QCOMPARE(CryptographicUtils::getValidator(a, b), result);
}

void CryptographicUtilsTest::theDigestHashesItsArgumentsBackwards_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<QString>("c");
    QTest::addColumn<QString>("result");
    // printf %s%s%s "$c" "$b" "$a" | openssl dgst -sha1 -binary | base64
    QTest::newRow("empty") << text("") << text("") << text("")
                           << text("2jmj7l5rSw0yVb/vlWAYkK/YBwk=");
    QTest::newRow("three letters")
        << text("a") << text("b") << text("c") << text("2fBQn7fovX1MS2J9/scMDA4B+zQ=");
    QTest::newRow("password, time, nonce")
        << text("secret") << text("2010-02-01T12:00:00Z")
        << text("{d2719f2f-4f4c-4a34-b8b5-6f4a2f1d9a6e}") << text("LrZ6/55YwtJ0R4w/L54rz/OcgZw=");
    QTest::newRow("non-Latin") << text("пароль") << text("é") << text("😀")
                               << text("MobzwnnZb4arALRcBBAvXCCS3Hw=");
}

void CryptographicUtilsTest::theDigestHashesItsArgumentsBackwards()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(QString, c);
    QFETCH(QString, result);
    QCOMPARE(CryptographicUtils::getDigest(a, b, c), result);
}

void CryptographicUtilsTest::aNonceIsAFreshRandomUuid()
{
    // Version 4 and the variant of RFC 4122 section 4.4
    static const QRegularExpression uuid(QStringLiteral(
        "^\\{[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}\\}$"));
    QSet<QString> nonces;
    constexpr int count = 10000;
    for (int i = 0; i < count; ++i) {
        const QString nonce = CryptographicUtils::getNOnce();
        QVERIFY2(uuid.match(nonce).hasMatch(), qPrintable(nonce));
        nonces.insert(nonce);
    }
    QCOMPARE(nonces.size(), count);
}

QTEST_GUILESS_MAIN(CryptographicUtilsTest)
#include "tst_cryptographicutils.moc"
