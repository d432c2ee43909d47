// SPDX-License-Identifier: LGPL-2.1-or-later
// What anybody may ask: captchas, questions, terms, addresses.
#include "emulator/serviceclient.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QCryptographicHash>
#include <QImage>
#include <QtTest>

namespace {

const QByteArray goodTag = "dGFn";            // tag
const QByteArray revokedTag = "cmV2b2tlZDE="; // revoked1

QByteArray deviceFacts(const QByteArray& msin)
{
    return "<mobilePhoneSerialNumber>356938035643809</mobilePhoneSerialNumber><mcc>244</mcc>"
           "<mnc>05</mnc><hashedMSIN>" +
           QCryptographicHash::hash(msin, QCryptographicHash::Sha1).toBase64() + "</hashedMSIN>";
}

} // namespace

class TestOperationsLookups : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QStringList options{"--pre-account"_s, "1234567890,somebody,+358409876543,FI"_s,
                                  "--pre-account=5550001"_s};
        QVERIFY2(mService.start(options), mService.emulator().log().constData());
        QVERIFY(mService.addAccount(R"([{"userName": "kim", "email": "kim@mail.example"}])"));
    }

    void drawsCaptchasOfTheSizeWanted_data()
    {
        columns<QByteArray, QByteArray, QSize>("width", "height", "size");
        QTest::newRow("usual") << "200"_ba
                               << "60"_ba << QSize(200, 60);
        QTest::newRow("odd") << "201"_ba
                             << "61"_ba << QSize(201, 61);
        QTest::newRow("smallest") << "50"_ba
                                  << "20"_ba << QSize(50, 20);
        QTest::newRow("largest") << "1000"_ba
                                 << "500"_ba << QSize(1000, 500);
        QTest::newRow("none") << "0"_ba
                              << "0"_ba << QSize(50, 20);
        QTest::newRow("negative") << "-5"_ba
                                  << "-1"_ba << QSize(50, 20);
        QTest::newRow("enormous") << "9999999999"_ba
                                  << "2147483648"_ba << QSize(1000, 500);
        QTest::newRow("narrow and high") << "1"_ba
                                         << "500"_ba << QSize(50, 500);
    }

    void drawsCaptchasOfTheSizeWanted()
    {
        const auto [width, height, size] =
            fetch<QByteArray, QByteArray, QSize>("width", "height", "size");
        const Answer answer = mService.ask(
            "POST", "captchas",
            ServiceClient::document("captchaCreationRequest",
                                    "<width>" + width + "</width><height>" + height + "</height>"));
        QCOMPARE(answer.status, 200);
        QCOMPARE(answer.at("imageType"), "image/png"_s);
        QVERIFY(!answer.at("captchaId").isEmpty());
        QImage picture;
        QVERIFY(
            picture.loadFromData(QByteArray::fromBase64(answer.at("imageData").toLatin1()), "PNG"));
        QCOMPARE(picture.size(), size);
    }

    void drawsTheTextOfACaptcha()
    {
        const Answer answer =
            mService.ask("POST", "captchas",
                         ServiceClient::document("captchaCreationRequest",
                                                 "<width>310</width><height>90</height>"));
        const QImage picture =
            QImage::fromData(QByteArray::fromBase64(answer.at("imageData").toLatin1()));
        // Black columns form one group for each character; the spots around are grey.
        int groups = 0;
        bool wasBlack = false;
        for (int x = 0; x < picture.width(); ++x) {
            bool isBlack = false;
            for (int y = 0; y < picture.height(); ++y)
                isBlack = isBlack || qGray(picture.pixel(x, y)) == 0;
            groups += isBlack && !wasBlack ? 1 : 0;
            wasBlack = isBlack;
        }
        const QByteArray text = mService.emulator()
                                    .admin("GET", "/captchas/"_s + answer.at("captchaId"))
                                    .body.trimmed();
        QCOMPARE(text.size(), 5);
        QCOMPARE(groups, 5);
        QCOMPARE(mService.emulator().admin("GET", "/captchas/0123"_s).status, 404);
        QVERIFY(mService.captcha().second != mService.captcha().second);
    }

    void offersQuestionsInTheLanguageAsked_data()
    {
        columns<QByteArray, QString>("language", "first");
        const QString english = "What was the name of your first pet?"_s;
        const QString finnish = "Mik\xc3\xa4 oli ensimm\xc3\xa4isen lemmikkisi nimi?"_s;
        const QString german = "Wie hie\xc3\x9f dein erstes Haustier?"_s;
        QTest::newRow("English") << "en"_ba << english;
        QTest::newRow("Finnish") << "fi"_ba << finnish;
        QTest::newRow("Finnish of Finland") << "fi_FI"_ba << finnish;
        QTest::newRow("German") << "de-AT,en;q=0.5"_ba << german;
        QTest::newRow("unknown") << "xx"_ba << english;
        QTest::newRow("Filipino") << "fil"_ba << english;
        QTest::newRow("none") << QByteArray() << english;
    }

    void offersQuestionsInTheLanguageAsked()
    {
        const auto [language, first] = fetch<QByteArray, QString>("language", "first");
        SignedRequest request("/rest/1.0/securityquestions");
        request.language = language;
        const Answer answer = mService.ask(request);
        QCOMPARE(answer.root.childNodes().size(), 5);
        QCOMPARE(answer.leaves("securityQuestion"),
                 "securityQuestionId=1 securityQuestionText="_s + first);
    }

    void detectsKnownSubscribers()
    {
        const auto detect = [this](const QByteArray& msin) {
            return mService.ask("POST", "autodetection",
                                ServiceClient::document("autoDetectionRequest", deviceFacts(msin)));
        };
        const Answer known = detect("1234567890");
        QCOMPARE(known.leaves(""),
                 "preAccountId=%1 username=somebody mobile=+358409876543 country=FI"_s.arg(
                     known.at("preAccountId")));
        QVERIFY(!known.at("preAccountId").isEmpty());
        const Answer bare = detect("5550001");
        QCOMPARE(bare.status, 200);
        QCOMPARE(bare.root.childNodes().size(), 1);
        const Answer unknown = detect("42");
        QCOMPARE(unknown.status, 404);
        QCOMPARE(unknown.errorCode(), "resourceNotFound"_s);
    }

    void leadsToTerms_data()
    {
        columns<SignedRequest::Pairs, QString>("query", "expected");
        using Pairs = SignedRequest::Pairs;
        QTest::newRow("all") << Pairs{{"lang", "fi"}, {"country", "FI"}, {"format", "html"}}
                             << "?lang=fi&country=FI&format=html"_s;
        QTest::newRow("language") << Pairs{{"lang", "pt BR"}, {"format", "text"}}
                                  << "?lang=pt%20BR&format=text"_s;
        QTest::newRow("country") << Pairs{{"country", "FI"}, {"format", "text"}}
                                 << "?country=FI&format=text"_s;
        QTest::newRow("neither") << Pairs{{"format", "html"}} << "?format=html"_s;
    }

    void leadsToTerms()
    {
        const auto [query, expected] = fetch<SignedRequest::Pairs, QString>("query", "expected");
        SignedRequest request("/rest/1.0/services/music");
        request.query = query;
        const Answer answer = mService.ask(request);
        QCOMPARE(answer.status, 200);
        const QString site = "https://"_s + QString::fromLatin1(request.host);
        QCOMPARE(answer.leaves(""), "serviceUrl=%1/services/music tosUrl=%1/terms%2 "
                                    "privacyPolicyUrl=%1/privacy%2 "
                                    "serviceSpecificTosUrl=%1/services/music/terms%2"_s.arg(site)
                                        .arg(expected));
    }

    void refusesMalformedTermsQueries_data()
    {
        QTest::addColumn<SignedRequest::Pairs>("query");
        using Pairs = SignedRequest::Pairs;
        QTest::newRow("none") << Pairs{};
        QTest::newRow("no format") << Pairs{{"lang", "fi"}};
        QTest::newRow("empty language") << Pairs{{"lang", ""}, {"format", "html"}};
        QTest::newRow("country first")
            << Pairs{{"country", "FI"}, {"lang", "fi"}, {"format", "html"}};
        QTest::newRow("format first") << Pairs{{"format", "html"}, {"lang", "fi"}};
        QTest::newRow("other format") << Pairs{{"format", "pdf"}};
        QTest::newRow("empty format") << Pairs{{"format", ""}};
        QTest::newRow("other item") << Pairs{{"format", "html"}, {"page", "1"}};
    }

    void refusesMalformedTermsQueries()
    {
        QFETCH(SignedRequest::Pairs, query);
        SignedRequest request("/rest/1.0/services/music");
        request.query = query;
        const Answer answer = mService.ask(request);
        QCOMPARE(answer.status, 400);
        QCOMPARE(answer.errorCode(), "invalidUrl"_s);
    }

    void tellsFreeAddresses_data()
    {
        columns<QByteArray, QByteArray, QString, QString>("email", "tag", "errorCode", "detail");
        QTest::newRow("free") << "free@mail.example"_ba << goodTag << QString() << QString();
        QTest::newRow("taken") << "kim@mail.example"_ba << goodTag << "operationFailed"_s
                               << QString();
        QTest::newRow("taken, other case")
            << "Kim@Mail.example"_ba << goodTag << "operationFailed"_s << QString();
        QTest::newRow("malformed") << "kim"_ba << goodTag << "attributeSyntaxError"_s << QString();
        QTest::newRow("no tag") << "free@mail.example"_ba << QByteArray() << "operationFailed"_s
                                << "invalidServiceTag"_s;
        QTest::newRow("revoked tag") << "kim@mail.example"_ba << revokedTag << "operationFailed"_s
                                     << "invalidServiceTag"_s;
    }

    void tellsFreeAddresses()
    {
        const auto [email, tag, errorCode, detail] =
            fetch<QByteArray, QByteArray, QString, QString>("email", "tag", "errorCode", "detail");
        const Answer answer =
            mService.ask("POST", "emailavailability/",
                         ServiceClient::document("emailAvailabilityRequest",
                                                 "<email>" + email + "</email><serviceTag>" + tag +
                                                     "</serviceTag>"));
        QCOMPARE(answer.status == 200, errorCode.isEmpty());
        QCOMPARE(answer.errorCode(), errorCode);
        QCOMPARE(answer.at("extensions/detailedErrorCode"), detail);
    }

    void choosesConsentVariantsByCountry_data()
    {
        columns<QByteArray, QString>("mcc", "variant");
        const auto row = [](const char* mcc, const char* variant) {
            QTest::newRow(qPrintable("mcc "_s + QLatin1String(mcc)))
                << QByteArray(mcc) << QString::fromLatin1(variant);
        };
        row("", "un-ticked");
        row("244", "un-ticked");
        row("309", "un-ticked");
        row("310", "implicit");
        row("316", "implicit");
        row("317", "un-ticked");
        row("234", "pre-ticked");
        row("235", "pre-ticked");
        row("262", "un-tickedWithCopyText");
    }

    void choosesConsentVariantsByCountry()
    {
        const auto [mcc, variant] = fetch<QByteArray, QString>("mcc", "variant");
        const Answer answer = mService.ask(
            "POST", "consentqueryvariant",
            ServiceClient::document("consentQueryVariantRequest",
                                    "<mobilePhoneSerialNumber></mobilePhoneSerialNumber><mcc>" +
                                        mcc + "</mcc><mnc></mnc><hashedMSIN></hashedMSIN>"));
        QCOMPARE(answer.at("consentQueryVariant"), variant);
    }

private:
    ServiceClient mService;
};

QTEST_GUILESS_MAIN(TestOperationsLookups)
#include "tst_operations_lookups.moc"
