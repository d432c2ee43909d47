// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/oauthrequest.h"
#include "rest/request/percentencoding.h"
#include "support/literals.h"
#include "support/oauthoracle.h"
#include "support/rows.h"

#include <QTest>
#include <QUrl>

using namespace KelRestHandler;

namespace {

QString controlCharacters()
{
    QString all;
    for (ushort code = 1; code < 32; ++code)
        all += QChar(code);
    return all + QChar(0x7f) + QChar(0x80) + QChar(0x9f);
}

QString megabyte()
{
    return "<note text=\"caf\u00e9 & more\"/>"_s.repeated(1 << 15).left(1 << 20);
}

} // namespace

class PercentEncodingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyByteIsEncodedAsInRfc3986()
    {
        const QString unreserved =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~"_s;
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

    void encodingAgreesWithOtherImplementations_data()
    {
        columns<QString, QString>("plain", "encoded");

        // "latin" and "katakana" are the examples of RFC 3986 section 2.5, "parameter" ones those
        // of RFC 5849 section 3.4.1.3.2; the rest is spelled out by hand.
        QTest::newRow("empty") << QString() << QString();
        row("delimiters", "/:=&{}\"+ "_s, "%2F%3A%3D%26%7B%7D%22%2B%20"_s);
        row("parameter b5", "=%3D"_s, "%3D%253D"_s);
        row("parameter c@", "c@"_s, "c%40"_s);
        row("parameter a3", "2 q"_s, "2%20q"_s);
        row("percent", "100%25"_s, "100%2525"_s);
        row("markup", "<a b='c'>"_s, "%3Ca%20b%3D%27c%27%3E"_s);
        row("line ends", "\r\n\t"_s, "%0D%0A%09"_s);
        row("latin", "À"_s, "%C3%80"_s);
        row("katakana", "ア"_s, "%E3%82%A2"_s);
        row("snowman", "☃"_s, "%E2%98%83"_s);
        row("emoji", "😀"_s, "%F0%9F%98%80"_s);
        row("highest", "\xF4\x8F\xBF\xBF"_s, "%F4%8F%BF%BF"_s);
        // UTF-8 has no form for half a pair; Qt writes a question mark, and so does the form body.
        QTest::newRow("lone high half") << "a"_s + QChar(0xD83D) + QLatin1Char('b') << "a%3Fb"_s;
        QTest::newRow("lone low half") << QString(QChar(0xDE00)) << "%3F"_s;
    }
    void encodingAgreesWithOtherImplementations()
    {
        const auto [plain, encoded] = fetch<QString, QString>("plain", "encoded");
        QCOMPARE(OAuthRequest::urlEncode(plain), encoded);
        QCOMPARE(QString::fromLatin1(OAuthOracle::encodeWithLiboauth(plain)), encoded);
        QCOMPARE(QString::fromLatin1(QUrl::toPercentEncoding(plain)), encoded);
    }

    void encodingTwiceIsEncodingTheEncodedText_data()
    {
        QTest::addColumn<QString>("plain");
        QTest::newRow("empty") << QString();
        QTest::newRow("unreserved") << "aZ09-._~"_s;
        QTest::newRow("percent") << "%2F"_s;
        QTest::newRow("non-Latin") << "ア😀é"_s;
        QTest::newRow("controls") << controlCharacters();
        QTest::newRow("one megabyte") << megabyte();
        // Long texts are encoded in portions; these end beside, on and behind the ends of portions.
        for (const int length : {1023, 1024, 1025, 2048, 5000}) {
            QTest::addRow("%d reserved", length) << QString(length, QLatin1Char('<'));
            QTest::addRow("%d unreserved", length) << QString(length, QLatin1Char('a'));
            QTest::addRow("%d non-Latin", length) << QString(length, QChar(0x65E5));
        }
    }
    void encodingTwiceIsEncodingTheEncodedText()
    {
        QFETCH(QString, plain);
        const QString before = "before"_s;
        const QString once = QString::fromLatin1(QUrl::toPercentEncoding(plain));
        QString onceHere = before;
        appendPercentEncoded(onceHere, plain);
        QCOMPARE(onceHere, before + once);

        QString twice = before;
        appendDoublyPercentEncoded(twice, plain);
        QCOMPARE(twice, before + QString::fromLatin1(QUrl::toPercentEncoding(once)));
    }
};

QTEST_GUILESS_MAIN(PercentEncodingTest)
#include "tst_percentencoding.moc"
