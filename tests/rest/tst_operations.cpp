// SPDX-License-Identifier: LGPL-2.1-or-later
#include "devicesetup.h"
#include "operations/operations.h"
#include "rest/operations/registeraccountrequest.h"
#include "signedrequests.h"
#include "support/literals.h"
#include "support/messagelog.h"

#include <QTest>
#include <QUrl>

using namespace KelRestHandler;
using operations::Operation;
using operations::Values;

namespace {

const auto serviceBase = "https://account.example/rest/1.0/"_s;

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
        QCOMPARE(request->getHttpBody().isEmpty(), !row.body);
        QCOMPARE(row.document != nullptr, row.body != nullptr);

        const bool token = row.traits & operations::WithToken;
        QCOMPARE(mProvider.signedFor, operations::consumerKey);
        QCOMPARE(mProvider.signedWithToken, token);
        QCOMPARE(mProvider.signedBase.contains(QLatin1String("oauth_token")), token);
        const QString header = request->getHeaders().value("Authorization"_s);
        QCOMPARE(header.endsWith(QLatin1String(", oauth_token=\"token-77")), token);
        // The signature is made for POST, whatever the verb.
        QVERIFY(mProvider.signedBase.startsWith(QLatin1String("POST&")));
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
        QCOMPARE(request->getUrl(),
                 QUrl(serviceBase + QLatin1String("phoneactivationregistration")));
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
                 serviceBase + "simplifiedpasswordrecovery/jörg@xn--bcher-kva.example/send"_s);
        // The two other addresses of a recovery take the user as given.
        compareWithRow(*make(ResetPassword), operations::of(ResetPassword));
        compareWithRow(*make(RetrieveSecurityQuestion), operations::of(RetrieveSecurityQuestion));
    }

    void theTermsAddressLeavesOutWhatIsEmpty()
    {
        for (const QString& language : {QString(), "fi"_s}) {
            for (const QString& country : {QString(), "FI"_s}) {
                for (const TermsFormat format : {TermsFormatText, TermsFormatHtml}) {
                    mValues.language = language;
                    mValues.country = country;
                    mValues.format = format;
                    compareWithRow(*make(RetrieveTermsOfService),
                                   operations::of(RetrieveTermsOfService));
                }
            }
        }
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
        return operations::of(number).make(mProvider, serviceBase, mValues);
    }

    void compareWithRow(OAuthRequest& request, const Operation& row)
    {
        QCOMPARE(request.getHttpRequestType(), QString::fromLatin1(row.verb));
        QCOMPARE(request.getTypOfRequest(), QString::fromLatin1(row.verb));
        QCOMPARE(request.isTokenRequired(), bool(row.traits & operations::WithToken));
        QCOMPARE(request.getRestURL(), serviceBase + row.addressWith(mValues));
        QCOMPARE(request.getUrl(), QUrl(serviceBase + row.addressWith(mValues)));
        QCOMPARE(operations::withoutChance(request.createXMLMessage(), mValues.password),
                 row.documentWith(mValues));
    }

    RecordingProvider mProvider;
    Values mValues;
};

QTEST_GUILESS_MAIN(TestOperations)
#include "tst_operations.moc"
