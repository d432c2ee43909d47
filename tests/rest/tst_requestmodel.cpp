// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/httpresponse.h"
#include "rest/request/clientidentification.h"
#include "signedrequests.h"

#include <QTest>

#include <atomic>
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
    void init();
    void cleanup();

    void aNewRequestIsEmptyButForKeyAndType();
    void settersReplaceWhatWasThere();
    void consecutiveRequestsHaveConsecutiveIdentifiers();
    void identifiersAreUniqueAcrossThreads();
    void aCopyIsTheSameRequest();
    void aCopyOfAnOperationIsTheSameRequest();

    void aFreshResponseHasTheDevicesUtcTime();
    void aTimeOutResponseIsEmptyButForKeyAndIdentifier();
    void theServersTimeReplacesTheDevices();
    void aCopyOfAResponseHasEverything();

    void anOperationIsAskedForAddressDocumentAndVerbBeforeItIsSigned();
    void anOperationsFactsBecomeTheRequest();
    void anEmptyDocumentLeavesTheBodyEmpty();
    void theBodyIsAFormWithOneEncodedField();
    void everyVerbIsSignedAsPost_data();
    void everyVerbIsSignedAsPost();
    void theHeadersAreReplacedInOnePiece();
    void theProviderSignsForTheRequestsKey();
    void aRequestMadeBeforeMainIsComplete();
};

void RequestModelTest::init()
{
    ClientIdentification::setAddressReader(
        [] { return QList<QHostAddress>{QHostAddress(QStringLiteral("10.0.0.5"))}; });
}

void RequestModelTest::cleanup()
{
    ClientIdentification::setAddressReader(nullptr);
}

void RequestModelTest::aNewRequestIsEmptyButForKeyAndType()
{
    const HttpRequest request(QStringLiteral("key"), UpdateDeviceInfo);
    QCOMPARE(request.getUrl(), QUrl());
    QCOMPARE(request.getTypOfRequest(), QString());
    QCOMPARE(request.getHttpBody(), QString());
    QVERIFY(request.getHeaders().isEmpty());
    QCOMPARE(request.RetryCount(), 0);
    QCOMPARE(request.getConsumerKey(), QStringLiteral("key"));
    QCOMPARE(static_cast<int>(request.getRequestType()), 26);
    QVERIFY(!request.parent());
}

void RequestModelTest::settersReplaceWhatWasThere()
{
    HttpRequest request(QString(), SignIn);
    request.setHeaders({{QStringLiteral("a"), QStringLiteral("1")}});
    request.setHeaders({{QStringLiteral("b"), QStringLiteral("2")}});
    const Headers expected{{QStringLiteral("b"), QStringLiteral("2")}};
    QCOMPARE(request.getHeaders(), expected);

    request.setUrl(QUrl(QStringLiteral("https://a.example/?q=1")));
    QCOMPARE(request.getUrl(), QUrl(QStringLiteral("https://a.example/?q=1")));
    request.setTypeOfRequest(QStringLiteral("DELETE"));
    QCOMPARE(request.getTypOfRequest(), QStringLiteral("DELETE"));
    request.setHttpBody(QStringLiteral("body"));
    QCOMPARE(request.getHttpBody(), QStringLiteral("body"));
    request.incrementRetryCount();
    request.incrementRetryCount();
    QCOMPARE(request.RetryCount(), 2);
}

void RequestModelTest::consecutiveRequestsHaveConsecutiveIdentifiers()
{
    // The process's first request was made before main().
    QCOMPARE(madeBeforeMain.operation.getRequestId(), 0);
    const HttpRequest first(QString(), SignIn);
    const HttpRequest second(QString(), SignIn);
    const HttpRequest third(QString(), DeleteToken);
    QCOMPARE(second.getRequestId(), first.getRequestId() + 1);
    QCOMPARE(third.getRequestId(), first.getRequestId() + 2);
}

