// SPDX-License-Identifier: LGPL-2.1-or-later
// What scripts get of a call's result, and what is made of a form that they fill in: each field of
// its own.
#include "qml/captchatexts.h"
#include "qml/resultobjects.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QJSEngine>
#include <QLocale>
#include <QTest>

using namespace KelAccount;
using namespace KelTest;

class TestQmlValues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyPropertyOfARegistrationIsRead()
    {
        const MessageLog log;
        const auto read = KelQmlResults::registration({{"userName"_s, "the user name"_s},
                                                       {"password"_s, "the password"_s},
                                                       {"emailAddress"_s, "the address"_s},
                                                       {"mobilePhoneNumber"_s, "the number"_s},
                                                       {"captchaText"_s, "the characters"_s},
                                                       {"captchaId"_s, "the captcha"_s},
                                                       {"firstName"_s, "the first name"_s},
                                                       {"lastName"_s, "the last name"_s},
                                                       {"language"_s, "fi"_s},
                                                       {"country"_s, "DE"_s},
                                                       {"securityQuestionId"_s, "the question"_s},
                                                       {"securityAnswer"_s, "the answer"_s},
                                                       {"dateOfBirth"_s, "1990-02-28"_s}},
                                                      this);
        QVERIFY(read);
        QCOMPARE(read->userName, "the user name"_s);
        QCOMPARE(read->password, "the password"_s);
        QCOMPARE(read->emailAddress, "the address"_s);
        QCOMPARE(read->mobilePhoneNumber, "the number"_s);
        QCOMPARE(read->captchaText, "the characters"_s);
        QCOMPARE(read->captchaId, "the captcha"_s);
        QCOMPARE(read->firstName, "the first name"_s);
        QCOMPARE(read->lastName, "the last name"_s);
        QCOMPARE(read->language, "fi"_s);
        QCOMPARE(read->country, "DE"_s);
        QCOMPARE(read->securityQuestionId, "the question"_s);
        QCOMPARE(read->securityAnswer, "the answer"_s);
        QCOMPARE(read->dateOfBirth, QDate(1990, 2, 28));
        QVERIFY(!read->marketingInfo && !read->marketingInfoOnMobile &&
                !read->marketingInfoOnEmail);
        QCOMPARE(log.all(), QStringList());
    }

    void aConsentIsReadForItsChannel_data()
    {
        rowsNamed("name", {"marketingInfo", "marketingInfoOnMobile", "marketingInfoOnEmail"});
    }
    void aConsentIsReadForItsChannel()
    {
        QFETCH(QByteArray, name);
        const auto read = KelQmlResults::registration({{QString::fromLatin1(name), true}}, this);
        QVERIFY(read);
        QVERIFY(read->dateOfBirth.isNull());
        QCOMPARE(read->marketingInfo, name == "marketingInfo");
        QCOMPARE(read->marketingInfoOnMobile, name == "marketingInfoOnMobile");
        QCOMPARE(read->marketingInfoOnEmail, name == "marketingInfoOnEmail");
    }

    void whatIsNoPropertyIsWarnedOf()
    {
        const MessageLog log;
        const auto read = KelQmlResults::registration(
            {{"username"_s, "the user name"_s}, {"emailAddress"_s, "the address"_s}}, this);
        QVERIFY(read);
        QCOMPARE(read->userName, QString());
        QCOMPARE(read->emailAddress, "the address"_s);
        QCOMPARE(log.all().size(), 1);
        QVERIFY2(log.all().first().contains("A registration has no property \"username\""_s),
                 qPrintable(log.all().first()));
    }

    void aDateIsTheOneThatIsWritten_data()
    {
        columns<QString, bool, QDate>("text", "isDate", "date");
        row("none", ""_s, true, QDate());
        row("a day", "1990-02-28"_s, true, QDate(1990, 2, 28));
        row("a leap day", "1992-02-29"_s, true, QDate(1992, 2, 29));
        row("no such day", "1990-02-29"_s, false, QDate());
        row("more behind it", "1990-02-28T00:00"_s, false, QDate());
        row("other signs", "1990/02/28"_s, false, QDate());
    }
    void aDateIsTheOneThatIsWritten()
    {
        const auto [text, isDate, date] = fetch<QString, bool, QDate>("text", "isDate", "date");
        const auto read = KelQmlResults::dateOf(text);
        QCOMPARE(bool(read), isDate);
        QCOMPARE(read.value_or(QDate()), date);
        QCOMPARE(bool(KelQmlResults::registration({{"dateOfBirth"_s, text}}, this)), isDate);
    }

    void aResultHasItsProperties_data()
    {
        columns<QString, QString>("shown", "expected");
        QJSEngine engine;
        const auto result = [&engine](const char* name, const auto& given, const char* expected) {
            QJSValue json = engine.globalObject().property("JSON"_s).property("stringify"_s);
            const QString shown = json.call({KelQmlResults::value(engine, given)}).toString();
            row(name, shown,
                QString::fromUtf8(expected).replace(QLatin1Char('\''), QLatin1Char('"')));
        };
        result("done", Done(), "{}");
        result("availability", Availability{false, {"one"_s, "two"_s}, nullptr},
               "{'available':false,'suggestions':['one','two']}");
        result("set-up", SetUp{7, "account"_s, "login"_s, "user"_s, "address"_s, nullptr},
               "{'credentialsId':7,'emailAddress':'address','loginId':'login',"
               "'serviceAccountId':'account','userId':'user'}");
        result("questions", SecurityQuestions{{{"2"_s, "Two?"_s}, {"1"_s, "One?"_s}}, nullptr},
               "{'questions':[{'id':'2','text':'Two?'},{'id':'1','text':'One?'}]}");
        result("question", RecoveryQuestion{"user"_s, "3"_s, "What?"_s, nullptr},
               "{'id':'3','text':'What?','userId':'user'}");
        result("prepared account",
               PreAccount{"id"_s, "name"_s, "number"_s, QLocale::Finland, nullptr},
               "{'country':'FI','id':'id','mobilePhoneNumber':'number','userName':'name'}");
        result("prepared account of no country",
               PreAccount{"id"_s, "name"_s, "number"_s, QLocale::AnyCountry, nullptr},
               "{'country':'','id':'id','mobilePhoneNumber':'number','userName':'name'}");
        result("country", Country{"FI"_s, nullptr}, "{'code':'FI'}");
        result("captcha requirement", CaptchaRequirement{true, nullptr}, "{'isRequired':true}");
        result("device account", DeviceAccountState{true, nullptr}, "{'isConfigured':true}");
        Terms terms;
        terms.addresses = {{"tosUrl"_s, "https://a.example"_s}};
        result("terms", terms, "{'addresses':{'tosUrl':'https://a.example'}}");
        Profile profile;
        profile.userName = "user"_s;
        profile.mobilePhoneNumber = "number"_s;
        profile.emailAddress = "address"_s;
        profile.emailVerified = true;
        profile.securityQuestion = "question"_s;
        profile.securityQuestionId = "id"_s;
        profile.securityAnswer = "answer"_s;
        profile.dateOfBirth = QDate(1990, 2, 28);
        profile.firstName = "first"_s;
        profile.lastName = "last"_s;
        profile.language = "fi"_s;
        profile.country = "DE"_s;
        profile.services = QStringList{"shop"_s};
        result("profile", profile,
               "{'country':'DE','dateOfBirth':'1990-02-28','emailAddress':'address',"
               "'emailVerified':true,'firstName':'first','language':'fi','lastName':'last',"
               "'marketingInfo':false,'mobilePhoneNumber':'number','mobilePhoneVerified':false,"
               "'securityQuestion':'question','securityQuestionId':'id','services':['shop'],"
               "'userName':'user'}");
    }
    void aResultHasItsProperties()
    {
        QFETCH(QString, shown);
        QTEST(shown, "expected");
    }

    void anAnswerIsThereForWhoAsksForIt()
    {
        QJSEngine engine;
        Profile profile;
        profile.securityAnswer = "the answer"_s;
        QCOMPARE(KelQmlResults::value(engine, profile).property("securityAnswer"_s).toString(),
                 "the answer"_s);
    }

    void aPictureWithoutASizeHasNone()
    {
        QJSEngine engine;
        const auto told = [&engine](const QSize& size) {
            const QJSValue value =
                KelQmlResults::value(engine, Captcha{"bytes", "png", size, "id"_s, nullptr});
            return "%1 %2 %3x%4"_s
                .arg(value.property("format"_s).toString(), value.property("id"_s).toString())
                .arg(value.property("width"_s).toInt())
                .arg(value.property("height"_s).toInt());
        };
        QCOMPARE(told(QSize(3, 2)), "png id 3x2"_s);
        QCOMPARE(told(QSize()), "png id 0x0"_s);
    }

    void aScreenReaderSpeaksTheUsersLanguage_data()
    {
        columns<QString, QString, QString, QString>("locale", "title", "loading", "ready");
        const auto english = [](const char* locale) {
            row(locale, QString::fromLatin1(locale),
                "Captcha: a picture with characters to type in"_s, "The picture is on its way"_s,
                "Press for another picture"_s);
        };
        english("en_GB");
        english("nl_NL"); // which there is none of
        row("de_AT", "de_AT"_s, "Captcha: ein Bild mit Zeichen zum Abtippen"_s,
            "Das Bild wird geladen"_s, "Drücken für ein anderes Bild"_s);
        row("fr_CA", "fr_CA"_s, "Captcha : une image avec des caractères à recopier"_s,
            "L'image arrive"_s, "Appuyer pour une autre image"_s);
        row("fi_FI", "fi_FI"_s, "Captcha: kuva, jonka merkit kirjoitetaan"_s, "Kuvaa haetaan"_s,
            "Paina saadaksesi toisen kuvan"_s);
    }
    void aScreenReaderSpeaksTheUsersLanguage()
    {
        QFETCH(QString, locale);
        const CaptchaTexts texts = CaptchaTexts::of(QLocale(locale));
        QTEST(texts.title, "title");
        QTEST(texts.loading, "loading");
        QTEST(texts.ready, "ready");
    }
};

QTEST_GUILESS_MAIN(TestQmlValues)
#include "tst_qmlvalues.moc"
