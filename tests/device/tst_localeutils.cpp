// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/localeutils.h"

#include <QFile>
#include <QMetaEnum>
#include <QSet>
#include <QTest>

class TestLocaleUtils : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLocale::setDefault(QLocale::system()); }

    void countriesBecomeCodes_data();
    void countriesBecomeCodes();
    void everyCountryOfThisQtHasTheCodeOfTheStandard_data();
    void everyCountryOfThisQtHasTheCodeOfTheStandard();
    void everyCodeLeadsBack();
    void languagesBecomeCodes_data();
    void languagesBecomeCodes();
    void codesBecomeCountries_data();
    void codesBecomeCountries();
    void codesBecomeLanguages_data();
    void codesBecomeLanguages();
    void nullPointersAreUnknownCodes();
};

void TestLocaleUtils::countriesBecomeCodes_data()
{
    QTest::addColumn<int>("country");
    QTest::addColumn<QString>("code");
    QTest::newRow("Finland") << int(QLocale::Finland) << QStringLiteral("FI");
    QTest::newRow("United Kingdom") << int(QLocale::UnitedKingdom) << QStringLiteral("GB");
    QTest::newRow("United States") << int(QLocale::UnitedStates) << QStringLiteral("US");
    QTest::newRow("India") << int(QLocale::India) << QStringLiteral("IN");
    // No English is spoken there that Qt knows of: asked for it, Qt answers with the United States.
    QTest::newRow("Albania") << int(QLocale::Albania) << QStringLiteral("AL");
    // These have three digits.
    QTest::newRow("the world") << int(QLocale::World) << QStringLiteral("00");
    QTest::newRow("Europe") << int(QLocale::Europe) << QStringLiteral("15");
    QTest::newRow("Latin America") << int(QLocale::LatinAmerica) << QStringLiteral("41");
    QTest::newRow("none") << 0 << QString();
    QTest::newRow("below the first") << -1 << QString();
    QTest::newRow("behind the last") << int(QLocale::LastCountry) + 1 << QString();
    QTest::newRow("far behind") << 100000 << QString();
}

void TestLocaleUtils::countriesBecomeCodes()
{
    QFETCH(int, country);
    QTEST(LocaleUtils::countryToCode(static_cast<QLocale::Country>(country)), "code");
}

void TestLocaleUtils::everyCountryOfThisQtHasTheCodeOfTheStandard_data()
{
    QTest::addColumn<int>("country");
    QTest::addColumn<QString>("code");
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

void TestLocaleUtils::everyCountryOfThisQtHasTheCodeOfTheStandard()
{
    QFETCH(int, country);
    QFETCH(QString, code);
    for (const QLocale& locale :
         {QLocale::c(), QLocale(QStringLiteral("fa_IR")), QLocale(QStringLiteral("tr_TR"))}) {
        QLocale::setDefault(locale);
        QCOMPARE(LocaleUtils::countryToCode(static_cast<QLocale::Country>(country)), code);
        QCOMPARE(int(LocaleUtils::codeToCountry(code.constData())), country);
        QCOMPARE(int(LocaleUtils::codeToCountry(code.toLower().constData())), country);
    }
}

void TestLocaleUtils::everyCodeLeadsBack()
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

void TestLocaleUtils::languagesBecomeCodes_data()
{
    QTest::addColumn<int>("language");
    QTest::addColumn<QString>("code");
    QTest::newRow("Finnish") << int(QLocale::Finnish) << QStringLiteral("fi");
    QTest::newRow("English") << int(QLocale::English) << QStringLiteral("en");
    QTest::newRow("Chinese") << int(QLocale::Chinese) << QStringLiteral("zh");
    // A code of three letters loses its last.
    QTest::newRow("Filipino") << int(QLocale::Filipino) << QStringLiteral("fi");
    // Qt has the name of the language, but nothing about it.
    QTest::newRow("Abkhazian") << int(QLocale::Abkhazian) << QStringLiteral("C");
    QTest::newRow("any") << 0 << QStringLiteral("C");
    QTest::newRow("C") << 1 << QStringLiteral("C");
    QTest::newRow("behind the last") << int(QLocale::LastLanguage) + 1 << QStringLiteral("C");
    QTest::newRow("below the first") << -1 << QStringLiteral("C");
}

void TestLocaleUtils::languagesBecomeCodes()
{
    QFETCH(int, language);
    for (const QLocale& locale : {QLocale::c(), QLocale(QStringLiteral("fa_IR"))}) {
        QLocale::setDefault(locale);
        QTEST(LocaleUtils::languageToCode(static_cast<QLocale::Language>(language)), "code");
    }
}

void TestLocaleUtils::codesBecomeCountries_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<int>("country");
    QTest::newRow("GB") << QStringLiteral("GB") << int(QLocale::UnitedKingdom);
    QTest::newRow("FI") << QStringLiteral("FI") << int(QLocale::Finland);
    QTest::newRow("FR") << QStringLiteral("FR") << int(QLocale::France);
    QTest::newRow("BR") << QStringLiteral("BR") << int(QLocale::Brazil);
    QTest::newRow("CN") << QStringLiteral("CN") << int(QLocale::China);
    QTest::newRow("only two characters count") << QStringLiteral("INX") << int(QLocale::India);
    // What Qt answers for "en_" and something that it does not know.
    QTest::newRow("unknown") << QStringLiteral("??") << int(QLocale::UnitedStates);
    QTest::newRow("empty") << QString() << int(QLocale::UnitedStates);
}

void TestLocaleUtils::codesBecomeCountries()
{
    QFETCH(QString, code);
    QFETCH(int, country);
    QCOMPARE(int(LocaleUtils::codeToCountry(code.constData())), country);
}

void TestLocaleUtils::codesBecomeLanguages_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<int>("language");
    QTest::newRow("fi") << QStringLiteral("fi") << int(QLocale::Finnish);
    QTest::newRow("en_GB") << QStringLiteral("en_GB") << int(QLocale::English);
    QTest::newRow("only two characters count") << QStringLiteral("svX") << int(QLocale::Swedish);
    QTest::newRow("unknown") << QStringLiteral("??") << int(QLocale::C);
    QTest::newRow("empty") << QString() << int(QLocale::C);
    QTest::newRow("one letter") << QStringLiteral("f") << int(QLocale::C);
}

void TestLocaleUtils::codesBecomeLanguages()
{
    QFETCH(QString, code);
    QFETCH(int, language);
    QCOMPARE(int(LocaleUtils::codeToLanguage(code)), language);
    QCOMPARE(int(LocaleUtils::codeToLanguage(code.constData())), language);
}

void TestLocaleUtils::nullPointersAreUnknownCodes()
{
    const QChar* none = nullptr;
    QCOMPARE(LocaleUtils::codeToCountry(none), QLocale::UnitedStates);
    QCOMPARE(LocaleUtils::codeToLanguage(none), QLocale::C);
}

QTEST_GUILESS_MAIN(TestLocaleUtils)
#include "tst_localeutils.moc"