void RequestModelTest::identifiersAreUniqueAcrossThreads()
{
    constexpr int threads = 4;
    constexpr int perThread = 5000;
    const int before = HttpRequest(QString(), SignIn).getRequestId();
    std::vector<std::atomic<int>> seen(threads * perThread);
    std::atomic<int> outside{0};
    std::vector<std::thread> makers;
    for (int i = 0; i < threads; ++i) {
        makers.emplace_back([&] {
            for (int made = 0; made < perThread; ++made) {
                const int index = HttpRequest(QString(), SignIn).getRequestId() - before - 1;
                if (index < 0 || index >= threads * perThread)
                    ++outside;
                else
                    ++seen[static_cast<size_t>(index)];
            }
        });
    }
    for (std::thread& maker : makers)
        maker.join();
    QCOMPARE(outside.load(), 0);
    for (const auto& count : seen)
        QCOMPARE(count.load(), 1);
}

void RequestModelTest::aCopyIsTheSameRequest()
{
    QObject parent;
    HttpRequest request(QStringLiteral("key"), ResetPassword);
    request.setParent(&parent);
    request.setUrl(QUrl(QStringLiteral("https://a.example/")));
    request.setTypeOfRequest(QStringLiteral("PUT"));
    request.setHttpBody(QStringLiteral("body"));
    request.setHeaders({{QStringLiteral("a"), QStringLiteral("1")}});
    request.incrementRetryCount();

    const auto* const copy = new HttpRequest(request); // owned by the parent it takes over
    QCOMPARE(copy->parent(), &parent);
    QCOMPARE(copy->getRequestId(), request.getRequestId());
    QCOMPARE(copy->getUrl(), request.getUrl());
    QCOMPARE(copy->getTypOfRequest(), request.getTypOfRequest());
    QCOMPARE(copy->getHttpBody(), request.getHttpBody());
    QCOMPARE(copy->getHeaders(), request.getHeaders());
    QCOMPARE(copy->RetryCount(), 1);
    QCOMPARE(copy->getConsumerKey(), request.getConsumerKey());
    QCOMPARE(copy->getRequestType(), ResetPassword);
    request.setParent(nullptr);

    // A copy takes no identifier from the counter.
    const HttpRequest next(QString(), SignIn);
    QCOMPARE(next.getRequestId(), copy->getRequestId() + 1);
}

void RequestModelTest::aCopyOfAnOperationIsTheSameRequest()
{
    RecordingProvider provider;
    FactualOperation operation(provider, {});
    FactualOperation copy(operation);
    QCOMPARE(copy.getRequestId(), operation.getRequestId());
    QCOMPARE(copy.getHeaders(), operation.getHeaders());
    QCOMPARE(copy.getLanguage(), QStringLiteral("en-GB"));
    QCOMPARE(copy.getTimeStamp(), provider.timeStamp);
}

void RequestModelTest::aFreshResponseHasTheDevicesUtcTime()
{
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const HttpResponse response(QNetworkReply::NoError, QStringLiteral("data"),
                                QStringLiteral("key"), 7);
    const QDateTime after = QDateTime::currentDateTimeUtc();
    QVERIFY(response.getServerTime().isValid());
    QCOMPARE(response.getServerTime().timeSpec(), Qt::UTC);
    QVERIFY(response.getServerTime() >= before);
    QVERIFY(response.getServerTime() <= after);
    QCOMPARE(response.getData(), QStringLiteral("data"));
}

void RequestModelTest::aTimeOutResponseIsEmptyButForKeyAndIdentifier()
{
    const HttpRequest request(QStringLiteral("key"), SignIn);
    const HttpResponse response(QNetworkReply::TimeoutError, QString(), request.getConsumerKey(),
                                request.getRequestId());
    QCOMPARE(response.errorCode(), QNetworkReply::TimeoutError);
    QVERIFY(response.getData().isEmpty());
    QCOMPARE(response.getConsumerKey(), QStringLiteral("key"));
    QCOMPARE(response.getRequestId(), request.getRequestId());
}

