// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/localeutils.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QFile>
#include <QMetaEnum>
#include <QSet>
#include <QTest>

class TestLocaleUtils : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLocale::setDefault(QLocale::system()); }

    void countriesBecomeCodes_data()
    {
        columns<int, QString>("country", "code");
        QTest::newRow("Finland") << int(QLocale::Finland) << "FI"_s;
        QTest::newRow("United Kingdom") << int(QLocale::UnitedKingdom) << "GB"_s;
        QTest::newRow("United States") << int(QLocale::UnitedStates) << "US"_s;
        QTest::newRow("India") << int(QLocale::India) << "IN"_s;
        // No English is spoken there that Qt knows of: asked for it, Qt answers with the United
        // States.
        QTest::newRow("Albania") << int(QLocale::Albania) << "AL"_s;
        // These have three digits.
        QTest::newRow("the world") << int(QLocale::World) << "00"_s;
        QTest::newRow("Europe") << int(QLocale::Europe) << "15"_s;
        QTest::newRow("Latin America") << int(QLocale::LatinAmerica) << "41"_s;
        QTest::newRow("none") << 0 << QString();
        QTest::newRow("below the first") << -1 << QString();
        QTest::newRow("behind the last") << int(QLocale::LastCountry) + 1 << QString();
        QTest::newRow("far behind") << 100000 << QString();
    }

    void countriesBecomeCodes()
    {
        QFETCH(int, country);
        QTEST(LocaleUtils::countryToCode(static_cast<QLocale::Country>(country)), "code");
    }

    void everyCountryOfThisQtHasTheCodeOfTheStandard_data()
    {
        columns<int, QString>("country", "code");
        QFile file(QStringLiteral(KELACCOUNT_TEST_DATA "/countries.tsv"));
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
        const auto countries = QMetaEnum::fromType<QLocale::Country>();
        QSet<int> listed = {QLocale::World, QLocale::Europe, QLocale::LatinAmerica};
        while (!file.atEnd()) {
            const QByteArray line = file.readLine().trimmed();
            if (line.startsWith('#'))
                continue;
            const QList<QByteArray> fields = line.split('\t');
            QVERIFY2(fields.size() == 3, line);
            bool known = false;
            const int country = countries.keyToValue(fields.at(0), &known);
            QVERIFY2(known, line);
            listed.insert(country);
            QTest::newRow(fields.at(0)) << country << QString::fromLatin1(fields.at(1));
        }
        for (int country = 1; country <= QLocale::LastCountry; ++country)
            QVERIFY2(listed.contains(country), countries.valueToKey(country));
    }

    void everyCountryOfThisQtHasTheCodeOfTheStandard()
    {
        const auto [country, code] = fetch<int, QString>("country", "code");
        for (const QLocale& locale : {QLocale::c(), QLocale("fa_IR"_s), QLocale("tr_TR"_s)}) {
            QLocale::setDefault(locale);
            QCOMPARE(LocaleUtils::countryToCode(static_cast<QLocale::Country>(country)), code);
            QCOMPARE(int(LocaleUtils::codeToCountry(code.constData())), country);
            QCOMPARE(int(LocaleUtils::codeToCountry(code.toLower().constData())), country);
        }
    }

    void everyCodeLeadsBack()
    {
        QSet<QString> codes;
        for (int country = 1; country <= QLocale::LastCountry; ++country) {
            const QString code = LocaleUtils::countryToCode(static_cast<QLocale::Country>(country));
            QCOMPARE(code.size(), 2);
            QVERIFY2(!codes.contains(code), qPrintable(code));
            codes.insert(code);
            QCOMPARE(int(LocaleUtils::codeToCountry(code.constData())), country);
        }
    }

    void languagesBecomeCodes_data()
    {
        columns<int, QString>("language", "code");
        QTest::newRow("Finnish") << int(QLocale::Finnish) << "fi"_s;
        QTest::newRow("English") << int(QLocale::English) << "en"_s;
        QTest::newRow("Chinese") << int(QLocale::Chinese) << "zh"_s;
        // A code of three letters loses its last.
        QTest::newRow("Filipino") << int(QLocale::Filipino) << "fi"_s;
        // Qt has the name of the language, but nothing about it.
        QTest::newRow("Abkhazian") << int(QLocale::Abkhazian) << "C"_s;
        QTest::newRow("any") << 0 << "C"_s;
        QTest::newRow("C") << 1 << "C"_s;
        QTest::newRow("behind the last") << int(QLocale::LastLanguage) + 1 << "C"_s;
        QTest::newRow("below the first") << -1 << "C"_s;
    }

    void languagesBecomeCodes()
    {
        QFETCH(int, language);
        for (const QLocale& locale : {QLocale::c(), QLocale("fa_IR"_s)}) {
            QLocale::setDefault(locale);
            QTEST(LocaleUtils::languageToCode(static_cast<QLocale::Language>(language)), "code");
        }
    }

    void codesBecomeCountries_data()
    {
        columns<QString, int>("code", "country");
        QTest::newRow("GB") << "GB"_s << int(QLocale::UnitedKingdom);
        QTest::newRow("FI") << "FI"_s << int(QLocale::Finland);
        QTest::newRow("FR") << "FR"_s << int(QLocale::France);
        QTest::newRow("BR") << "BR"_s << int(QLocale::Brazil);
        QTest::newRow("CN") << "CN"_s << int(QLocale::China);
        QTest::newRow("only two characters count") << "INX"_s << int(QLocale::India);
        // What Qt answers for "en_" and something that it does not know.
        QTest::newRow("unknown") << "??"_s << int(QLocale::UnitedStates);
        QTest::newRow("empty") << QString() << int(QLocale::UnitedStates);
    }

    void codesBecomeCountries()
    {
        const auto [code, country] = fetch<QString, int>("code", "country");
        QCOMPARE(int(LocaleUtils::codeToCountry(code.constData())), country);
    }

    void codesBecomeLanguages_data()
    {
        columns<QString, int>("code", "language");
        QTest::newRow("fi") << "fi"_s << int(QLocale::Finnish);
        QTest::newRow("en_GB") << "en_GB"_s << int(QLocale::English);
        QTest::newRow("only two characters count") << "svX"_s << int(QLocale::Swedish);
        QTest::newRow("unknown") << "??"_s << int(QLocale::C);
        QTest::newRow("empty") << QString() << int(QLocale::C);
        QTest::newRow("one letter") << "f"_s << int(QLocale::C);
    }

    void codesBecomeLanguages()
    {
        const auto [code, language] = fetch<QString, int>("code", "language");
        QCOMPARE(int(LocaleUtils::codeToLanguage(code)), language);
        QCOMPARE(int(LocaleUtils::codeToLanguage(code.constData())), language);
    }

    void nullPointersAreUnknownCodes()
    {
        const QChar* none = nullptr;
        QCOMPARE(LocaleUtils::codeToCountry(none), QLocale::UnitedStates);
        QCOMPARE(LocaleUtils::codeToLanguage(none), QLocale::C);
    }
};

QTEST_GUILESS_MAIN(TestLocaleUtils)
#include "tst_localeutils.moc"
