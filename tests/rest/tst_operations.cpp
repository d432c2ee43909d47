// SPDX-License-Identifier: LGPL-2.1-or-later
#include "devicesetup.h"
#include "operationtable.h"
#include "signedrequests.h"
#include "support/messagelog.h"

#include <QTest>
#include <QUrl>

#include <cxxabi.h>

#include <typeinfo>

using namespace KelRestHandler;
using operationtable::Operation;
using operationtable::Values;

namespace {

const auto base = QStringLiteral("https://account.example/rest/1.0/");

QString className(const OAuthRequest& request)
{
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(typeid(request).name(), nullptr, nullptr, nullptr), &std::free);
    return QString::fromLatin1(name.get());
}

const Operation& operationOf(int type)
{
    return operationtable::all().at(type - 1);
}

// Arguments that nobody should pass and somebody will.
QMap<QString, QString> oddTexts()
{
    return {
        {QStringLiteral("nothing"), QString()},
        {QStringLiteral("markup"), QStringLiteral("</a><b c=\"d\">&amp;]]>")},
        {QStringLiteral("of an address"), QStringLiteral("../x/y?z=1&format=no#end")},
        {QStringLiteral("international"), QString::fromUtf8("jörg@bücher.example")},
        {QStringLiteral("controls"), QStringLiteral("a\r\nb\tc\u0001")},
        {QStringLiteral("half a character"), QString(QChar(0xD800))},
        {QStringLiteral("long"), QString(100000, QLatin1Char('x'))},
        {QStringLiteral("percent signs"), QStringLiteral("100%25 %zz %1")},
    };
}

} // namespace