void RequestModelTest::theServersTimeReplacesTheDevices()
{
    HttpResponse response(QNetworkReply::NoError, QString(), QString(), 0);
    const QDateTime serverTime(QDate(2010, 2, 1), QTime(12, 0), Qt::UTC);
    response.setServerTime(serverTime);
    QCOMPARE(response.getServerTime(), serverTime);
}

void RequestModelTest::aCopyOfAResponseHasEverything()
{
    HttpResponse response(QNetworkReply::HostNotFoundError, QStringLiteral("data"),
                          QStringLiteral("key"), 7);
    response.setServerTime(QDateTime(QDate(2010, 2, 1), QTime(12, 0), Qt::UTC));
    const HttpResponse copy(response);
    QCOMPARE(copy.errorCode(), QNetworkReply::HostNotFoundError);
    QCOMPARE(copy.getData(), QStringLiteral("data"));
    QCOMPARE(copy.getConsumerKey(), QStringLiteral("key"));
    QCOMPARE(copy.getRequestId(), 7);
    QCOMPARE(copy.getServerTime(), QDateTime(QDate(2010, 2, 1), QTime(12, 0), Qt::UTC));
}

void RequestModelTest::anOperationIsAskedForAddressDocumentAndVerbBeforeItIsSigned()
{
    RecordingProvider provider;
    OperationFacts facts;
    facts.tokenRequired = true;
    const FactualOperation operation(provider, facts);

    // Whether a token is required may be asked as often as it takes; the rest has its order.
    QStringList calls = provider.calls;
    QVERIFY(calls.removeAll(QStringLiteral("token required")) > 0);
    const QStringList expected{
        QStringLiteral("address"),      QStringLiteral("document"),     QStringLiteral("verb"),
        QStringLiteral("time stamp"),   QStringLiteral("token of key"), QStringLiteral("signature"),
        QStringLiteral("token of key"),
    };
    QCOMPARE(calls, expected);
}

void RequestModelTest::anOperationsFactsBecomeTheRequest()
{
    RecordingProvider provider;
    OperationFacts facts;
    facts.address = QStringLiteral("https://account.example/rest/1.0/services/x?lang=en");
    facts.verb = QStringLiteral("DELETE");
    FactualOperation operation(provider, facts);
    QCOMPARE(operation.getUrl(), QUrl(facts.address));
    QCOMPARE(operation.getTypOfRequest(), QStringLiteral("DELETE"));
    QCOMPARE(operation.getRequestType(), SignIn);
    QCOMPARE(operation.getLanguage(), QStringLiteral("en-GB"));
    QCOMPARE(operation.getTimeStamp(), provider.timeStamp);
}

void RequestModelTest::anEmptyDocumentLeavesTheBodyEmpty()
{
    RecordingProvider provider;
    OperationFacts facts;
    facts.document = QString();
    const FactualOperation operation(provider, facts);
    QVERIFY(operation.getHttpBody().isEmpty());
    QVERIFY2(!provider.signedBase.contains(QLatin1String("XMLContent")),
             qPrintable(provider.signedBase));
}

void RequestModelTest::theBodyIsAFormWithOneEncodedField()
{
    RecordingProvider provider;
    OperationFacts facts;
    facts.document = QString::fromUtf8("<a b=\"c+d & ☃\"/>\n");
    const FactualOperation operation(provider, facts);
    QCOMPARE(operation.getHttpBody(),
             QStringLiteral("XMLContent=%3Ca%20b%3D%22c%2Bd%20%26%20%E2%98%83%22%2F%3E%0A"));
}

void RequestModelTest::everyVerbIsSignedAsPost_data()
{
    QTest::addColumn<QString>("verb");
    for (const char* verb : {"GET", "PUT", "POST", "DELETE"})
        QTest::newRow(verb) << QString::fromLatin1(verb);
}

