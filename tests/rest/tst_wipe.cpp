// SPDX-License-Identifier: LGPL-2.1-or-later
// That nothing is left in memory is looked at from outside; here, that nobody else loses anything.
#include "common/wipe.h"

#include <QTest>

using KelAccount::SecretText;
using KelAccount::wipe;

class TestWipe : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsWipedIsEmpty();
    void whatIsSharedStaysWithTheOthers();
    void aLiteralStays();
    void everythingInAMapIsWiped();
    void aSecretTextIsATextLikeOthers();
};

void TestWipe::whatIsWipedIsEmpty()
{
    QString text = QString::number(12345);
    QByteArray bytes = QByteArray::number(12345);
    wipe(text);
    wipe(bytes);
    QVERIFY(text.isNull());
    QVERIFY(bytes.isNull());
    wipe(text);
    wipe(bytes);
}

void TestWipe::whatIsSharedStaysWithTheOthers()
{
    QString text = QString::number(12345);
    const QString other = text;
    wipe(text);
    QCOMPARE(other, QStringLiteral("12345"));
    QByteArray bytes = QByteArray::number(12345);
    const QByteArray otherBytes = bytes;
    wipe(bytes);
    QCOMPARE(otherBytes, QByteArray("12345"));
    QVariantMap map = {{QStringLiteral("a"), other}};
    const QVariantMap otherMap = map;
    wipe(map);
    QVERIFY(map.isEmpty());
    QCOMPARE(otherMap.value(QStringLiteral("a")), QVariant(other));
}

void TestWipe::aLiteralStays()
{
    for (int i = 0; i < 2; ++i) {
        QString text = QStringLiteral("literal");
        QByteArray bytes = QByteArrayLiteral("literal");
        QCOMPARE(text, QLatin1String("literal"));
        QCOMPARE(bytes, QByteArray("literal"));
        wipe(text);
        wipe(bytes);
    }
}

void TestWipe::everythingInAMapIsWiped()
{
    const QString outside = QString::number(1);
    QVariantMap map = {
        {QStringLiteral("text"), QString::number(2)},
        {QStringLiteral("shared"), outside},
        {QStringLiteral("bytes"), QByteArray::number(3)},
        {QStringLiteral("list"), QVariantList{QString::number(4), 5}},
        {QStringLiteral("texts"), QStringList{QString::number(6)}},
        {QStringLiteral("map"), QVariantMap{{QStringLiteral("inside"), QString::number(7)}}},
        {QStringLiteral("number"), 8},
        {QStringLiteral("nothing"), QVariant()},
    };
    wipe(map);
    QVERIFY(map.isEmpty());
    QCOMPARE(outside, QStringLiteral("1"));
}

void TestWipe::aSecretTextIsATextLikeOthers()
{
    const QString plain = QString::number(12345);
    SecretText secret = plain;
    SecretText copy = secret;
    secret = QString::number(6);
    QCOMPARE(QString(copy), plain);
    const SecretText& itself = copy;
    copy = itself;
    copy = QString(copy);
    QCOMPARE(QString(copy), plain);
    secret = copy;
    copy = QString();
    QCOMPARE(QString(secret), plain);
}

QTEST_GUILESS_MAIN(TestWipe)
#include "tst_wipe.moc"
