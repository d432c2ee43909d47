// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/localeutils.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QFile>
#include <QMetaEnum>
#include <QSet>
#include <QTest>

namespace {

// A language that this Qt has the name of, but nothing about it. Newer ones know more.
int firstWithoutLocale()
{
    int language = QLocale::C + 1;
    while (language <= QLocale::LastLanguage &&
           !QLocale::matchingLocales(static_cast<QLocale::Language>(language), QLocale::AnyScript,
                                     QLocale::AnyCountry)
                .isEmpty())
        ++language;
    return language;
}

} // namespace

class TestLocaleUtils : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLocale::setDefault(QLocale::system()); }

    void countriesBecomeCodes_data()
    {
        const auto row = rows<int, QString>("country", "code");
        row("Finland", int(QLocale::Finland), "FI");
        row("United Kingdom", int(QLocale::UnitedKingdom), "GB");
        row("United States", int(QLocale::UnitedStates), "US");
        row("India", int(QLocale::India), "IN");
        // No English is spoken there that Qt knows of: asked for it, Qt answers with the United
        // States.
        row("Albania", int(QLocale::Albania), "AL");
        // These have three digits.
        row("the world", int(QLocale::World), "00");
        row("Europe", int(QLocale::Europe), "15");
        row("Latin America", int(QLocale::LatinAmerica), "41");
        row("none", 0, {});
        row("below the first", -1, {});
        row("behind the last", int(QLocale::LastCountry) + 1, {});
        row("far behind", 100000, {});
    }
    void countriesBecomeCodes()
    {
        QFETCH(int, country);
        QTEST(LocaleUtils::countryToCode(static_cast<QLocale::Country>(country)), "code");
    }

    void everyCountryOfThisQtHasTheCodeOfTheStandard_data()
    {
        const auto row = rows<int, QString>("country", "code");
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
            row(fields.at(0), country, QString::fromLatin1(fields.at(1)));
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
        const auto row = rows<int, QString>("language", "code");
        row("Finnish", int(QLocale::Finnish), "fi");
        row("English", int(QLocale::English), "en");
        row("Chinese", int(QLocale::Chinese), "zh");
        // A code of three letters loses its last.
        row("Filipino", int(QLocale::Filipino), "fi");
        row("without a locale", firstWithoutLocale(), "C");
        row("any", 0, "C");
        row("C", 1, "C");
        row("behind the last", int(QLocale::LastLanguage) + 1, "C");
        row("below the first", -1, "C");
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
        const auto row = rows<QString, int>("code", "country");
        row("GB", "GB", int(QLocale::UnitedKingdom));
        row("FI", "FI", int(QLocale::Finland));
        row("FR", "FR", int(QLocale::France));
        row("BR", "BR", int(QLocale::Brazil));
        row("CN", "CN", int(QLocale::China));
        row("only two characters count", "INX", int(QLocale::India));
        // What Qt answers for "en_" and something that it does not know.
        row("unknown", "??", int(QLocale::UnitedStates));
        row("empty", {}, int(QLocale::UnitedStates));
    }
    void codesBecomeCountries()
    {
        const auto [code, country] = fetch<QString, int>("code", "country");
        QCOMPARE(int(LocaleUtils::codeToCountry(code.constData())), country);
    }

    void codesBecomeLanguages_data()
    {
        const auto row = rows<QString, int>("code", "language");
        row("fi", "fi", int(QLocale::Finnish));
        row("en_GB", "en_GB", int(QLocale::English));
        row("only two characters count", "svX", int(QLocale::Swedish));
        row("unknown", "??", int(QLocale::C));
        row("empty", {}, int(QLocale::C));
        row("one letter", "f", int(QLocale::C));
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