void RequestModelTest::everyVerbIsSignedAsPost()
{
    QFETCH(QString, verb);
    RecordingProvider provider;
    OperationFacts facts;
    facts.verb = verb;
    const FactualOperation operation(provider, facts);
    QVERIFY2(provider.signedBase.startsWith(QLatin1String("POST&https%3A%2F%2F")),
             qPrintable(provider.signedBase));
    QCOMPARE(operation.getTypOfRequest(), verb);
}

void RequestModelTest::theHeadersAreReplacedInOnePiece()
{
    RecordingProvider provider;
    FactualOperation operation(provider, {});
    operation.setHeaders({{QStringLiteral("left over"), QStringLiteral("1")}});
    operation.createOAuthRequest();

    Headers headers = operation.getHeaders();
    const QStringList names{
        QStringLiteral("Accept-Language"),
        QStringLiteral("Authorization"),
        QStringLiteral("Content-Type"),
        QStringLiteral("True-Client-IP"),
        QStringLiteral("X-Forwarded-For"),
        QStringLiteral("X-Halda-Original-IP"),
        QStringLiteral("X-Halda-Original-User-Agent"),
        QStringLiteral("X-Halda-Original-User-IP"),
    };
    QCOMPARE(QStringList(headers.keys()), names);
    QCOMPARE(headers.value(QStringLiteral("Accept-Language")), QStringLiteral("en-GB"));
    QCOMPARE(headers.value(QStringLiteral("Content-Type")),
             QStringLiteral("application/x-www-form-urlencoded"));
    QVERIFY(headers.value(QStringLiteral("Authorization"))
                .startsWith(QLatin1String("OAuth realm=\"https://")));
    for (const char* name :
         {"True-Client-IP", "X-Forwarded-For", "X-Halda-Original-IP", "X-Halda-Original-User-IP"})
        QCOMPARE(headers.value(QLatin1String(name)), QStringLiteral("10.0.0.5"));
}

void RequestModelTest::theProviderSignsForTheRequestsKey()
{
    for (const bool tokenRequired : {false, true}) {
        RecordingProvider provider;
        OperationFacts facts;
        facts.tokenRequired = tokenRequired;
        FactualOperation operation(provider, facts);
        QCOMPARE(provider.signedFor, QStringLiteral("key"));
        QCOMPARE(provider.signedWithToken, tokenRequired);
    }
}

void RequestModelTest::aRequestMadeBeforeMainIsComplete()
{
    const FactualOperation& operation = madeBeforeMain.operation;
    QCOMPARE(operation.getHttpBody(), QStringLiteral("XMLContent=%3Ca%3Eb%3C%2Fa%3E"));
    const Headers headers = operation.getHeaders();
    QCOMPARE(headers.size(), 8);
    QCOMPARE(headers.value(QStringLiteral("Accept-Language")), QStringLiteral("en-GB"));
    QCOMPARE(headers.value(QStringLiteral("X-Halda-Original-User-Agent")),
             QStringLiteral("QtDE/2.0 (/)"));
    const QString header = headers.value(QStringLiteral("Authorization"));
    QVERIFY2(header.startsWith(QLatin1String("OAuth realm=\"https://account.example\"\", ")),
             qPrintable(header));
    QVERIFY2(header.endsWith(
                 QLatin1String(", oauth_signature_method=\"HMAC-SHA1\", oauth_version=\"1.0\"")),
             qPrintable(header));
    const QString& base = madeBeforeMain.provider.signedBase;
    QVERIFY2(base.startsWith(QLatin1String("POST&https%3A%2F%2Faccount.example%2Frest%2F1.0"
                                           "%2Ftokens&XMLContent%3D%253Ca%253Eb%253C%252Fa%253E"
                                           "%26oauth_consumer_key%3Dkey%26")),
             qPrintable(base));
}

QTEST_GUILESS_MAIN(RequestModelTest)
#include "tst_requestmodel.moc"
