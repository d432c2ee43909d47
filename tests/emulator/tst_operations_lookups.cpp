// SPDX-License-Identifier: LGPL-2.1-or-later
// What anybody may ask: captchas, questions, terms, addresses.
#include "emulator/serviceclient.h"

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
    void initTestCase();
    void drawsCaptchasOfTheSizeWanted_data();
    void drawsCaptchasOfTheSizeWanted();
    void drawsTheTextOfACaptcha();
    void offersQuestionsInTheLanguageAsked_data();
    void offersQuestionsInTheLanguageAsked();
    void detectsKnownSubscribers();
    void leadsToTerms_data();
    void leadsToTerms();
    void refusesMalformedTermsQueries_data();
    void refusesMalformedTermsQueries();
    void tellsFreeAddresses_data();
    void tellsFreeAddresses();
    void choosesConsentVariantsByCountry_data();
    void choosesConsentVariantsByCountry();

private:
    ServiceClient mService;
};

void TestOperationsLookups::initTestCase()
{
    const QStringList options{QStringLiteral("--pre-account"),
                              QStringLiteral("1234567890,somebody,+358409876543,FI"),
                              QStringLiteral("--pre-account=5550001")};
    QVERIFY2(mService.start(options), mService.emulator().log().constData());
    QVERIFY(mService.addAccount(R"([{"userName": "kim", "email": "kim@mail.example"}])"));
}

void TestOperationsLookups::drawsCaptchasOfTheSizeWanted_data()
{
    QTest::addColumn<QByteArray>("width");
    QTest::addColumn<QByteArray>("height");
    QTest::addColumn<QSize>("size");
    QTest::newRow("usual") << QByteArray("200") << QByteArray("60") << QSize(200, 60);
    QTest::newRow("odd") << QByteArray("201") << QByteArray("61") << QSize(201, 61);
    QTest::newRow("smallest") << QByteArray("50") << QByteArray("20") << QSize(50, 20);
    QTest::newRow("largest") << QByteArray("1000") << QByteArray("500") << QSize(1000, 500);
    QTest::newRow("none") << QByteArray("0") << QByteArray("0") << QSize(50, 20);
    QTest::newRow("negative") << QByteArray("-5") << QByteArray("-1") << QSize(50, 20);
    QTest::newRow("enormous") << QByteArray("9999999999") << QByteArray("2147483648")
                              << QSize(1000, 500);
    QTest::newRow("narrow and high") << QByteArray("1") << QByteArray("500") << QSize(50, 500);
}

void TestOperationsLookups::drawsCaptchasOfTheSizeWanted()
{
    QFETCH(QByteArray, width);
    QFETCH(QByteArray, height);
    QFETCH(QSize, size);
    const Answer answer = mService.ask(
        "POST", "captchas",
        ServiceClient::document("captchaCreationRequest",
                                "<width>" + width + "</width><height>" + height + "</height>"));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.at("imageType"), QStringLiteral("image/png"));
    QVERIFY(!answer.at("captchaId").isEmpty());
    QImage picture;
    QVERIFY(picture.loadFromData(QByteArray::fromBase64(answer.at("imageData").toLatin1()), "PNG"));
    QCOMPARE(picture.size(), size);
}

void TestOperationsLookups::drawsTheTextOfACaptcha()
{
    const Answer answer = mService.ask(
        "POST", "captchas",
        ServiceClient::document("captchaCreationRequest", "<width>310</width><height>90</height>"));
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
                                .admin("GET", QLatin1String("/captchas/") + answer.at("captchaId"))
                                .body.trimmed();
    QCOMPARE(text.size(), 5);
    QCOMPARE(groups, 5);
    QCOMPARE(mService.emulator().admin("GET", QStringLiteral("/captchas/0123")).status, 404);
    QVERIFY(mService.captcha().second != mService.captcha().second);
}

