// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/oauthrequest.h"
#include "rest/request/percentencoding.h"
#include "support/oauthoracle.h"

#include <QTest>
#include <QUrl>

using namespace KelRestHandler;

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

QString controlCharacters()
{
    QString all;
    for (ushort code = 1; code < 32; ++code)
        all += QChar(code);
    return all + QChar(0x7f) + QChar(0x80) + QChar(0x9f);
}

QString megabyte()
{
    return QStringLiteral("<note text=\"caf\u00e9 & more\"/>").repeated(1 << 15).left(1 << 20);
}

} // namespace

class PercentEncodingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyByteIsEncodedAsInRfc3986();
    void encodingAgreesWithOtherImplementations_data();
    void encodingAgreesWithOtherImplementations();
    void encodingTwiceIsEncodingTheEncodedText_data();
    void encodingTwiceIsEncodingTheEncodedText();
};

void PercentEncodingTest::everyByteIsEncodedAsInRfc3986()
{
    const QString unreserved =
        QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~");
    QCOMPARE(OAuthRequest::urlEncode(unreserved), unreserved);

    for (ushort code = 0; code < 128; ++code) {
        const QChar character(code);
        if (unreserved.contains(character))
            continue;
        QString expected = QString::number(code, 16).toUpper();
        expected = QLatin1Char('%') + expected.rightJustified(2, QLatin1Char('0'));
        QCOMPARE(OAuthRequest::urlEncode(QString(character)), expected);
    }
}

void PercentEncodingTest::encodingAgreesWithOtherImplementations_data()
{
    QTest::addColumn<QString>("plain");
    QTest::addColumn<QString>("encoded");

    // "latin" and "katakana" are the examples of RFC 3986 section 2.5, "parameter" ones those of
    // RFC 5849 section 3.4.1.3.2; the rest is spelled out by hand.
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("delimiters") << text("/:=&{}\"+ ") << text("%2F%3A%3D%26%7B%7D%22%2B%20");
    QTest::newRow("parameter b5") << text("=%3D") << text("%3D%253D");
    QTest::newRow("parameter c@") << text("c@") << text("c%40");
    QTest::newRow("parameter a3") << text("2 q") << text("2%20q");
    QTest::newRow("percent") << text("100%25") << text("100%2525");
    QTest::newRow("markup") << text("<a b='c'>") << text("%3Ca%20b%3D%27c%27%3E");
    QTest::newRow("line ends") << text("\r\n\t") << text("%0D%0A%09");
    QTest::newRow("latin") << text("À") << text("%C3%80");
    QTest::newRow("katakana") << text("ア") << text("%E3%82%A2");
    QTest::newRow("snowman") << text("☃") << text("%E2%98%83");
    QTest::newRow("emoji") << text("😀") << text("%F0%9F%98%80");
    QTest::newRow("highest") << text("\xF4\x8F\xBF\xBF") << text("%F4%8F%BF%BF");
    // UTF-8 has no form for half a pair; Qt writes a question mark, and so does the form body.
    QTest::newRow("lone high half")
        << QStringLiteral("a") + QChar(0xD83D) + QLatin1Char('b') << text("a%3Fb");
    QTest::newRow("lone low half") << QString(QChar(0xDE00)) << text("%3F");
}

void PercentEncodingTest::encodingAgreesWithOtherImplementations()
{
    QFETCH(QString, plain);
    QFETCH(QString, encoded);
    QCOMPARE(OAuthRequest::urlEncode(plain), encoded);
    QCOMPARE(QString::fromLatin1(OAuthOracle::encodeWithLiboauth(plain)), encoded);
    QCOMPARE(QString::fromLatin1(QUrl::toPercentEncoding(plain)), encoded);
}

void PercentEncodingTest::encodingTwiceIsEncodingTheEncodedText_data()
{
    QTest::addColumn<QString>("plain");
    QTest::newRow("empty") << QString();
    QTest::newRow("unreserved") << text("aZ09-._~");
    QTest::newRow("percent") << text("%2F");
    QTest::newRow("non-Latin") << text("ア😀é");
    QTest::newRow("controls") << controlCharacters();
    QTest::newRow("one megabyte") << megabyte();
    // Long texts are encoded in portions; these end beside, on and behind the ends of portions.
    for (const int length : {1023, 1024, 1025, 2048, 5000}) {
        QTest::addRow("%d reserved", length) << QString(length, QLatin1Char('<'));
        QTest::addRow("%d unreserved", length) << QString(length, QLatin1Char('a'));
        QTest::addRow("%d non-Latin", length) << QString(length, QChar(0x65E5));
    }
}

void PercentEncodingTest::encodingTwiceIsEncodingTheEncodedText()
{
    QFETCH(QString, plain);
    const QString before = QStringLiteral("before");
    const QString once = QString::fromLatin1(QUrl::toPercentEncoding(plain));
    QString onceHere = before;
    appendPercentEncoded(onceHere, plain);
    QCOMPARE(onceHere, before + once);

    QString twice = before;
    appendDoublyPercentEncoded(twice, plain);
    QCOMPARE(twice, before + QString::fromLatin1(QUrl::toPercentEncoding(once)));
}

QTEST_GUILESS_MAIN(PercentEncodingTest)
#include "tst_percentencoding.moc"
