// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/httpresponse.h"
#include "rest/request/clientidentification.h"
#include "signedrequests.h"
#include "support/literals.h"

#include <QTest>

#include <memory>
#include <thread>
#include <vector>

using namespace KelRestHandler;

namespace {

// A request made while static objects are still being constructed: an application may hold its
// facade in one. This file is linked before the library's, so nothing of theirs is set up yet.
struct MadeBeforeMain
{
    MadeBeforeMain() : operation(provider, OperationFacts()) {}

    RecordingProvider provider;
    FactualOperation operation;
} madeBeforeMain;

using Headers = QMap<QString, QString>;

} // namespace

class RequestModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ClientIdentification::setAddressReader(
            [] { return QList<QHostAddress>{QHostAddress("10.0.0.5"_s)}; });
    }

    void cleanup() { ClientIdentification::setAddressReader(nullptr); }

    void aNewRequestIsEmptyButForKeyAndType()
    {
        const HttpRequest request("key"_s, UpdateDeviceInfo);
        QCOMPARE(request.getUrl(), QUrl());
        QCOMPARE(request.getTypOfRequest(), QString());
        QCOMPARE(request.getHttpBody(), QString());
        QVERIFY(request.getHeaders().isEmpty());
        QCOMPARE(request.RetryCount(), 0);
        QCOMPARE(request.getConsumerKey(), "key"_s);
        QCOMPARE(request.getRequestType(), UpdateDeviceInfo);
        QVERIFY(!request.parent());
    }

    void consecutiveRequestsHaveConsecutiveIdentifiers()
    {
        // The process's first request was made before main().
        QCOMPARE(madeBeforeMain.operation.getRequestId(), 0);
        const HttpRequest first(QString(), SignIn);
        const HttpRequest second(QString(), SignIn);
        const HttpRequest third(QString(), DeleteToken);
        QCOMPARE(second.getRequestId(), first.getRequestId() + 1);
        QCOMPARE(third.getRequestId(), first.getRequestId() + 2);
    }

    void identifiersAreUniqueAcrossThreads()
    {
        constexpr int threads = 4;
        constexpr int perThread = 5000;
        QVector<int> identifiers[threads];
        std::vector<std::thread> makers;
        for (auto& mine : identifiers) {
            makers.emplace_back([&mine] {
                for (int made = 0; made < perThread; ++made)
                    mine.append(HttpRequest(QString(), SignIn).getRequestId());
            });
        }
        for (std::thread& maker : makers)
            maker.join();
        QSet<int> all;
        for (const auto& mine : identifiers)
            all += QSet<int>(mine.begin(), mine.end());
        QCOMPARE(all.size(), threads * perThread);
    }

    void aRequestAndItsCopyHaveWhatWasSet()
    {
        QObject parent;
        HttpRequest request("key"_s, ResetPassword);
        request.setParent(&parent);
        request.setUrl(QUrl("https://a.example/?q=1"_s));
        request.setTypeOfRequest("PUT"_s);
        request.setHttpBody("body"_s);
        request.setHeaders({{"a"_s, "1"_s}});
        request.setHeaders({{"b"_s, "2"_s}});
        request.incrementRetryCount();
        request.incrementRetryCount();

        const auto* const copy = new HttpRequest(request); // owned by the parent it takes over
        for (const HttpRequest* const one : {&qAsConst(request), copy}) {
            QCOMPARE(one->parent(), &parent);
            QCOMPARE(one->getRequestId(), request.getRequestId());
            QCOMPARE(one->getUrl(), QUrl("https://a.example/?q=1"_s));
            QCOMPARE(one->getTypOfRequest(), "PUT"_s);
            QCOMPARE(one->getHttpBody(), "body"_s);
            QCOMPARE(one->getHeaders(), Headers({{"b"_s, "2"_s}}));
            QCOMPARE(one->RetryCount(), 2);
            QCOMPARE(one->getConsumerKey(), "key"_s);
            QCOMPARE(one->getRequestType(), ResetPassword);
        }
        request.setParent(nullptr);

        // A copy takes no identifier from the counter.
        const HttpRequest next(QString(), SignIn);
        QCOMPARE(next.getRequestId(), copy->getRequestId() + 1);
    }

    void aCopyOfAnOperationIsTheSameRequest()
    {
        RecordingProvider provider;
        FactualOperation operation(provider, {});
        FactualOperation copy(operation);
        QCOMPARE(copy.getRequestId(), operation.getRequestId());
        QCOMPARE(copy.getHeaders(), operation.getHeaders());
        QCOMPARE(copy.getLanguage(), "en-GB"_s);
        QCOMPARE(copy.getTimeStamp(), provider.timeStamp);
    }

    void aFreshResponseHasTheDevicesUtcTime()
    {
        const QDateTime before = QDateTime::currentDateTimeUtc();
        const HttpResponse response(QNetworkReply::NoError, "data"_s, "key"_s, 7);
        const QDateTime after = QDateTime::currentDateTimeUtc();
        QVERIFY(response.getServerTime().isValid());
        QCOMPARE(response.getServerTime().timeSpec(), Qt::UTC);
        QVERIFY(response.getServerTime() >= before);
        QVERIFY(response.getServerTime() <= after);
        QCOMPARE(response.getData(), "data"_s);
    }

    void aCopyOfAResponseHasEverything()
    {
        HttpResponse response(QNetworkReply::HostNotFoundError, "data"_s, "key"_s, 7);
        response.setServerTime(QDateTime(QDate(2010, 2, 1), QTime(12, 0), Qt::UTC));
        const HttpResponse copy(response);
        QCOMPARE(copy.errorCode(), QNetworkReply::HostNotFoundError);
        QCOMPARE(copy.getData(), "data"_s);
        QCOMPARE(copy.getConsumerKey(), "key"_s);
        QCOMPARE(copy.getRequestId(), 7);
        QCOMPARE(copy.getServerTime(), QDateTime(QDate(2010, 2, 1), QTime(12, 0), Qt::UTC));
    }

    void anOperationIsAskedForAddressDocumentAndVerbBeforeItIsSigned()
    {
        RecordingProvider provider;
        OperationFacts facts;
        facts.tokenRequired = true;
        const FactualOperation operation(provider, facts);

        // Whether a token is required may be asked as often as it takes; the rest has its order.
        QStringList calls = provider.calls;
        QVERIFY(calls.removeAll("token required"_s) > 0);
        const QStringList expected{
            "address"_s,      "document"_s,  "verb"_s,         "time stamp"_s,
            "token of key"_s, "signature"_s, "token of key"_s,
        };
        QCOMPARE(calls, expected);
    }

    void theBodyIsAFormWithOneEncodedField()
    {
        RecordingProvider provider;
        OperationFacts facts;
        facts.document = "<a b=\"c+d & ☃\"/>\n"_s;
        const FactualOperation operation(provider, facts);
        QCOMPARE(operation.getHttpBody(),
                 "XMLContent=%3Ca%20b%3D%22c%2Bd%20%26%20%E2%98%83%22%2F%3E%0A"_s);
    }

    void theHeadersAreReplacedInOnePiece()
    {
        RecordingProvider provider;
        FactualOperation operation(provider, {});
        const QStringList names = operation.getHeaders().keys();
        QCOMPARE(names,
                 QStringList({"Accept-Language"_s, "Authorization"_s, "Content-Type"_s,
                              "True-Client-IP"_s, "X-Forwarded-For"_s, "X-Halda-Original-IP"_s,
                              "X-Halda-Original-User-Agent"_s, "X-Halda-Original-User-IP"_s}));
        operation.setHeaders({{"left over"_s, "1"_s}});
        operation.createOAuthRequest();
        QCOMPARE(QStringList(operation.getHeaders().keys()), names);
        QCOMPARE(operation.getHeaders().value("Content-Type"_s),
                 "application/x-www-form-urlencoded"_s);
        QCOMPARE(operation.getHeaders().value("True-Client-IP"_s), "10.0.0.5"_s);
    }

    void aRequestMadeBeforeMainIsComplete()
    {
        const FactualOperation& operation = madeBeforeMain.operation;
        QCOMPARE(operation.getHttpBody(), "XMLContent=%3Ca%3Eb%3C%2Fa%3E"_s);
        const Headers headers = operation.getHeaders();
        QCOMPARE(headers.size(), 8);
        QCOMPARE(headers.value("Accept-Language"_s), "en-GB"_s);
        QCOMPARE(headers.value("X-Halda-Original-User-Agent"_s), "QtDE/2.0 (/)"_s);
        const QString header = headers.value("Authorization"_s);
        QVERIFY2(header.startsWith(QLatin1String("OAuth realm=\"https://account.example\"\", ")),
                 qPrintable(header));
        QVERIFY2(header.endsWith(QLatin1String(
                     ", oauth_signature_method=\"HMAC-SHA1\", oauth_version=\"1.0\"")),
                 qPrintable(header));
        const QString& base = madeBeforeMain.provider.signedBase;
        QVERIFY2(base.startsWith(QLatin1String("POST&https%3A%2F%2Faccount.example%2Frest%2F1.0"
                                               "%2Ftokens&XMLContent%3D%253Ca%253Eb%253C%252Fa%253E"
                                               "%26oauth_consumer_key%3Dkey%26")),
                 qPrintable(base));
    }
};

QTEST_GUILESS_MAIN(RequestModelTest)
#include "tst_requestmodel.moc"