class TestOperations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mProvider = {};
        mValues = {};
        devicesetup::withoutModem(mValues);
    }

    void thereAreTwentySixOperations()
    {
        QCOMPARE(operationtable::all().size(), 26);
        for (int type = 1; type <= 26; ++type)
            QCOMPARE(operationOf(type).type, type);
    }

    void everyClassIsWhatItsRowSays_data() { addOperations(); }

    void everyClassIsWhatItsRowSays()
    {
        QFETCH(int, type);
        const Operation& row = operationOf(type);
        const auto request = make(row);
        QCOMPARE(className(*request),
                 QLatin1String("KelRestHandler::") + QLatin1String(row.requestClass));
        QCOMPARE(static_cast<int>(request->getRequestType()), type);
        QCOMPARE(request->getConsumerKey(), operationtable::consumerKey);
        compareWithRow(*request, row);
    }

    void aRequestIsCompleteWhenItExists_data() { addOperations(); }

    void aRequestIsCompleteWhenItExists()
    {
        QFETCH(int, type);
        const Operation& row = operationOf(type);
        const auto request = make(row);
        QCOMPARE(request->getTypOfRequest(), QString::fromLatin1(row.verb));
        QCOMPARE(request->getUrl(), QUrl(base + row.address(mValues)));
        const QString document = operationtable::expectedDocument(row, mValues);
        const QString form = request->getHttpBody();
        if (document.isEmpty()) {
            QVERIFY(!row.document);
            QCOMPARE(form, QString());
            QCOMPARE(request->createXMLMessage(), QString());
        } else {
            QVERIFY(form.startsWith(QLatin1String("XMLContent=")));
            const QByteArray encoded = form.section(QLatin1Char('='), 1).toUtf8();
            QCOMPARE(
                operationtable::withoutChance(
                    QString::fromUtf8(QByteArray::fromPercentEncoding(encoded)), mValues.password),
                document);
        }
        QCOMPARE(request->getHeaders().value(QStringLiteral("Accept-Language")),
                 row.language ? row.language(mValues) : QStringLiteral("en"));
    }

    void theTokenSignsWhereTheRowSaysSo_data() { addOperations(); }

    void theTokenSignsWhereTheRowSaysSo()
    {
        QFETCH(int, type);
        const Operation& row = operationOf(type);
        const auto request = make(row);
        QCOMPARE(mProvider.signedFor, operationtable::consumerKey);
        QCOMPARE(mProvider.signedWithToken, row.token);
        QCOMPARE(mProvider.signedBase.contains(QLatin1String("oauth_token")), row.token);
        const QString header = request->getHeaders().value(QStringLiteral("Authorization"));
        QCOMPARE(header.endsWith(QLatin1String(", oauth_token=\"token-77")), row.token);
        // The signature is made for POST, whatever the verb.
        QVERIFY(mProvider.signedBase.startsWith(QLatin1String("POST&")));
    }

    void withoutATokenTheVerbStays_data() { addOperations(); }

    void withoutATokenTheVerbStays()
    {
        QFETCH(int, type);
        mValues.token.clear();
        compareWithRow(*make(operationOf(type)), operationOf(type));
    }

    void oddArgumentsChangeNothingElse_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("text");
        const auto texts = oddTexts();
        for (const Operation& row : operationtable::all()) {
            for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
                QTest::addRow("%d %s", row.type, qPrintable(text.key()))
                    << row.type << text.value();
            }
        }
    }

    void oddArgumentsChangeNothingElse()
    {
        QFETCH(int, type);
        QFETCH(QString, text);
        const MessageLog log; // an empty e-mail address is reported, as the bodies' tests check
        mValues = operationtable::filledWith(text);
        devicesetup::withoutModem(mValues);
        const Operation& row = operationOf(type);
        const auto request = make(row);
        compareWithRow(*request, row);
        QCOMPARE(request->getTypOfRequest(), QString::fromLatin1(row.verb));
        QCOMPARE(request->getUrl(), QUrl(base + row.address(mValues)));
    }

    void withASimRegistrationActivatesThePhone()
    {
        devicesetup::withSim(mValues);
        const auto request = make(operationOf(5));
        QVERIFY(static_cast<RegisterAccountRequest&>(*request).isSimPresent());
        QCOMPARE(request->getRestURL(), base + QLatin1String("phoneactivationregistration"));
        QCOMPARE(request->createXMLMessage(),
                 MsgCreator::xmlPreRegistration(QStringLiteral("490154203237518"),
                                                QStringLiteral("244"), QStringLiteral("91"),
                                                mValues.device.hashedMsin, mValues.captchaId,
                                                mValues.registration, mValues.serviceTag));
    }

    void withoutASimRegistrationIsPlain()
    {
        const auto request = make(operationOf(5));
        QVERIFY(!static_cast<RegisterAccountRequest&>(*request).isSimPresent());
        QCOMPARE(request->getRestURL(), base + QLatin1String("accounts"));
        QCOMPARE(request->createXMLMessage(),
                 MsgCreator::xmlRegistration(mValues.registration, mValues.captchaId,
                                             mValues.serviceTag));
    }

    void aLockedSimCounts()
    {
        devicesetup::withLockedSim(mValues);
        const auto request = make(operationOf(5));
        QVERIFY(static_cast<RegisterAccountRequest&>(*request).isSimPresent());
        compareWithRow(*request, operationOf(5));
        QVERIFY(request->createXMLMessage().contains(
            QLatin1String("<mcc></mcc><mnc></mnc><hashedMSIN>2jmj7l5rSw0yVb/vlWAYkK/YBwk=<")));
    }

    void addressAndBodyStayTogetherWhenTheSimGoes()
    {
        Values withSim;
        devicesetup::withSim(withSim);
        mValues = withSim;
        const auto request = make(operationOf(5));
        KelTest::FakeModem::reset();
        compareWithRow(*request, operationOf(5));
        QCOMPARE(request->getUrl(), QUrl(base + QLatin1String("phoneactivationregistration")));
    }

    void theDeviceIsDescribedByWhoAsksForIt_data()
    {
        QTest::addColumn<int>("type");
        for (int type : {5, 7, 12, 26})
            QTest::addRow("%d", type) << type;
    }

    void theDeviceIsDescribedByWhoAsksForIt()
    {
        QFETCH(int, type);
        devicesetup::withSim(mValues);
        compareWithRow(*make(operationOf(type)), operationOf(type));
        devicesetup::withLockedSim(mValues);
        compareWithRow(*make(operationOf(type)), operationOf(type));
        devicesetup::withSimWithoutCountry(mValues);
        compareWithRow(*make(operationOf(type)), operationOf(type));
    }

    void noOtherOperationAsksTheModem()
    {
        for (const Operation& row : operationtable::all()) {
            devicesetup::withSim(mValues);
            make(row);
            const bool asks = row.type == 5 || row.type == 7 || row.type == 12 || row.type == 26;
            QVERIFY2((KelTest::FakeModem::readings() > 0) == asks, row.requestClass);
        }
    }

    void theHashedSubscriberIsBase64InEveryDocument()
    {
        devicesetup::withSim(mValues);
        // printf 7654321098 | sha1sum | xxd -r -p | base64
        const QString element =
            QStringLiteral("<hashedMSIN>RRy72nBuSVLkdQ/Nkq8GzntxQAc=</hashedMSIN>");
        for (int type : {5, 7, 12, 26}) {
            const QString document = make(operationOf(type))->createXMLMessage();
            QVERIFY2(document.contains(element), operationOf(type).requestClass);
        }
    }

    void theRecoveryAddressHasAnAsciiDomain()
    {
        mValues.userId = QString::fromUtf8("jörg@bücher.example");
        QCOMPARE(
            make(operationOf(10))->getRestURL(),
            base + QString::fromUtf8("simplifiedpasswordrecovery/jörg@xn--bcher-kva.example/send"));
        // The two other addresses of a recovery take the user as given.
        QCOMPARE(make(operationOf(13))->getRestURL(),
                 base + QString::fromUtf8("simplifiedpasswordrecovery/jörg@bücher.example/change"));
        QCOMPARE(make(operationOf(14))->getRestURL(),
                 base +
                     QString::fromUtf8("simplifiedpasswordrecovery/jörg@bücher.example/question"));
    }

    void aUserNameInTheRecoveryAddressStays()
    {
        mValues.userId = QStringLiteral("+358401234567");
        QCOMPARE(make(operationOf(10))->getRestURL(),
                 base + QLatin1String("simplifiedpasswordrecovery/+358401234567/send"));
    }

    void theTermsAddressLeavesOutWhatIsEmpty_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("country");
        QTest::addColumn<int>("format");
        QTest::addColumn<QString>("address");
        const auto fi = QStringLiteral("fi");
        const auto FI = QStringLiteral("FI");
        QTest::newRow("both") << fi << FI << 1 << "services/music?lang=fi&country=FI&format=html";
        QTest::newRow("language") << fi << QString() << 1 << "services/music?lang=fi&format=html";
        QTest::newRow("country") << QString() << FI << 1 << "services/music?country=FI&format=html";
        QTest::newRow("neither") << QString() << QString() << 1 << "services/music?format=html";
        QTest::newRow("as text") << fi << FI << 0
                                 << "services/music?lang=fi&country=FI&format=text";
    }

    void theTermsAddressLeavesOutWhatIsEmpty()
    {
        QFETCH(QString, language);
        QFETCH(QString, country);
        QFETCH(int, format);
        QFETCH(QString, address);
        mValues.language = language;
        mValues.country = country;
        mValues.format = static_cast<TermsFormat>(format);
        QCOMPARE(make(operationOf(8))->getRestURL(), base + address);
    }

    void signingInSendsTheTimeThatSignsIt()
    {
        const auto request = make(operationOf(1));
        QVERIFY(
            request->createXMLMessage().contains(QLatin1String("<created>1700000000</created>")));
        QVERIFY(!request->getHttpBody().contains(QLatin1String("Secret")));
    }

    void anEmptyAddressOrPasswordGivesNoBody()
    {
        const MessageLog log;
        mValues.emailAddress.clear();
        mValues.newPassword.clear();
        for (int type : {11, 15}) {
            const auto request = make(operationOf(type));
            QCOMPARE(request->createXMLMessage(), QString());
            QCOMPARE(request->getHttpBody(), QString());
        }
    }

private:
    static void addOperations()
    {
        QTest::addColumn<int>("type");
        for (const Operation& row : operationtable::all())
            QTest::addRow("%d %s", row.type, row.requestClass) << row.type;
    }

    std::unique_ptr<OAuthRequest> make(const Operation& row)
    {
        mProvider.token = mValues.token;
        mProvider.timeStamp = operationtable::timeStamp;
        return row.make({row.type, mProvider, base}, mValues);
    }

    void compareWithRow(OAuthRequest& request, const Operation& row)
    {
        QCOMPARE(request.getHttpRequestType(), QString::fromLatin1(row.verb));
        QCOMPARE(request.isTokenRequired(), row.token);
        QCOMPARE(request.getRestURL(), base + row.address(mValues));
        QCOMPARE(operationtable::withoutChance(request.createXMLMessage(), mValues.password),
                 operationtable::expectedDocument(row, mValues));
    }

    RecordingProvider mProvider;
    Values mValues;
};

QTEST_GUILESS_MAIN(TestOperations)
#include "tst_operations.moc"
