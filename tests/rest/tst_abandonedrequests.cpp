// SPDX-License-Identifier: LGPL-2.1-or-later
// Which request a reply answers, what is known of the reply besides, and requests that nobody waits
// for any more.
#include "rest/operations/consentqueryvariantrequest.h"
#include "rest/request/oauthrequest.h"
#include "rest/restrequesthandler.h"
#include "rest/transport/networkhandler.h"
#include "rest/transport/serviceconnections.h"
#include "support/fixedsigner.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/scriptedserver.h"

#include <QNetworkProxy>
#include <QPixmap>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace KelRestHandler;

namespace {

constexpr int patience = 5000;
const auto key = "the key"_s;
const QByteArray variantReply = "<consentQueryVariantResponse><consentQueryVariant>implicit"
                                "</consentQueryVariant></consentQueryVariantResponse>";

QByteArray captchaReply(const QByteArray& picture)
{
    return "<?xml version=\"1.0\" "
           "encoding=\"UTF-8\"?><captchaCreationResponse><captchaId>c-1</"
           "captchaId><imageType>image/png</"
           "imageType><imageData>" +
           picture.toBase64() + "</imageData></captchaCreationResponse>";
}

} // namespace

class TestAbandonedRequests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
        mServer = std::make_unique<ScriptedServer>();
        mHandler = std::make_unique<RESTRequestHandler>();
        mAnswered.clear();
        // Not at the application's level, so that tests see what a receiver sees.
        const auto note = [this] { mAnswered.append(mHandler->answering().requestId); };
        connect(mHandler.get(), &RESTRequestHandler::queryMarketingVariantResponse, this, note);
        connect(mHandler.get(), &RESTRequestHandler::userNameAvailabilityResponse, this, note);
    }

    void cleanup()
    {
        QCOMPARE(mServer->problems(), QStringList());
        mHandler.reset();
    }

    void theRequestSentLastIsKnown()
    {
        QCOMPARE(mHandler->lastRequestId(), -1);
        mServer->expect(Reaction::reply(200, variantReply));
        mServer->expect(Reaction::reply(200, "<userNameAvailabilityResponse/>"));
        const int owned = ask();
        OAuthRequest* request = nullptr;
        QCOMPARE(
            mHandler->sendisUserIdAvailRequest(mSigner, "bob"_s, key, mServer->base(), &request),
            0);
        const std::unique_ptr<OAuthRequest> handedOut(request);
        QCOMPARE(mHandler->lastRequestId(), handedOut->getRequestId());
        QVERIFY(owned != handedOut->getRequestId());
        // One that is not sent is none.
        QCOMPARE(
            mHandler->sendisUserIdAvailRequest(mSigner, "a/../b"_s, key, mServer->base(), &request),
            -1);
        QCOMPARE(mHandler->lastRequestId(), handedOut->getRequestId());
        QTRY_COMPARE_WITH_TIMEOUT(mAnswered.size(), 2, patience);
        QVERIFY(mAnswered.contains(owned));
        QVERIFY(mAnswered.contains(handedOut->getRequestId()));
    }

    void anAnswerBearsItsRequestWhateverTheOrder()
    {
        Reaction late = Reaction::reply(200, variantReply);
        late.delayMilliseconds = 200;
        mServer->expect(late);
        mServer->expect(Reaction::reply(200, variantReply));
        const int first = ask();
        QTRY_COMPARE_WITH_TIMEOUT(mServer->requests().size(), 1, patience);
        const int second = ask();
        QTRY_COMPARE_WITH_TIMEOUT(mAnswered.size(), 2, patience);
        QCOMPARE(mAnswered, QList<int>({second, first}));
        QCOMPARE(mHandler->answering().requestId, -1);
    }

    void anAnswerWithinAnotherDoesNotTakeItsPlace()
    {
        mServer->expect(Reaction::reply(200, variantReply));
        mServer->expect(Reaction::reply(200, variantReply));
        int afterwards = -1;
        const int first = ask();
        bool nested = false;
        connect(mHandler.get(), &RESTRequestHandler::queryMarketingVariantResponse, this, [&] {
            if (nested)
                return;
            nested = true;
            ask();
            QTRY_COMPARE_WITH_TIMEOUT(mAnswered.size(), 2, patience);
            afterwards = mHandler->answering().requestId;
        });
        QTRY_COMPARE_WITH_TIMEOUT(mAnswered.size(), 2, patience);
        QTRY_COMPARE_WITH_TIMEOUT(afterwards, first, patience);
    }

    void anAbandonedRequestIsNotAnswered_data()
    {
        QTest::addColumn<int>("requestsBefore");
        QTest::newRow("before it has left") << 0;
        QTest::newRow("while it is awaited") << 1;
    }
    void anAbandonedRequestIsNotAnswered()
    {
        QFETCH(int, requestsBefore);
        Reaction never;
        never.end = Reaction::End::Hang;
        if (requestsBefore > 0)
            mServer->expect(never);
        const int id = ask();
        QTRY_COMPARE_WITH_TIMEOUT(mServer->requests().size(), requestsBefore, patience);
        mHandler->abandon(id);
        // The connection ends with it.
        QTRY_COMPARE_WITH_TIMEOUT(mServer->openConnections(), 0, patience);
        QTest::qWait(50);
        QCOMPARE(mServer->requests().size(), requestsBefore);
        QCOMPARE(mAnswered, QList<int>());
        // And nothing is in the way of the next.
        mServer->expect(Reaction::reply(200, variantReply));
        const int next = ask();
        QTRY_COMPARE_WITH_TIMEOUT(mAnswered, QList<int>({next}), patience);
    }

    void anAbandonedRequestThatHasItsReplyIsNotAnswered()
    {
        mServer->expect(Reaction::reply(200, variantReply));
        NetworkHandler transport(nullptr);
        const QSignalSpy spy(&transport, &NetworkHandler::queryMarketingVariantResponse);
        ConsentQueryVariantRequest request(mSigner, key, mServer->base(), QueryConsentVariant);
        QCOMPARE(transport.sendNetWorkRequest(&request, QueryConsentVariant), 0);
        auto* const reply = transport.findChild<QNetworkReply*>();
        QVERIFY(reply);
        // It is processed from the event loop, after this.
        bool finished = false;
        connect(reply, &QNetworkReply::finished, this, [&] {
            transport.abandon(request.getRequestId());
            finished = true;
        });
        const QSignalSpy gone(reply, &QObject::destroyed);
        QTRY_VERIFY_WITH_TIMEOUT(finished, patience);
        QTRY_COMPARE_WITH_TIMEOUT(gone.count(), 1, patience);
        QTest::qWait(50);
        QCOMPARE(spy.count(), 0);
    }

    void aRequestThatWaitsForItsTurnDoesNotGoOut()
    {
        Reaction late = Reaction::reply(200, variantReply);
        late.delayMilliseconds = 300;
        QList<int> expected;
        for (int i = 0; i < ServiceConnections::maximumManagers; ++i) {
            mServer->expect(late);
            expected.append(ask());
        }
        const int waiting = ask();
        mHandler->abandon(waiting);
        QTRY_COMPARE_WITH_TIMEOUT(mAnswered.size(), expected.size(), patience);
        std::sort(mAnswered.begin(), mAnswered.end());
        QCOMPARE(mAnswered, expected);
        QTest::qWait(50);
        QCOMPARE(mServer->requests().size(), expected.size());
    }

    void abandoningWhatIsNotUnderWayDoesNothing()
    {
        mServer->expect(Reaction::reply(200, variantReply));
        const int id = ask();
        mHandler->abandon(id + 1000);
        mHandler->abandon(-1);
        QTRY_COMPARE_WITH_TIMEOUT(mAnswered, QList<int>({id}), patience);
        mHandler->abandon(id);
    }

    void aServiceThatAsksToWaitIsHeard_data()
    {
        columns<int, QByteArray, int>("status", "headers", "seconds");
        const QByteArray date = "Date: Fri, 31 Dec 1999 23:59:00 GMT\r\n";
        QTest::newRow("too many requests") << 429 << "Retry-After: 30\r\n"_ba << 30;
        QTest::newRow("unavailable") << 503 << "retry-after: 60\r\n"_ba << 60;
        row("until a time, by the service's clock", 503,
            date + "Retry-After: Sat, 01 Jan 2000 00:00:01 GMT\r\n", 61);
        QTest::newRow("it does not say") << 503 << QByteArray() << -1;
        QTest::newRow("another status") << 500 << "Retry-After: 30\r\n"_ba << -1;
    }
    void aServiceThatAsksToWaitIsHeard()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, headers);
        mServer->expect(Reaction::reply(status, QByteArray(), headers));
        int seconds = -2;
        connect(mHandler.get(), &RESTRequestHandler::queryMarketingVariantResponse, this,
                [&] { seconds = mHandler->answering().details.retryAfterSeconds; });
        ask();
        QTRY_COMPARE_WITH_TIMEOUT(mAnswered.size(), 1, patience);
        QTEST(seconds, "seconds");
    }

    void aCaptchaIsKnownAsItCame_data()
    {
        columns<int, QByteArray, int, QByteArray, QString>("httpStatus", "body", "status",
                                                           "picture", "format");
        const QByteArray noPicture("this is no picture");
        row("that cannot be decoded", 200, captchaReply(noPicture), 0, noPicture, "image/png"_s);
        QTest::newRow("refused") << 404 << QByteArray() << 415 << QByteArray() << QString();
    }
    void aCaptchaIsKnownAsItCame()
    {
        QFETCH(int, httpStatus);
        QFETCH(QByteArray, body);
        mServer->expect(Reaction::reply(httpStatus, body));
        AnswerDetails details;
        int signalsStatus = -1;
        connect(mHandler.get(), &RESTRequestHandler::retrieveCaptchaImageResponse, this,
                [&](int status, const QPixmap& picture) {
                    signalsStatus = status;
                    QVERIFY(picture.isNull());
                    details = mHandler->answering().details;
                });
        QCOMPARE(mHandler->sendRetrieveCaptchaImageRequest(mSigner, 80, 40, key, mServer->base()),
                 0);
        QTRY_COMPARE_WITH_TIMEOUT(signalsStatus, 0, patience);
        QTEST(details.status, "status");
        QTEST(details.picture, "picture");
        QTEST(details.pictureFormat, "format");
    }

private:
    int ask()
    {
        if (mHandler->sendQueryMarketingRequest(mSigner, key, mServer->base()) != 0)
            return -1;
        return mHandler->lastRequestId();
    }

    FixedSigner mSigner;
    std::unique_ptr<ScriptedServer> mServer;
    std::unique_ptr<RESTRequestHandler> mHandler;
    QList<int> mAnswered;
};

QTEST_MAIN(TestAbandonedRequests)
#include "tst_abandonedrequests.moc"
