// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/bodies.h"
#include "operations/wiredata.h"
#include "rest/request/msgcreator.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
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

// The address conversion in the very steps of its definition, with the searches it is defined by.
QString punycodeBySearching(const QString& input)
{
    const auto found = [](const char* pattern, const QString& text) {
        return QRegularExpression(QLatin1String(pattern),
                                  QRegularExpression::DotMatchesEverythingOption)
            .match(text);
    };
    const auto fromAtSign = found("@.+", input);
    const auto noAtSign = found("[^@].+", fromAtSign.captured());
    const auto localPart = found(".+@", input);
    if (!fromAtSign.hasMatch() || !noAtSign.hasMatch() || !localPart.hasMatch())
        return input;
    return localPart.captured() + QString::fromLatin1(QUrl::toAce(noAtSign.captured()));
}

} // namespace

class TestMsgCreator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyBodyIsTheWrittenOne_data()
    {
        QTest::addColumn<QString>("name");
        for (const Body& body : bodies())
            QTest::newRow(body.name) << QString::fromLatin1(body.name);
    }
    void everyBodyIsTheWrittenOne()
    {
        QFETCH(QString, name);
        const MessageLog log; // what is logged has tests of its own
        const auto body = std::find_if(bodies().begin(), bodies().end(), [&](const Body& one) {
            return name == QLatin1String(one.name);
        });
        const QString xml = body->make();

        QString expected = wiredata::request(name);
        expected.replace(QLatin1String("{nonce}"), valueOf("nonce"_s, xml));
        expected.replace(QLatin1String("{digest}"), valueOf("digest"_s, xml));
        QCOMPARE(xml, expected);

        QXmlStreamReader reader(xml);
        while (!reader.atEnd())
            reader.readNext();
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
    }

    void everyWrittenBodyIsChecked()
    {
        QStringList checked;
        for (const Body& body : bodies())
            checked.append(QString::fromLatin1(body.name));
        checked.sort();
        QCOMPARE(checked, wiredata::cases("request"_s));
    }

    void anOptionalElementOfARegistrationIsWrittenOnlyForAValue_data()
    {
        columns<QString, QString>("element", "nothing");
        for (const char* element : {"username", "mobile", "email", "passwordQuestion",
                                    "passwordAnswer", "language", "firstName", "lastName"}) {
            QTest::addRow("%s null", element) << QString::fromLatin1(element) << QString();
            QTest::addRow("%s empty", element) << QString::fromLatin1(element) << ""_s;
        }
        QTest::newRow("dateOfBirth null") << "dateOfBirth"_s << QString();
    }
    // One line per element: the body without the element is the written one without that line.
    void anOptionalElementOfARegistrationIsWrittenOnlyForAValue()
    {
        const auto [element, nothing] = fetch<QString, QString>("element", "nothing");
        RegistrationInfoData data = fullRegistration();
        data.language = QLocale::C;
        const QMap<QString, QString*> texts = {
            {"username"_s, &data.userName},
            {"mobile"_s, &data.mobilePhoneNumber},
            {"email"_s, &data.emailAddress},
            {"passwordQuestion"_s, &data.securityQuestion},
            {"passwordAnswer"_s, &data.securityAnswer},
            {"language"_s, &data.languageAsString},
            {"firstName"_s, &data.firstName},
            {"lastName"_s, &data.lastName},
        };
        if (texts.contains(element))
            *texts[element] = nothing;
        else
            data.dateOfBirth = QDate();

        QStringList lines = wiredata::requestLines("registration/everything"_s);
        const int userData = lines.indexOf("<userData>"_s);
        const int line = lines.indexOf(QRegularExpression("<%1>.*"_s.arg(element)),
                                       element == QLatin1String("username") ? 0 : userData);
        QVERIFY(line > 0);
        lines.removeAt(line);
        QCOMPARE(MsgCreator::xmlRegistration(data, captchaId, tag()), lines.join(QString()));
    }

    void anOptionalElementOfAPasswordResetIsWrittenOnlyForAValue_data()
    {
        columns<QString, QStringList>("element", "values");
        const auto token = "reset-token-5"_s;
        const auto answer = "Rex"_s;
        QTest::newRow("no token") << "securityToken" << QStringList{""_s, password, answer};
        QTest::newRow("no password") << "newPassword" << QStringList{token, ""_s, answer};
        QTest::newRow("no answer")
            << "passwordQuestionAnswer" << QStringList{token, password, ""_s};
    }
    void anOptionalElementOfAPasswordResetIsWrittenOnlyForAValue()
    {
        const auto [element, values] = fetch<QString, QStringList>("element", "values");
        QStringList lines = wiredata::requestLines("passwordreset/token-password-answer"_s);
        const int line = lines.indexOf(QRegularExpression("<%1>.*"_s.arg(element)));
        QVERIFY(line > 0);
        lines.removeAt(line);
        QCOMPARE(MsgCreator::xmlChangePasswordRequest(values[0], values[1], values[2]),
                 lines.join(QString()));
    }

    void aRegistrationSaysItsLanguageAndCountryAsCodes_data()
    {
        columns<int, int, QString, QString>("language", "country", "languageElement",
                                            "countryElement");
        QTest::newRow("no language, any country")
            << int(QLocale::C) << int(QLocale::AnyCountry) << ""
            << "<country></country>";
        QTest::newRow("Finnish in Finland")
            << int(QLocale::Finnish) << int(QLocale::Finland) << "<language>fi</language>"
            << "<country>FI</country>";
        QTest::newRow("German in Switzerland")
            << int(QLocale::German) << int(QLocale::Switzerland) << "<language>de</language>"
            << "<country>CH</country>";
        QTest::newRow("no known language or country")
            << int(QLocale::LastLanguage) + 1 << int(QLocale::LastCountry) + 1
            << "<language>C</language>"
            << "<country></country>";
    }
    void aRegistrationSaysItsLanguageAndCountryAsCodes()
    {
        QFETCH(int, language);
        QFETCH(int, country);
        QFETCH(QString, languageElement);
        QFETCH(QString, countryElement);
        RegistrationInfoData data;
        data.language = static_cast<QLocale::Language>(language);
        data.country = static_cast<QLocale::Country>(country);
        QString xml;
        MsgCreator::fillUserInfoForRegistration(xml, data);
        QCOMPARE(xml, "<userData><password></password>%1%2</userData>"_s.arg(languageElement,
                                                                             countryElement));
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

    void aRegistrationWithoutCaptchaAndTagIsLogged()
    {
        const MessageLog log;
        QString xml;
        MsgCreator::fillCaptchaOrServiceTagInfo(xml, {}, captchaId, {});
        QCOMPARE(xml, QString());
        QCOMPARE(log.all(), QStringList("C Niether the service tag nor the captcha is present"_s));
    }

    void anEmptyAddressHasNoAvailabilityBody()
    {
        const MessageLog log;
        QVERIFY(MsgCreator::xmlEmailAvailability(""_s, tag()).isNull());
        QCOMPARE(log.all(),
                 QStringList("C Email Id is empty - Cannot query for Email Availability"_s));
    }

    void anAvailabilityBodyWithoutTagIsLogged()
    {
        const MessageLog log;
        MsgCreator::xmlEmailAvailability("a@mail.example"_s, {});
        QCOMPARE(log.all(), QStringList("C serviceTag should be present for Email Availability "
                                        "Check use case"_s));
    }

    void noOtherBodyIsLogged()
    {
        const MessageLog log;
        for (const Body& body : bodies()) {
            const QString name = QString::fromLatin1(body.name);
            if (!name.endsWith(QLatin1String("/without-service-tag")) &&
                name != QLatin1String("registration/nothing") &&
                name != QLatin1String("phoneactivation/nothing"))
                body.make();
        }
        QCOMPARE(log.all(), QStringList());
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

    void aForbiddenCharacterBecomesAReplacementCharacter_data()
    {
        columns<QString, QString>("value", "written");
        const QString replacement(QChar(0xFFFD));
        for (const int code : {0x00, 0x01, 0x08, 0x0B, 0x0C, 0x0E, 0x1F, 0xFFFE, 0xFFFF, 0xD800,
                               0xDBFF, 0xDC00, 0xDFFF}) {
            QTest::addRow("U+%04X", uint(code))
                << QLatin1Char('a') + QString(QChar(code)) + QLatin1Char('b')
                << QLatin1Char('a') + replacement + QLatin1Char('b');
        }
        QTest::newRow("high surrogate at the end") << QString(QChar(0xD83D)) << replacement;
        QTest::newRow("surrogates the wrong way round")
            << QString(QChar(0xDE00)) + QChar(0xD83D) << replacement + replacement;
        QTest::newRow("two high surrogates, one low")
            << QString(QChar(0xD83D)) + QChar(0xD83D) + QChar(0xDE00) << replacement + "😀"_s;
        for (const char* plain : {"\t", "\n", "\r", " ", "\x7f", "ä", "€", "😀", "a😀b", "\"'"})
            QTest::addRow("kept: %s", QByteArray(plain).toPercentEncoding().constData())
                << QString::fromUtf8(plain) << QString::fromUtf8(plain);
        QTest::newRow("U+FFFD") << replacement << replacement;
    }
    void aForbiddenCharacterBecomesAReplacementCharacter()
    {
        const auto [value, written] = fetch<QString, QString>("value", "written");
        const QString xml = MsgCreator::xmlUpdateUserName(value);
        QCOMPARE(valueOf("username"_s, xml), written);
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

    void theDomainOfAnAddressBecomesAscii_data()
    {
        columns<QString, QString>("address", "converted");
        const auto row = [](const char* title, const char* address, const char* converted) {
            QTest::newRow(title) << QString::fromUtf8(address) << QString::fromUtf8(converted);
        };
        row("user name", "somebody", "somebody");
        row("non-ASCII user name", "jörg", "jörg");
        row("phone number", "+358401234567", "+358401234567");
        row("nothing", "", "");
        row("ASCII domain", "somebody@mail.example", "somebody@mail.example");
        row("non-ASCII domain", "somebody@bücher.example", "somebody@xn--bcher-kva.example");
        row("non-ASCII local part", "jörg@mail.example", "jörg@mail.example");
        row("both non-ASCII", "jörg@bücher.example", "jörg@xn--bcher-kva.example");
        row("upper-case domain", "Some@MAIL.Example", "Some@mail.example");
        row("domain of one character", "a@b", "a@b");
        row("domain of one non-ASCII character", "a@ü", "a@ü");
        row("domain of two characters", "a@bc", "a@bc");
        row("domain of two non-ASCII characters", "a@üb", "a@xn--b-dha");
        row("no domain", "a@", "a@");
        row("no local part", "@bücher.example", "@bücher.example");
        row("at-sign alone", "@", "@");
        row("at-signs alone", "a@@@", "a@@@");
        row("two at-signs together", "a@@bücher.example", "a@@xn--bcher-kva.example");
        // The domain reaches from the first at-sign and holds one itself, so it has no ASCII form.
        row("two at-signs", "a@b@bücher.example", "a@b@");
        row("impossible domain", "a@bü cher.example", "a@");
    }
    void theDomainOfAnAddressBecomesAscii()
    {
        const auto [address, converted] = fetch<QString, QString>("address", "converted");
        QCOMPARE(MsgCreator::getAsPunycode(address), converted);
    }

    void aDomainWithoutEndIsNotConverted()
    {
        QString domain;
        for (int i = 0; i < 1'000'000; ++i)
            domain.append(QChar(0x4e00 + i % 20'000));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(MsgCreator::getAsPunycode(QLatin1String("a@") + domain), "a@"_s);
        QVERIFY2(timer.elapsed() < 2'000, qPrintable(QString::number(timer.elapsed())));
        // As long as a domain can be, and in parts that are as long as they can be.
        const QString label(63, QLatin1Char('x'));
        const QString longest =
            QStringList{label, label, label, label.left(61)}.join(QLatin1Char('.'));
        QCOMPARE(longest.size(), 253);
        QCOMPARE(MsgCreator::getAsPunycode(QLatin1String("a@") + longest),
                 QLatin1String("a@") + longest);
    }

    void theConversionFollowsItsSearches()
    {
        QRandomGenerator random(23);
        const QString characters = "@@@aB.ü \n"_s;
        for (int round = 0; round < 20000; ++round) {
            QString address;
            for (int i = random.bounded(9); i > 0; --i)
                address.append(characters.at(random.bounded(characters.size())));
            QCOMPARE(MsgCreator::getAsPunycode(address), punycodeBySearching(address));
        }
    }
};

QTEST_GUILESS_MAIN(TestMsgCreator)
#include "tst_msgcreator.moc"