void TestOperationsLookups::offersQuestionsInTheLanguageAsked_data()
{
    QTest::addColumn<QByteArray>("language");
    QTest::addColumn<QString>("first");
    const QString english = QStringLiteral("What was the name of your first pet?");
    const QString finnish =
        QString::fromUtf8("Mik\xc3\xa4 oli ensimm\xc3\xa4isen lemmikkisi nimi?");
    const QString german = QString::fromUtf8("Wie hie\xc3\x9f dein erstes Haustier?");
    QTest::newRow("English") << QByteArray("en") << english;
    QTest::newRow("Finnish") << QByteArray("fi") << finnish;
    QTest::newRow("Finnish of Finland") << QByteArray("fi_FI") << finnish;
    QTest::newRow("German") << QByteArray("de-AT,en;q=0.5") << german;
    QTest::newRow("unknown") << QByteArray("xx") << english;
    QTest::newRow("Filipino") << QByteArray("fil") << english;
    QTest::newRow("none") << QByteArray() << english;
}

void TestOperationsLookups::offersQuestionsInTheLanguageAsked()
{
    QFETCH(QByteArray, language);
    QFETCH(QString, first);
    SignedRequest request("/rest/1.0/securityquestions");
    request.language = language;
    const Answer answer = mService.ask(request);
    QCOMPARE(answer.root.childNodes().size(), 5);
    QCOMPARE(answer.leaves("securityQuestion"),
             QStringLiteral("securityQuestionId=1 securityQuestionText=") + first);
}

void TestOperationsLookups::detectsKnownSubscribers()
{
    const auto detect = [this](const QByteArray& msin) {
        return mService.ask("POST", "autodetection",
                            ServiceClient::document("autoDetectionRequest", deviceFacts(msin)));
    };
    const Answer known = detect("1234567890");
    QCOMPARE(known.leaves(""),
             QStringLiteral("preAccountId=%1 username=somebody mobile=+358409876543 country=FI")
                 .arg(known.at("preAccountId")));
    QVERIFY(!known.at("preAccountId").isEmpty());
    const Answer bare = detect("5550001");
    QCOMPARE(bare.status, 200);
    QCOMPARE(bare.root.childNodes().size(), 1);
    const Answer unknown = detect("42");
    QCOMPARE(unknown.status, 404);
    QCOMPARE(unknown.errorCode(), QStringLiteral("resourceNotFound"));
}

void TestOperationsLookups::leadsToTerms_data()
{
    QTest::addColumn<SignedRequest::Pairs>("query");
    QTest::addColumn<QString>("expected");
    using Pairs = SignedRequest::Pairs;
    QTest::newRow("all") << Pairs{{"lang", "fi"}, {"country", "FI"}, {"format", "html"}}
                         << QStringLiteral("?lang=fi&country=FI&format=html");
    QTest::newRow("language") << Pairs{{"lang", "pt BR"}, {"format", "text"}}
                              << QStringLiteral("?lang=pt%20BR&format=text");
    QTest::newRow("country") << Pairs{{"country", "FI"}, {"format", "text"}}
                             << QStringLiteral("?country=FI&format=text");
    QTest::newRow("neither") << Pairs{{"format", "html"}} << QStringLiteral("?format=html");
}

void TestOperationsLookups::leadsToTerms()
{
    QFETCH(SignedRequest::Pairs, query);
    QFETCH(QString, expected);
    SignedRequest request("/rest/1.0/services/music");
    request.query = query;
    const Answer answer = mService.ask(request);
    QCOMPARE(answer.status, 200);
    const QString site = QStringLiteral("https://") + QString::fromLatin1(request.host);
    QCOMPARE(answer.leaves(""), QStringLiteral("serviceUrl=%1/services/music tosUrl=%1/terms%2 "
                                               "privacyPolicyUrl=%1/privacy%2 "
                                               "serviceSpecificTosUrl=%1/services/music/terms%2")
                                    .arg(site)
                                    .arg(expected));
}

