// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs inside the emulator: every operation of the request handler once, over TLS, in an order in
// which each finds what it needs.
#include "emulatedservice.h"
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

using namespace KelRestHandler;

namespace {

constexpr int patience = 10000;
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

} // namespace

class TestEveryOperation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(KelTest::EmulatedService::isThere(),
                 "run it with kelaccount-emulator run -- tst_everyoperation");
    }

    void signsIn() // 1
    {
        const auto answer = handedOut<TokenCreationResponse>(
            &RESTRequestHandler::signInResponse, [this](OAuthRequest** out) {
                return mHandler.sendSignInRequest(mSigner, "alice"_s, "secret"_s, key, base(), out);
            });
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
        const auto answer = handedOut<TokenRefreshResponse>(
            &RESTRequestHandler::tokenRefreshResponse, [this](OAuthRequest** out) {
                return mHandler.sendTokenRefreshRequest(mSigner, key, base(), out);
            });
        QCOMPARE(answer.status, 0);
        QVERIFY(!answer.tokenInfo.token.isEmpty());
        mSigner.token = answer.tokenInfo.token;
    }

    void asksForNames() // 3
    {
        const auto answer = handedOut<UserNameAvailabilityResponse>(
            &RESTRequestHandler::userNameAvailabilityResponse, [this](OAuthRequest** out) {
                return mHandler.sendisUserIdAvailRequest(mSigner, "alice"_s, key, base(), out);
            });
        QCOMPARE(answer.status, 0);
        QVERIFY(!answer.available);
        QVERIFY(!answer.suggestions.isEmpty());
    }

    void fetchesACaptchaAndRegistersWithIt() // 4 and 5
    {
        QString captchaId;
        connect(&mHandler, &RESTRequestHandler::retrieveCaptchaImageResponse, this,
                [&](int, const QPixmap&, const QString& id) { captchaId = id; });
        QCOMPARE(mHandler.sendRetrieveCaptchaImageRequest(mSigner, 200, 80, key, base()), 0);
        QTRY_VERIFY_WITH_TIMEOUT(!captchaId.isEmpty(), patience);
        disconnect(&mHandler, &RESTRequestHandler::retrieveCaptchaImageResponse, this, nullptr);

        RegistrationInfoData registration;
        registration.userName = "carol"_s;
        registration.emailAddress = "carol@example.org"_s;
        registration.password = "carols-password"_s;
        registration.countryAsString = "FI"_s;
        registration.captchaText = QString::fromLatin1(
            KelTest::EmulatedService::ask("GET", ("/captchas/" + captchaId.toLatin1()).constData())
                .body.trimmed());
        QVERIFY(!registration.captchaText.isEmpty());
        QSignalSpy status(&mHandler, &RESTRequestHandler::registerAccountResponse);
        const auto answer = handedOut<RegistrationResponse>(
            &RESTRequestHandler::accountRegistrationResponse, [&](OAuthRequest** out) {
                return mHandler.sendRegisterAccountRequest(mSigner, registration, captchaId,
                                                           QByteArray(), key, base(), out);
            });
        QCOMPARE(answer.status, 0);
        QCOMPARE(status.count(), 1);
        QCOMPARE(status.first().at(0).toInt(), 0);
        QVERIFY(!answer.accountInfo.accountId.isEmpty());
    }

    void asksForQuestionsTermsAndVariant() // 6, 7, 8, 11, 12
    {
        QSignalSpy questions(&mHandler, &RESTRequestHandler::retrieveSecQueListResponse);
        QCOMPARE(mHandler.sendRetrieveSecQueListRequest(mSigner, "en"_s, key, base()), 0);
        QVERIFY(questions.wait(patience));
        QCOMPARE(questions.first().at(0).toInt(), 0);
        QVERIFY(!questions.first().at(1).toMap().isEmpty());

        // No account is held ready for a device without a SIM.
        QSignalSpy preAccount(&mHandler, &RESTRequestHandler::detectPreAccountResponse);
        QCOMPARE(mHandler.senddetectPreAccountRequest(mSigner, key, base()), 0);
        QVERIFY(preAccount.wait(patience));
        QCOMPARE(preAccount.first().at(0).toInt(), 507);

        QSignalSpy terms(&mHandler, &RESTRequestHandler::retrieveTOSResponse);
        QCOMPARE(mHandler.sendretrieveTOSRequest(mSigner, "music"_s, "fi"_s, "FI"_s,
                                                 TermsFormatHtml, key, base()),
                 0);
        QVERIFY(terms.wait(patience));
        const auto urls = terms.first().at(0).value<TermsUrlsResponse>();
        QCOMPARE(urls.status, 0);
        QVERIFY(urls.urls.contains("tosUrl"_s));

        QSignalSpy email(&mHandler, &RESTRequestHandler::emailIdAvailabilityResponse);
        QCOMPARE(mHandler.sendisEmailAddAvailableRequest(mSigner, "dave@example.org"_s, serviceTag,
                                                         key, base()),
                 0);
        QVERIFY(email.wait(patience));
        QCOMPARE(email.first().at(0).toInt(), 0);

        QSignalSpy variant(&mHandler, &RESTRequestHandler::queryMarketingVariantResponse);
        QCOMPARE(mHandler.sendQueryMarketingRequest(mSigner, key, base()), 0);
        QVERIFY(variant.wait(patience));
        QCOMPARE(variant.first().at(0).toInt(), 0);
    }

    void changesTheSecurityQuestionAndReadsIt() // 24 and 14
    {
        KelRestHandler::ProfileInfo profile;
        profile.setSecurityQuestionId("1"_s);
        profile.setSecurityAnswer("Rex"_s);
        const auto changed = handedOut<RESTResponseBase>(
            &RESTRequestHandler::updateSecurityQuestionResponse, [&](OAuthRequest** out) {
                return mHandler.sendUpdateSecurityQuestionRequest(mSigner, profile, mAccountId, key,
                                                                  base(), out);
            });
        QCOMPARE(changed.status, 0);

        QSignalSpy question(&mHandler, &RESTRequestHandler::retrieveSecurityQuestionResponse);
        QCOMPARE(
            mHandler.sendRetrieveSecurityQuestionRequest(mSigner, "alice"_s, "en"_s, key, base()),
            0);
        QVERIFY(question.wait(patience));
        const auto answer = question.first().at(0).value<SecurityQuestionResponse>();
        QCOMPARE(answer.status, 0);
        QCOMPARE(answer.securityQuestion.passwordQuestionId, "1"_s);
    }

    void givesAUserName() // 25: alice has one already
    {
        const auto answer = handedOut<DownloadProfileResponse>(
            &RESTRequestHandler::setUserIdResponse, [this](OAuthRequest** out) {
                return mHandler.sendSetUserNameRequest(mSigner, mAccountId, "alice2"_s, key, base(),
                                                       out);
            });
        QCOMPARE(answer.status, 526);
    }

    void downloadsTheProfile() // 22
    {
        const auto answer = handedOut<DownloadProfileResponse>(
            &RESTRequestHandler::downloadProfileResponse, [this](OAuthRequest** out) {
                return mHandler.sendDownloadProfileRequest(mSigner, mAccountId, key, base(), out);
            });
        QCOMPARE(answer.status, 0);
        QCOMPARE(answer.userName, "alice"_s);
        QCOMPARE(answer.profile.account.email, "alice@example.org"_s);
    }

    void acceptsTermsAndAsksForThem() // 21 and 20
    {
        TermsAcceptanceData acceptance;
        acceptance.hasAcceptedTos = true;
        acceptance.hasAcceptedPrivacyPolicy = true;
        const auto accepted = handedOut<RESTResponseBase>(
            &RESTRequestHandler::updateTermsAcceptanceResponse, [&](OAuthRequest** out) {
                return mHandler.sendUpdateTermsAcceptanceRequest(mSigner, acceptance, "music"_s,
                                                                 key, base(), out);
            });
        QCOMPARE(accepted.status, 0);
        const auto asked = handedOut<TermsAcceptanceStatusResponse>(
            &RESTRequestHandler::retrieveTermsAcceptanceResponse, [this](OAuthRequest** out) {
                return mHandler.sendRetrieveTermsAcceptanceRequest(mSigner, "music"_s, "en"_s, key,
                                                                   base(), out);
            });
        QCOMPARE(asked.status, 0);
        QVERIFY(asked.termsInfo.hasAcceptedTos);
        QVERIFY(!asked.termsInfo.hasAcceptedServiceSpecificTos);
    }

    void tellsTheDevice() // 26
    {
        const auto answer = handedOut<RESTResponseBase>(
            &RESTRequestHandler::updateDeviceInfoResponse, [this](OAuthRequest** out) {
                return mHandler.sendUpdateDeviceInfoRequest(mSigner, mAccountId, key, base(), out);
            });
        QCOMPARE(answer.status, 0);
    }

    void theFiveWithoutASignalReachTheService_data() // 16 to 19 and 23
    {
        QTest::addColumn<int>("type");
        QTest::newRow("marketing") << 16;
        QTest::newRow("change marketing") << 17;
        QTest::newRow("contacts") << 18;
        QTest::newRow("change contacts") << 19;
        QTest::newRow("change profile") << 23;
    }

    void theFiveWithoutASignalReachTheService()
    {
        QFETCH(int, type);
        const int before = requests().size();
        OAuthRequest* request = nullptr;
        QCOMPARE(sendSilent(type, &request), 0);
        const std::unique_ptr<OAuthRequest> owner(request);
        QTRY_COMPARE_WITH_TIMEOUT(requests().size(), before + 1, patience);
        const QJsonObject last = requests().last().toObject();
        QCOMPARE(last.value("operation"_s).toInt(), type);
        QCOMPARE(last.value("status"_s).toInt(), 200);
    }

    void changesThePassword() // 15
    {
        const auto answer = handedOut<RESTResponseBase>(
            &RESTRequestHandler::changePasswordResponse, [this](OAuthRequest** out) {
                return mHandler.sendChangePasswordRequest(mSigner, mAccountId, "another-secret"_s,
                                                          key, base(), out);
            });
        QCOMPARE(answer.status, 0);
    }

    void recoversThePassword() // 10 and 13
    {
        QSignalSpy message(&mHandler, &RESTRequestHandler::requestPasswordResetResponse);
        QCOMPARE(mHandler.sendresetPasswordRequest(mSigner, "alice"_s, QString(), QString(), true,
                                                   "Your code:"_s, serviceTag, key, base()),
                 0);
        QVERIFY(message.wait(patience));
        QCOMPARE(message.first().at(0).toInt(), 0);
        const QJsonArray inbox =
            QJsonDocument::fromJson(KelTest::EmulatedService::ask("GET", "/inbox").body).array();
        QCOMPARE(inbox.size(), 1);
        const QString token = inbox.first().toObject().value("token"_s).toString();

        QSignalSpy reset(&mHandler, &RESTRequestHandler::passwordResetResponse);
        QCOMPARE(mHandler.sendResetPasswordRequest(mSigner, "alice"_s, token, "third-secret"_s,
                                                   "Rex"_s, "en"_s, key, base()),
                 0);
        QVERIFY(reset.wait(patience));
        QCOMPARE(reset.first().at(0).value<RESTResponseBase>().status, 0);
    }

    void endsTheToken() // 9
    {
        const auto signedIn = handedOut<TokenCreationResponse>(
            &RESTRequestHandler::signInResponse, [this](OAuthRequest** out) {
                return mHandler.sendSignInRequest(mSigner, "alice"_s, "third-secret"_s, key, base(),
                                                  out);
            });
        QCOMPARE(signedIn.status, 0);
        mSigner.token = signedIn.tokenInfo.token;
        const auto ended = handedOut<RESTResponseBase>(
            &RESTRequestHandler::tokenDeletionResponse, [this](OAuthRequest** out) {
                return mHandler.sendDeleteTokenRequest(mSigner, key, base(), out);
            });
        QCOMPARE(ended.status, 0);
    }

