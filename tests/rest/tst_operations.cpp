// SPDX-License-Identifier: LGPL-2.1-or-later
#include "devicesetup.h"
#include "operations/operations.h"
#include "rest/operations/registeraccountrequest.h"
#include "signedrequests.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QTest>
#include <QUrl>

using namespace KelRestHandler;
using operations::Operation;
using operations::Values;

namespace {

const auto base = "https://account.example/rest/1.0/"_s;

// Arguments that nobody should pass and somebody will.
QStringList oddTexts()
{
    return {
        QString(),
        "</a><b c=\"d\">&amp;]]>"_s,
        "../x/y?z=1&format=no#end"_s,
        "jörg@bücher.example"_s,
        "a\r\nb\tc\u0001"_s,
        QString(QChar(0xD800)),
        QString(100000, QLatin1Char('x')),
        "100%25 %zz %1"_s,
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

    void aRequestIsCompleteWhenItExists_data() { operations::rows(); }
    void aRequestIsCompleteWhenItExists()
    {
        QFETCH(int, number);
        const Operation& row = operations::of(number);
        const auto request = make(number);
        QCOMPARE(operations::classOf(*request), QLatin1String(row.requestClass));
        QCOMPARE(static_cast<int>(request->getRequestType()), number);
        QCOMPARE(request->getConsumerKey(), operations::consumerKey);
        compareWithRow(*request, row);
        const QString document = row.documentWith(mValues);
        const QString form = request->getHttpBody();
        if (row.body) {
            QVERIFY(form.startsWith(QLatin1String("XMLContent=")));
            const QByteArray encoded = form.section(QLatin1Char('='), 1).toUtf8();
            QCOMPARE(
                operations::withoutChance(
                    QString::fromUtf8(QByteArray::fromPercentEncoding(encoded)), mValues.password),
                document);
        } else {
            QVERIFY(!row.document);
            QCOMPARE(form, QString());
        }
        QCOMPARE(request->getHeaders().value("Accept-Language"_s), row.languageWith(mValues));

        const bool token = row.traits & operations::WithToken;
        QCOMPARE(mProvider.signedFor, operations::consumerKey);
        QCOMPARE(mProvider.signedWithToken, token);
        QCOMPARE(mProvider.signedBase.contains(QLatin1String("oauth_token")), token);
        const QString header = request->getHeaders().value("Authorization"_s);
        QCOMPARE(header.endsWith(QLatin1String(", oauth_token=\"token-77")), token);
        // The signature is made for POST, whatever the verb.
        QVERIFY(mProvider.signedBase.startsWith(QLatin1String("POST&")));
    }

    void withoutATokenTheVerbStays_data() { operations::rows(); }
    void withoutATokenTheVerbStays()
    {
        QFETCH(int, number);
        mValues.token.clear();
        compareWithRow(*make(number), operations::of(number));
    }

    void oddArgumentsChangeNothingElse_data() { operations::rows(); }
    void oddArgumentsChangeNothingElse()
    {
        QFETCH(int, number);
        const MessageLog log; // an empty e-mail address is reported, as the bodies' tests check
        for (const QString& text : oddTexts()) {
            mValues = Values::filledWith(text);
            devicesetup::withoutModem(mValues);
            compareWithRow(*make(number), operations::of(number));
        }
    }

    void addressAndBodyStayTogetherWhenTheSimGoes()
    {
        Values withSim;
        devicesetup::withSim(withSim);
        mValues = withSim;
        const auto request = make(RegisterAccount);
        KelTest::FakeModem::reset();
        compareWithRow(*request, operations::of(RegisterAccount));
        QCOMPARE(request->getUrl(), QUrl(base + QLatin1String("phoneactivationregistration")));
    }

    void theDeviceIsDescribedByWhoAsksForIt_data()
    {
        operations::rows([](const Operation& row) { return row.traits & operations::WithDevice; });
    }
    void theDeviceIsDescribedByWhoAsksForIt()
    {
        QFETCH(int, number);
        for (const auto prepare :
             {devicesetup::withoutModem, devicesetup::withSim, devicesetup::withLockedSim,
              devicesetup::withSimWithoutCountry}) {
            prepare(mValues);
            const auto request = make(number);
            compareWithRow(*request, operations::of(number));
            if (number == RegisterAccount)
                QCOMPARE(static_cast<RegisterAccountRequest&>(*request).isSimPresent(),
                         mValues.simPresent);
        }
        devicesetup::withSim(mValues);
        // printf 7654321098 | sha1sum | xxd -r -p | base64
        QVERIFY(make(number)->createXMLMessage().contains(
            QLatin1String("<hashedMSIN>RRy72nBuSVLkdQ/Nkq8GzntxQAc=</hashedMSIN>")));
    }

    void noOtherOperationAsksTheModem()
    {
        for (const Operation& row : operations::all()) {
            devicesetup::withSim(mValues);
            make(row.number);
            const bool asks = row.traits & operations::WithDevice;
            QVERIFY2((KelTest::FakeModem::readings() > 0) == asks, row.requestClass);
        }
    }

    void theRecoveryAddressHasAnAsciiDomain()
    {
        mValues.userId = "jörg@bücher.example"_s;
        QCOMPARE(make(SendResetMessage)->getRestURL(),
                 base + "simplifiedpasswordrecovery/jörg@xn--bcher-kva.example/send"_s);
        // The two other addresses of a recovery take the user as given.
        QCOMPARE(make(ResetPassword)->getRestURL(),
                 base + "simplifiedpasswordrecovery/jörg@bücher.example/change"_s);
        QCOMPARE(make(RetrieveSecurityQuestion)->getRestURL(),
                 base + "simplifiedpasswordrecovery/jörg@bücher.example/question"_s);
    }

    void aUserNameInTheRecoveryAddressStays()
    {
        mValues.userId = "+358401234567"_s;
        QCOMPARE(make(SendResetMessage)->getRestURL(),
                 base + QLatin1String("simplifiedpasswordrecovery/+358401234567/send"));
    }

    void theTermsAddressLeavesOutWhatIsEmpty_data()
    {
        columns<QString, QString, int, QString>("language", "country", "format", "address");
        const auto fi = "fi"_s;
        const auto FI = "FI"_s;
        QTest::newRow("both") << fi << FI << 1 << "services/music?lang=fi&country=FI&format=html";
        QTest::newRow("language") << fi << QString() << 1 << "services/music?lang=fi&format=html";
        QTest::newRow("country") << QString() << FI << 1 << "services/music?country=FI&format=html";
        QTest::newRow("neither") << QString() << QString() << 1 << "services/music?format=html";
        row("as text", fi, FI, 0, "services/music?lang=fi&country=FI&format=text");
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
        QCOMPARE(make(RetrieveTermsOfService)->getRestURL(), base + address);
    }

    void signingInSendsTheTimeThatSignsIt()
    {
        const auto request = make(SignIn);
        QVERIFY(
            request->createXMLMessage().contains(QLatin1String("<created>1700000000</created>")));
        QVERIFY(!request->getHttpBody().contains(QLatin1String("Secret")));
    }

    void anEmptyAddressOrPasswordGivesNoBody()
    {
        const MessageLog log;
        mValues.emailAddress.clear();
        mValues.newPassword.clear();
        for (const int number : {RetrieveEmailIdAvailability, ChangePassword}) {
            const auto request = make(number);
            QCOMPARE(request->createXMLMessage(), QString());
            QCOMPARE(request->getHttpBody(), QString());
        }
    }

private:
    std::unique_ptr<OAuthRequest> make(int number)
    {
        mProvider.token = mValues.token;
        mProvider.timeStamp = operations::timeStamp;
        return operations::of(number).make(mProvider, base, mValues);
    }

    void compareWithRow(OAuthRequest& request, const Operation& row)
    {
        QCOMPARE(request.getHttpRequestType(), QString::fromLatin1(row.verb));
        QCOMPARE(request.getTypOfRequest(), QString::fromLatin1(row.verb));
        QCOMPARE(request.isTokenRequired(), bool(row.traits & operations::WithToken));
        QCOMPARE(request.getRestURL(), base + row.addressWith(mValues));
        QCOMPARE(request.getUrl(), QUrl(base + row.addressWith(mValues)));
        QCOMPARE(operations::withoutChance(request.createXMLMessage(), mValues.password),
                 row.documentWith(mValues));
    }

    RecordingProvider mProvider;
    Values mValues;
};

QTEST_GUILESS_MAIN(TestOperations)
#include "tst_operations.moc"