void TestOperationsLookups::refusesMalformedTermsQueries_data()
{
    QTest::addColumn<SignedRequest::Pairs>("query");
    using Pairs = SignedRequest::Pairs;
    QTest::newRow("none") << Pairs{};
    QTest::newRow("no format") << Pairs{{"lang", "fi"}};
    QTest::newRow("empty language") << Pairs{{"lang", ""}, {"format", "html"}};
    QTest::newRow("country first") << Pairs{{"country", "FI"}, {"lang", "fi"}, {"format", "html"}};
    QTest::newRow("format first") << Pairs{{"format", "html"}, {"lang", "fi"}};
    QTest::newRow("other format") << Pairs{{"format", "pdf"}};
    QTest::newRow("empty format") << Pairs{{"format", ""}};
    QTest::newRow("other item") << Pairs{{"format", "html"}, {"page", "1"}};
}

void TestOperationsLookups::refusesMalformedTermsQueries()
{
    QFETCH(SignedRequest::Pairs, query);
    SignedRequest request("/rest/1.0/services/music");
    request.query = query;
    const Answer answer = mService.ask(request);
    QCOMPARE(answer.status, 400);
    QCOMPARE(answer.errorCode(), QStringLiteral("invalidUrl"));
}

void TestOperationsLookups::tellsFreeAddresses_data()
{
    QTest::addColumn<QByteArray>("email");
    QTest::addColumn<QByteArray>("tag");
    QTest::addColumn<QString>("errorCode");
    QTest::addColumn<QString>("detail");
    QTest::newRow("free") << QByteArray("free@mail.example") << goodTag << QString() << QString();
    QTest::newRow("taken") << QByteArray("kim@mail.example") << goodTag
                           << QStringLiteral("operationFailed") << QString();
    QTest::newRow("taken, other case") << QByteArray("Kim@Mail.example") << goodTag
                                       << QStringLiteral("operationFailed") << QString();
    QTest::newRow("malformed") << QByteArray("kim") << goodTag
                               << QStringLiteral("attributeSyntaxError") << QString();
    QTest::newRow("no tag") << QByteArray("free@mail.example") << QByteArray()
                            << QStringLiteral("operationFailed")
                            << QStringLiteral("invalidServiceTag");
    QTest::newRow("revoked tag") << QByteArray("kim@mail.example") << revokedTag
                                 << QStringLiteral("operationFailed")
                                 << QStringLiteral("invalidServiceTag");
}

void TestOperationsLookups::tellsFreeAddresses()
{
    QFETCH(QByteArray, email);
    QFETCH(QByteArray, tag);
    QFETCH(QString, errorCode);
    QFETCH(QString, detail);
    const Answer answer =
        mService.ask("POST", "emailavailability/",
                     ServiceClient::document("emailAvailabilityRequest",
                                             "<email>" + email + "</email><serviceTag>" + tag +
                                                 "</serviceTag>"));
    QCOMPARE(answer.status == 200, errorCode.isEmpty());
    QCOMPARE(answer.errorCode(), errorCode);
    QCOMPARE(answer.at("extensions/detailedErrorCode"), detail);
}

void TestOperationsLookups::choosesConsentVariantsByCountry_data()
{
    QTest::addColumn<QByteArray>("mcc");
    QTest::addColumn<QString>("variant");
    const auto row = [](const char* mcc, const char* variant) {
        QTest::newRow(qPrintable(QLatin1String("mcc ") + QLatin1String(mcc)))
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

void TestOperationsLookups::choosesConsentVariantsByCountry()
{
    QFETCH(QByteArray, mcc);
    QFETCH(QString, variant);
    const Answer answer = mService.ask(
        "POST", "consentqueryvariant",
        ServiceClient::document("consentQueryVariantRequest",
                                "<mobilePhoneSerialNumber></mobilePhoneSerialNumber><mcc>" + mcc +
                                    "</mcc><mnc></mnc><hashedMSIN></hashedMSIN>"));
    QCOMPARE(answer.at("consentQueryVariant"), variant);
}

QTEST_GUILESS_MAIN(TestOperationsLookups)
#include "tst_operations_lookups.moc"
