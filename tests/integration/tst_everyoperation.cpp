// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs inside the emulator: every operation of the request handler once, over TLS, in an order in
// which each finds what it needs.
#include "emulatedservice.h"
#include "operations/answers.h"
#include "operations/recordedanswers.h"
#include "rest/request/cryptographicutils.h"
#include "rest/request/oauthrequest.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/timestampmanager.h"
#include "rest/restrequesthandler.h"
#include "support/literals.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPixmap>
#include <QSignalSpy>
#include <QTest>

#include <memory>
#include <type_traits>

using namespace KelRestHandler;
using operations::Operation;
namespace EmulatedService = KelTest::EmulatedService;

namespace {

constexpr int answerPatience = 10000;
const auto key = "demo-key"_s;
const QByteArray serviceTag = "any tag"_ba.toBase64();

// Signs with the emulator's consumer secret; the token is the test's.
class Signer : public ISignatureProvider
{
public:
    QString token;

    QString getToken(QString const& /*consumerKey*/) override { return token; }
    QString createSignature(QString const& /*consumerKey*/, QString const& base,
                            bool /*useToken*/) override
    {
        return CryptographicUtils::HMACSHA1(base, "demo-secret&"_s);
    }
    QString getTimeStamp() override { return TimeStampManager::getTimeStampManager()->timeStamp(); }
};

using Handler = RESTRequestHandler;

} // namespace

