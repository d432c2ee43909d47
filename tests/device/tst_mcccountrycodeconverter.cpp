// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/mcccountrycodeconverter.h"
#include "device/mcctable.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QFile>
#include <QMap>
#include <QTest>

#include <iterator>

class TestMccCountryCodeConverter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QFile file(QStringLiteral(KELACCOUNT_TEST_DATA "/mcc.txt"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        mPairs = file.readAll().trimmed().split('\n');
        QCOMPARE(mPairs.size(), 235);
    }

    void theTableHasThesePairsInThisOrder()
    {
        for (int i = 0; i < mPairs.size(); ++i)
            QCOMPARE(QByteArray(mccTable[i].mcc) + ' ' + mccTable[i].country, mPairs.at(i));
        QCOMPARE(std::size(mccTable), std::size_t(236));
        QCOMPARE(mccTable[235].mcc, "END");
        QCOMPARE(mccTable[235].country, "END");
    }

    void everyCodeGivesItsCountryOrNothing()
    {
        QMap<QString, QString> expected;
        for (const QByteArray& pair : qAsConst(mPairs))
            expected.insert(QString::fromLatin1(pair.left(3)), QString::fromLatin1(pair.mid(4)));
        QCOMPARE(expected.size(), 234);
        MccCountryCodeConverter converter;
        for (int code = 0; code < 1000; ++code) {
            const QString mcc = "%1"_s.arg(code, 3, 10, QLatin1Char('0'));
            QCOMPARE(converter.countryCode(mcc), expected.value(mcc));
        }
    }

    void aCodeThatStandsTwiceGivesTheLaterCountry()
    {
        QCOMPARE(MccCountryCodeConverter().countryCode("340"_s), "MQ"_s);
    }

    void otherTextsGiveNothing_data()
    {
        const auto row = rows<QString>("mcc");
        for (const char* text : {"", "999", "END", "24", "2440", "244 ", "fi"})
            row(*text ? text : "empty", QString::fromLatin1(text));
    }
    void otherTextsGiveNothing()
    {
        QFETCH(QString, mcc);
        QCOMPARE(MccCountryCodeConverter().countryCode(mcc), QString());
    }

private:
    QByteArrayList mPairs; // "412 AF", in the table's order
};

QTEST_GUILESS_MAIN(TestMccCountryCodeConverter)
#include "tst_mcccountrycodeconverter.moc"
