// SPDX-License-Identifier: LGPL-2.1-or-later
// That nothing is left in memory is looked at from outside; here, that nobody else loses anything.
#include "common/wipe.h"
#include "support/literals.h"

#include <QTest>

using KelAccount::SecretText;
using KelAccount::wipe;

class TestWipe : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsWipedIsEmpty()
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

    void whatIsSharedStaysWithTheOthers()
    {
        QString text = QString::number(12345);
        const QString other = text;
        wipe(text);
        QCOMPARE(other, "12345"_s);
        QByteArray bytes = QByteArray::number(12345);
        const QByteArray otherBytes = bytes;
        wipe(bytes);
        QCOMPARE(otherBytes, "12345"_ba);
        QVariantMap map = {{"a"_s, other}};
        const QVariantMap otherMap = map;
        wipe(map);
        QVERIFY(map.isEmpty());
        QCOMPARE(otherMap.value("a"_s), QVariant(other));
    }

    void aLiteralStays()
    {
        for (int i = 0; i < 2; ++i) {
            QString text = "literal"_s;
            QByteArray bytes = "literal"_ba;
            QCOMPARE(text, QLatin1String("literal"));
            QCOMPARE(bytes, "literal"_ba);
            wipe(text);
            wipe(bytes);
        }
    }

    void everythingInAMapIsWiped()
    {
        const QString outside = QString::number(1);
        QVariantMap map = {
            {"text"_s, QString::number(2)},
            {"shared"_s, outside},
            {"bytes"_s, QByteArray::number(3)},
            {"list"_s, QVariantList{QString::number(4), 5}},
            {"texts"_s, QStringList{QString::number(6)}},
            {"map"_s, QVariantMap{{"inside"_s, QString::number(7)}}},
            {"number"_s, 8},
            {"nothing"_s, QVariant()},
        };
        wipe(map);
        QVERIFY(map.isEmpty());
        QCOMPARE(outside, "1"_s);
    }

    void aSecretTextIsATextLikeOthers()
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
};

QTEST_GUILESS_MAIN(TestWipe)
#include "tst_wipe.moc"