class TestEveryOperation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(EmulatedService::isThere(),
                 "run it with kelaccount-emulator run -- tst_everyoperation");
    }

    void signsIn() // 1
    {
        const auto answer = record<TokenCreationResponse>(
            &Handler::signInResponse, &Handler::sendSignInRequest, "alice"_s, "secret"_s);
        QCOMPARE(answer.status, 0);
        QCOMPARE(answer.userName, "alice"_s);
        QVERIFY(!answer.tokenInfo.token.isEmpty());
        QVERIFY(answer.tokenInfo.ttl > 0);
        mSigner.token = answer.tokenInfo.token;
        mAccountId = answer.accountInfo.accountId;
        QVERIFY(!mAccountId.isEmpty());
    }

    void refreshesTheToken() // 2
    {
        const auto answer = record<TokenRefreshResponse>(&Handler::tokenRefreshResponse,
                                                         &Handler::sendTokenRefreshRequest);
        QCOMPARE(answer.status, 0);
        QVERIFY(!answer.tokenInfo.token.isEmpty());
        mSigner.token = answer.tokenInfo.token;
    }

    void fetchesACaptchaAndRegistersWithIt() // 4 and 5
    {
        const QString captchaId = answerTo(&Handler::retrieveCaptchaImageResponse,
                                           &Handler::sendRetrieveCaptchaImageRequest, 200, 80)
                                      .value(2)
                                      .toString();
        RegistrationInfoData registration;
        registration.userName = "carol"_s;
        registration.emailAddress = "carol@example.org"_s;
        registration.password = "carols-password"_s;
        registration.countryAsString = "FI"_s;
        registration.captchaText = QString::fromLatin1(
            EmulatedService::ask("GET", ("/captchas/" + captchaId.toLatin1()).constData())
                .body.trimmed());
        QVERIFY(!registration.captchaText.isEmpty());
        using HandedOut =
            int (Handler::*)(ISignatureProvider&, const RegistrationInfoData&, const QString&,
                             const QByteArray&, const QString&, const QString&, OAuthRequest**);
        QSignalSpy plain(&mHandler, &Handler::registerAccountResponse);
        const auto answer = record<RegistrationResponse>(
            &Handler::accountRegistrationResponse,
            static_cast<HandedOut>(&Handler::sendRegisterAccountRequest), registration, captchaId,
            QByteArray());
        QCOMPARE(answer.status, 0);
        QCOMPARE(plain.count(), 1);
        QCOMPARE(plain.first().at(0).toInt(), 0);
        QVERIFY(!answer.accountInfo.accountId.isEmpty());
    }

    void asksWhatIsAskedByADocument() // 7, 11, 12
    {
        // No account is held ready for a device without a SIM.
        QCOMPARE(
            status<int>(&Handler::detectPreAccountResponse, &Handler::senddetectPreAccountRequest),
            507);
        QCOMPARE(status<int>(&Handler::emailIdAvailabilityResponse,
                             &Handler::sendisEmailAddAvailableRequest, "dave@example.org"_s,
                             serviceTag),
                 0);
        QCOMPARE(status<int>(&Handler::queryMarketingVariantResponse,
                             &Handler::sendQueryMarketingRequest),
                 0);
    }

    void changesTheSecurityQuestion() // 24
    {
        KelRestHandler::ProfileInfo profile;
        profile.setSecurityQuestionId("1"_s);
        profile.setSecurityAnswer("Rex"_s);
        QCOMPARE(status<RESTResponseBase>(&Handler::updateSecurityQuestionResponse,
                                          &Handler::sendUpdateSecurityQuestionRequest, profile,
                                          mAccountId),
                 0);
    }

    void givesAUserName() // 25: alice has one already
    {
        QCOMPARE(status<DownloadProfileResponse>(&Handler::setUserIdResponse,
                                                 &Handler::sendSetUserNameRequest, mAccountId,
                                                 "alice2"_s),
                 526);
    }

    void acceptsTerms() // 21
    {
        TermsAcceptanceData acceptance;
        acceptance.hasAcceptedTos = true;
        acceptance.hasAcceptedPrivacyPolicy = true;
        QCOMPARE(status<RESTResponseBase>(&Handler::updateTermsAcceptanceResponse,
                                          &Handler::sendUpdateTermsAcceptanceRequest, acceptance,
                                          "music"_s),
                 0);
    }

    void asksWhatThereIsToAsk_data()
    {
        operations::rows([](const Operation& row) { return row.verb == "GET"_ba && row.answers; });
    }
    // All that send nothing and change nothing, with what some of them have to say by now.
    void asksWhatThereIsToAsk()
    {
        static const QMap<int, QStringList> said = {
            {3, {"available: no"_s}},
            {14, {"question id: 1"_s}},
            {20, {"terms: yes"_s, "service terms: no"_s, "privacy policy: yes"_s}},
            {22, {"user name: alice"_s, "e-mail: alice@example.org"_s}},
        };
        QFETCH(int, number);
        const Operation& row = operations::of(number);
        operations::Values values;
        values.accountId = mAccountId;
        values.userName = values.userId = "alice"_s;
        values.serviceId = values.termsId = "music"_s;
        const RecordedAnswers answers(mHandler);
        OAuthRequest* request = nullptr;
        QCOMPARE(
            row.sends.first().run({mHandler, mSigner, values, serverBaseAddress(2), &request, key}),
            0);
        const std::unique_ptr<OAuthRequest> owner(request);
        QTRY_COMPARE_WITH_TIMEOUT(answers.names(), row.signalNames(), answerPatience);
        QCOMPARE(answers.lines().at(1), "status: 0"_s);
        const QStringList record = answers.lines().mid(operations::answer(row, 0, {}).size());
        QVERIFY(!record.isEmpty());
        QVERIFY(record != row.nothing);
        for (const QString& line : said.value(number))
            QVERIFY2(record.contains(line), qPrintable(record.join(QLatin1Char('\n'))));
        // Where the terms are, in the words of the service.
        QVERIFY(number != 8 || !record.filter("tosUrl: "_s).isEmpty());
    }

    void tellsTheDevice() // 26
    {
        QCOMPARE(status<RESTResponseBase>(&Handler::updateDeviceInfoResponse,
                                          &Handler::sendUpdateDeviceInfoRequest, mAccountId),
                 0);
    }

    void theFiveWithoutASignalReachTheService() // 16 to 19 and 23
    {
        KelRestHandler::ProfileInfo profile;
        profile.setFirstName("Alice"_s);
        profile.setEmailAddress("alice@example.org"_s);
        ContactsInfo contacts;
        contacts.emailContacts = {{"alice@example.org"_s, true, false}};
        QCOMPARE(silently(&Handler::sendRetrieveMarketingConsentRequest, mAccountId), "16 200"_s);
        QCOMPARE(silently(&Handler::sendUpdateMarketingConsentRequest,
                          MarketingConsentInfo{true, false}, mAccountId),
                 "17 200"_s);
        QCOMPARE(silently(&Handler::sendRetrieveContactsInfoRequest, mAccountId), "18 200"_s);
        QCOMPARE(silently(&Handler::sendUpdateContactsInfoRequest, contacts, mAccountId),
                 "19 200"_s);
        QCOMPARE(silently(&Handler::sendUpdateProfileRequest, profile, mAccountId), "23 200"_s);
    }

    void changesThePassword() // 15
    {
        QCOMPARE(status<RESTResponseBase>(&Handler::changePasswordResponse,
                                          &Handler::sendChangePasswordRequest, mAccountId,
                                          "another-secret"_s),
                 0);
    }

    void recoversThePassword() // 10 and 13
    {
        QCOMPARE(status<int>(&Handler::requestPasswordResetResponse,
                             &Handler::sendresetPasswordRequest, "alice"_s, QString(), QString(),
                             true, "Your code:"_s, serviceTag),
                 0);
        const QJsonArray inbox =
            QJsonDocument::fromJson(EmulatedService::ask("GET", "/inbox").body).array();
        QCOMPARE(inbox.size(), 1);
        const QString token = inbox.first().toObject().value("token"_s).toString();
        QCOMPARE(status<RESTResponseBase>(&Handler::passwordResetResponse,
                                          &Handler::sendResetPasswordRequest, "alice"_s, token,
                                          "third-secret"_s, "Rex"_s, "en"_s),
                 0);
    }

    void endsTheToken() // 9
    {
        const auto signedIn = record<TokenCreationResponse>(
            &Handler::signInResponse, &Handler::sendSignInRequest, "alice"_s, "third-secret"_s);
        QCOMPARE(signedIn.status, 0);
        mSigner.token = signedIn.tokenInfo.token;
        QCOMPARE(status<RESTResponseBase>(&Handler::tokenDeletionResponse,
                                          &Handler::sendDeleteTokenRequest),
                 0);
    }