private:
    static QString base() { return serverBaseAddress(2); }
    // What the service says of the requests that it has seen.
    static QJsonArray requests()
    {
        return QJsonDocument::fromJson(KelTest::EmulatedService::ask("GET", "/requests").body)
            .array();
    }

    int sendSilent(int type, OAuthRequest** out)
    {
        KelRestHandler::ProfileInfo profile;
        profile.setFirstName("Alice"_s);
        profile.setEmailAddress("alice@example.org"_s);
        ContactsInfo contacts;
        contacts.emailContacts = {{"alice@example.org"_s, true, false}};
        switch (type) {
        case 16:
            return mHandler.sendRetrieveMarketingConsentRequest(mSigner, mAccountId, key, base(),
                                                                out);
        case 17:
            return mHandler.sendUpdateMarketingConsentRequest(mSigner, {true, false}, mAccountId,
                                                              key, base(), out);
        case 18:
            return mHandler.sendRetrieveContactsInfoRequest(mSigner, mAccountId, key, base(), out);
        case 19:
            return mHandler.sendUpdateContactsInfoRequest(mSigner, contacts, mAccountId, key,
                                                          base(), out);
        default:
            return mHandler.sendUpdateProfileRequest(mSigner, profile, mAccountId, key, base(),
                                                     out);
        }
    }

    // Sends, waits for the one answer and deletes the request. Status -1: none came.
    template <class Response, class Signal, class Send>
    Response handedOut(Signal signal, Send send)
    {
        QSignalSpy spy(&mHandler, signal);
        OAuthRequest* request = nullptr;
        Response none;
        none.status = -1;
        if (send(&request) != 0)
            return none;
        const std::unique_ptr<OAuthRequest> owner(request);
        if (spy.isEmpty() && !spy.wait(patience))
            return none;
        return spy.count() == 1 ? spy.first().at(0).template value<Response>() : none;
    }

    Signer mSigner;
    RESTRequestHandler mHandler;
    QString mAccountId;
};

QTEST_GUILESS_MAIN(TestEveryOperation)
#include "tst_everyoperation.moc"
