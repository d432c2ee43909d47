// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/bodies.h"
#include "operations/wiredata.h"
#include "rest/request/msgcreator.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>
#include <QXmlStreamReader>

using namespace KelRestHandler;
using namespace operations;

namespace {

// The text between the tags of the only element of that name.
QString valueOf(const QString& element, const QString& xml)
{
    const QRegularExpression pattern("<%1>(.*?)</%1>"_s.arg(element),
                                     QRegularExpression::DotMatchesEverythingOption);
    return pattern.match(xml).captured(1);
}

// The written body but for one element, the first of that name behind another.
QString without(const char* name, const char* body, const char* behind = "<?xml")
{
    QStringList lines = wiredata::requestLines(text(body));
    const int start =
        lines.indexOf(QRegularExpression(QRegularExpression::escape(text(behind)) + ".*"_s));
    const int line = lines.indexOf(QRegularExpression("<%1>.*"_s.arg(text(name))), start);
    if (line > 0)
        lines.removeAt(line);
    return line > 0 ? lines.join(QString()) : "there is no such line"_s;
}

} // namespace

class TestMsgCreator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyBodyIsTheWrittenOne_data()
    {
        const MessageLog log;
        const auto row = rows<QString, QString>("name", "xml");
        QStringList names;
        for (const Body& body : bodies()) {
            row(body.name, body.name, body.xml);
            names.append(text(body.name));
        }
        names.sort();
        QCOMPARE(names, wiredata::cases("request"_s));
        // What has no service tag and no captcha; nothing is logged of the others.
        const auto neither = "C Niether the service tag nor the captcha is present"_s;
        QCOMPARE(
            log.all(),
            QStringList({"C serviceTag should be present for Email Availability Check use case"_s,
                         neither, neither}));
    }
    void everyBodyIsTheWrittenOne()
    {
        const auto [name, xml] = fetch<QString, QString>("name", "xml");
        QString expected = wiredata::request(name);
        expected.replace(QLatin1String("{nonce}"), valueOf("nonce"_s, xml));
        expected.replace(QLatin1String("{digest}"), valueOf("digest"_s, xml));
        QCOMPARE(xml, expected);

        QXmlStreamReader reader(xml);
        while (!reader.atEnd())
            reader.readNext();
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
    }

    // One line per element: the body without the element is the written one without that line.
    void anOptionalElementOfARegistrationIsWrittenOnlyForAValue()
    {
        using Data = RegistrationInfoData;
        Data full = fullRegistration();
        full.language = QLocale::C;
        const char* behind = "<imageText>";
        const auto check = [&](const char* element, auto member) {
            for (const QString& nothing : {QString(), ""_s}) {
                Data data = full;
                data.*member = nothing;
                QCOMPARE(MsgCreator::xmlRegistration(data, captchaId, tag()),
                         without(element, "registration/everything", behind));
            }
        };
        check("username", &Data::userName);
        behind = "<userData>";
        check("mobile", &Data::mobilePhoneNumber);
        check("email", &Data::emailAddress);
        check("passwordQuestion", &Data::securityQuestion);
        check("passwordAnswer", &Data::securityAnswer);
        check("language", &Data::languageAsString);
        check("firstName", &Data::firstName);
        check("lastName", &Data::lastName);
        full.dateOfBirth = QDate();
        QCOMPARE(MsgCreator::xmlRegistration(full, captchaId, tag()),
                 without("dateOfBirth", "registration/everything", behind));
    }

    void anOptionalElementOfAPasswordResetIsWrittenOnlyForAValue()
    {
        const char* const whole = "passwordreset/token-password-answer";
        const auto body = &MsgCreator::xmlChangePasswordRequest;
        QCOMPARE(body(""_s, password, "Rex"_s), without("securityToken", whole));
        QCOMPARE(body("reset-token-5"_s, ""_s, "Rex"_s), without("newPassword", whole));
        QCOMPARE(body("reset-token-5"_s, password, ""_s), without("passwordQuestionAnswer", whole));
    }

    void aRegistrationSaysItsLanguageAndCountryAsCodes_data()
    {
        const auto row = rows<int, int, QString>("language", "country", "written");
        row("none", QLocale::C, QLocale::AnyCountry, "<country></country>");
        row("Finnish in Finland", QLocale::Finnish, QLocale::Finland,
            "<language>fi</language><country>FI</country>");
        row("German in Switzerland", QLocale::German, QLocale::Switzerland,
            "<language>de</language><country>CH</country>");
        row("none that is known", QLocale::LastLanguage + 1, QLocale::LastCountry + 1,
            "<language>C</language><country></country>");
    }
    void aRegistrationSaysItsLanguageAndCountryAsCodes()
    {
        const auto [language, country, written] =
            fetch<int, int, QString>("language", "country", "written");
        RegistrationInfoData data;
        data.language = static_cast<QLocale::Language>(language);
        data.country = static_cast<QLocale::Country>(country);
        QString xml;
        MsgCreator::fillUserInfoForRegistration(xml, data);
        QCOMPARE(xml, "<userData><password></password>%1</userData>"_s.arg(written));
    }

    void fragmentsAreAppended()
    {
        QString xml = "before"_s;
        MsgCreator::fillCaptchaOrServiceTagInfo(xml, {}, captchaId, tag());
        QCOMPARE(xml, "before<serviceTag>tag-0123</serviceTag>"_s);
        MsgCreator::fillMarketingUpdateInfo(xml, {});
        QCOMPARE(xml, "before<serviceTag>tag-0123</serviceTag><marketingConsent>"
                      "<email>false</email><mobile>false</mobile>"
                      "<serviceId>OneConsent</serviceId></marketingConsent>"_s);
    }

    void anEmptyAddressHasNoAvailabilityBody()
    {
        const MessageLog log;
        QVERIFY(MsgCreator::xmlEmailAvailability(""_s, tag()).isNull());
        QCOMPARE(log.all(),
                 QStringList("C Email Id is empty - Cannot query for Email Availability"_s));
    }

    void anEmptyPasswordHasNoChangeBody()
    {
        QVERIFY(MsgCreator::xmlChangePassword(QString()).isEmpty());
        QVERIFY(MsgCreator::xmlChangePassword(""_s).isEmpty());
    }

    void signingInSendsADigestInsteadOfThePassword()
    {
        const auto created = "2012-03-04T05:06:07.089Z"_s;
        const QString xml = MsgCreator::xmlTokenCreation("somebody"_s, password, created);
        const QString nonce = valueOf("nonce"_s, xml);
        QVERIFY(QRegularExpression("^\\{[0-9a-f-]{36}\\}$"_s).match(nonce).hasMatch());
        const QByteArray digest = QCryptographicHash::hash((nonce + created + password).toUtf8(),
                                                           QCryptographicHash::Sha1)
                                      .toBase64();
        QCOMPARE(valueOf("digest"_s, xml).toLatin1(), digest);
        QVERIFY(!xml.contains(password));
        QVERIFY(!xml.contains(QLatin1String("U2VjcmV0IDEh")));
    }

    void everySignInHasANonceOfItsOwn()
    {
        const auto body = [] { return MsgCreator::xmlTokenCreation({}, password, {}); };
        QVERIFY(body() != body());
    }

    void noValueBreaksTheDocument()
    {
        QRandomGenerator random(17);
        const QStringList pieces =
            "< > & \" ' / ! - [ ] ? a ]]> <!-- \r \n"_s.split(QLatin1Char(' ')) +
            QStringList{" "_s, QString(QChar(0)), QString(QChar(0xFFFF)), "😀"_s};
        for (int round = 0; round < 2000; ++round) {
            QString value;
            for (int i = random.bounded(12); i > 0; --i)
                value.append(pieces.at(random.bounded(pieces.size())));
            QXmlStreamReader reader(MsgCreator::xmlUpdateUserName(value));
            QVERIFY(reader.readNextStartElement());
            QVERIFY(reader.readNextStartElement());
            QCOMPARE(reader.name().toString(), "username"_s);
            const QString read = reader.readElementText();
            QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
            // An XML reader takes every line end for a line feed.
            QString expected = value;
            expected.replace("\r\n"_s, "\n"_s);
            expected.replace(QLatin1Char('\r'), QLatin1Char('\n'));
            expected.replace(QChar(0), QChar(0xFFFD));
            expected.replace(QChar(0xFFFF), QChar(0xFFFD));
            QCOMPARE(read, expected);
            QVERIFY(reader.readNextStartElement());
            QCOMPARE(reader.name().toString(), "userData"_s);
        }
    }
};

QTEST_GUILESS_MAIN(TestMsgCreator)
#include "tst_msgcreator.moc"