private:
    /// Sends; a request that is handed out stays with the caller.
    template <class Send, class... Values>
    int send(Send method, std::unique_ptr<OAuthRequest>& owner, const Values&... values)
    {
        const QString base = serverBaseAddress(2);
        ISignatureProvider& signer = mSigner;
        if constexpr (std::is_invocable_v<Send, Handler&, ISignatureProvider&, const Values&...,
                                          const QString&, const QString&, OAuthRequest**>) {
            OAuthRequest* request = nullptr;
            const int created = (mHandler.*method)(signer, values..., key, base, &request);
            owner.reset(request);
            return created;
        } else {
            return (mHandler.*method)(signer, values..., key, base);
        }
    }

    /// What the signal of the one answer carries; empty when there is not one.
    template <class Signal, class Send, class... Values>
    QVariantList answerTo(Signal signal, Send method, const Values&... values)
    {
        QSignalSpy spy(&mHandler, signal);
        std::unique_ptr<OAuthRequest> owner;
        if (send(method, owner, values...) != 0 || (spy.isEmpty() && !spy.wait(answerPatience)))
            return {};
        return spy.count() == 1 ? spy.first() : QVariantList();
    }

    /// An answer that is a record. Status -1: there was not one.
    template <class Response, class Signal, class Send, class... Values>
    Response record(Signal signal, Send method, const Values&... values)
    {
        Response none;
        none.status = -1;
        const QVariantList answer = answerTo(signal, method, values...);
        return answer.isEmpty() ? none : answer.first().template value<Response>();
    }

    /// The status alone, of a record or by itself. -1: there was not one.
    template <class Answer, class Signal, class Send, class... Values>
    int status(Signal signal, Send method, const Values&... values)
    {
        if constexpr (std::is_same_v<Answer, int>)
            return answerTo(signal, method, values...).value(0, -1).toInt();
        else
            return record<Answer>(signal, method, values...).status;
    }

    /// The operation that the service was asked, and the status that it answered with.
    template <class Send, class... Values>
    QString silently(Send method, const Values&... values)
    {
        EmulatedService::ask("DELETE", "/requests");
        std::unique_ptr<OAuthRequest> owner;
        QJsonArray requests;
        if (send(method, owner, values...) != 0 ||
            !QTest::qWaitFor(
                [&requests] {
                    requests =
                        QJsonDocument::fromJson(EmulatedService::ask("GET", "/requests").body)
                            .array();
                    return !requests.isEmpty();
                },
                answerPatience))
            return {};
        const QJsonObject last = requests.last().toObject();
        return "%1 %2"_s.arg(last.value("operation"_s).toInt()).arg(last.value("status"_s).toInt());
    }

    Signer mSigner;
    Handler mHandler;
    QString mAccountId;
};

QTEST_GUILESS_MAIN(TestEveryOperation)
#include "tst_everyoperation.moc"
