// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/networkresponseprocessor.h"
#include "support/messagelog.h"

#include <QSignalSpy>
#include <QTest>

using namespace KelRestHandler;

namespace {

const auto declaration = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");

QString document(const QString& root, const QString& content = QString())
{
    return declaration +
           QStringLiteral("<%1 xmlns=\"https://account.example/schemas/rest/v1_0\">").arg(root) +
           content + QStringLiteral("</%1>").arg(root);
}

} // namespace

class TestResponseProcessor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TimeStampManager::getTimeStampManager()->setServerTimeDifference(0); }

    void everyNetworkErrorHasItsStatus_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<int>("status");
        const QList<QPair<int, int>> rows = {
            {1, 401},
            {2, 402},
            {3, 403},
            {4, 404},
            {5, 405},
            {6, 406},
            {7, 407},
            {99, 420},
            {101, 408},
            {102, 409},
            {103, 410},
            {104, 411},
            {105, 412},
            {199, 421},
            {201, 413},
            {202, 414},
            {203, 415},
            {204, 504},
            {205, 417},
            {299, 422},
            {301, 418},
            {302, 419},
            {399, 423},
            // no row of their own
            {8, 1004},
            {9, 1004},
            {10, 1004},
            {206, 1004},
            {207, 1004},
            {401, 1004},
            {402, 1004},
            {403, 1004},
            {499, 1004},
            {511, 1004},
        };
        for (const auto& row : rows)
            QTest::addRow("%d", row.first) << row.first << row.second;
    }

    void everyNetworkErrorHasItsStatus()
    {
        QFETCH(int, error);
        const auto code = static_cast<QNetworkReply::NetworkError>(error);
        QTEST(NetworkResponseProcessor::convertNetworkErrorCodeToEnablerErrorCode(code), "status");
        QTEST(process(code, QString()).status, "status");
    }

    void aFreeNameIsAvailable()
    {
        const auto answer = process(QNetworkReply::NoError,
                                    document(QStringLiteral("userNameAvailabilityResponse")));
        QCOMPARE(answer.status, 0);
        QVERIFY(answer.available);
        QCOMPARE(answer.suggestions, QStringList());
        QCOMPARE(answer.consumerKey, QStringLiteral("key"));
        QCOMPARE(answer.requestId, 17);
    }

    void aTakenNameComesWithSuggestionsInTheirOrder()
    {
        const auto answer =
            process(QNetworkReply::UnknownContentError,
                    document(QStringLiteral("userNameAvailabilityResponse"),
                             QStringLiteral("<userNameSuggestions>"
                                            "<userNameSuggestion>zoe1</userNameSuggestion>"
                                            "<userNameSuggestion>anna</userNameSuggestion>"
                                            "</userNameSuggestions>")));
        QCOMPARE(answer.status, 0);
        QVERIFY(!answer.available);
        QCOMPARE(answer.suggestions, QStringList({QStringLiteral("zoe1"), QStringLiteral("anna")}));
    }

    void aTakenNameWithoutSuggestionsKeepsItsStatus_data()
    {
        QTest::addColumn<QString>("text");
        const auto root = QStringLiteral("userNameAvailabilityResponse");
        QTest::newRow("empty list") << document(root, QStringLiteral("<userNameSuggestions/>"));
        QTest::newRow("no list") << document(root);
        QTest::newRow("no document") << QString();
        QTest::newRow("unknown root") << document(QStringLiteral("somethingElse"));
        QTest::newRow("cut") << document(root).left(60);
    }

    void aTakenNameWithoutSuggestionsKeepsItsStatus()
    {
        QFETCH(QString, text);
        const auto answer = process(QNetworkReply::UnknownContentError, text);
        QCOMPARE(answer.status, 422);
        QVERIFY(!answer.available);
        QCOMPARE(answer.suggestions, QStringList());
    }

    void theServersErrorWinsOverTheTransports_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<int>("status");
        const auto code = [](const char* text) {
            return QStringLiteral("<errorCode>%1</errorCode><errorText>x</errorText>")
                .arg(QLatin1String(text));
        };
        QTest::newRow("notAuthorized") << code("notAuthorized") << 504;
        QTest::newRow("reserved, a status without a name") << code("usernameReserved") << 512;
        QTest::newRow("unknown code") << code("weather") << 505;
        QTest::newRow("no code") << QStringLiteral("<other/>") << 1004;
    }

    void theServersErrorWinsOverTheTransports()
    {
        QFETCH(QString, content);
        for (const auto error : {QNetworkReply::NoError, QNetworkReply::ContentNotFoundError}) {
            const auto answer = process(error, document(QStringLiteral("errorResponse"), content));
            QTEST(answer.status, "status");
            QVERIFY(!answer.available);
        }
    }

    void theDocumentIsFoundBehindTheHeaderLines()
    {
        const auto answer =
            process(QNetworkReply::NoError,
                    QStringLiteral("200 OK\r\nServer: x\r\n\r\n") +
                        document(QStringLiteral("errorResponse"),
                                 QStringLiteral("<errorCode>accountLocked</errorCode>")));
        QCOMPARE(answer.status, 510);
    }

    void whatIsNeitherDocumentNorFailureIsASuccess()
    {
        QCOMPARE(process(QNetworkReply::NoError, QStringLiteral("200 OK\r\n\r\nhello")).status, 0);
    }

    void theServersClockComesFromTheDateHeader()
    {
        const auto answer = process(
            QNetworkReply::NoError,
            QStringLiteral("200 OK\r\nDate: Tue, 15 Nov 1994 08:12:31 GMT\r\nServer: x\r\n\r\n"));
        const QDateTime expected(QDate(1994, 11, 15), QTime(8, 12, 31), Qt::UTC);
        QCOMPARE(answer.serverTime, expected);
        QCOMPARE(answer.serverTime.timeSpec(), Qt::UTC);
        const qint64 offset = TimeStampManager::getTimeStampManager()->serverTimeDifference();
        QVERIFY(qAbs(QDateTime::currentDateTimeUtc().secsTo(expected) - offset) <= 1);
    }

    void aDateAtTheVeryEndIsReadToo()
    {
        const auto answer =
            process(QNetworkReply::NoError, QStringLiteral("Date: Tue, 15 Nov 1994 08:12:31 GMT"));
        QCOMPARE(answer.serverTime, QDateTime(QDate(1994, 11, 15), QTime(8, 12, 31), Qt::UTC));
    }

    void withoutADateTheClockStays()
    {
        auto* const clock = TimeStampManager::getTimeStampManager();
        clock->setServerTimeDifference(42);
        const auto answer = process(QNetworkReply::NoError, QStringLiteral("200 OK\r\n\r\n"));
        QCOMPARE(clock->serverTimeDifference(), 42);
        QVERIFY(qAbs(answer.serverTime.secsTo(QDateTime::currentDateTime())) <= 1);
    }

    void anUnreadableDateChangesNoClock()
    {
        auto* const clock = TimeStampManager::getTimeStampManager();
        clock->setServerTimeDifference(42);
        const auto answer =
            process(QNetworkReply::NoError, QStringLiteral("200 OK\r\nDate: tomorrow\r\n\r\n"));
        QCOMPARE(clock->serverTimeDifference(), 42);
        QVERIFY(!answer.serverTime.isValid());
    }

    void aReplyOfAServerSetsThatServersClockAlone()
    {
        auto* const clock = TimeStampManager::getTimeStampManager();
        HttpResponse response(QNetworkReply::NoError,
                              QStringLiteral("Date: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n"),
                              QStringLiteral("key"), 17);
        response.setClockOf(QStringLiteral("a.example"));
        NetworkResponseProcessor processor(nullptr);
        QCOMPARE(processor.processResponseFromServer(3, &response), 0);
        QCOMPARE(clock->serverTimeDifference(), 0);
        clock->selectServer(QStringLiteral("a.example"));
        const int offset = clock->serverTimeDifference();
        clock->selectServer(QString());
        QVERIFY(offset < -100000000);
    }

    void aReplyOfNobodySetsNoClock()
    {
        HttpResponse response(QNetworkReply::NoError,
                              QStringLiteral("Date: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n"),
                              QStringLiteral("key"), 17);
        response.setClockOfNobody();
        NetworkResponseProcessor processor(nullptr);
        QCOMPARE(processor.processResponseFromServer(3, &response), 0);
        QCOMPARE(response.getServerTime(),
                 QDateTime(QDate(1994, 11, 15), QTime(8, 12, 31), Qt::UTC));
        QCOMPARE(TimeStampManager::getTimeStampManager()->serverTimeDifference(), 0);
    }

    void aFailedReplySetsTheClockToo()
    {
        process(QNetworkReply::ContentNotFoundError,
                QStringLiteral("404 Not Found\r\nDate: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n"));
        QVERIFY(TimeStampManager::getTimeStampManager()->serverTimeDifference() < -100000000);
    }

    void anUnknownOperationIsRejected_data()
    {
        QTest::addColumn<int>("type");
        for (int type : {-1, 0, 16, 17, 18, 19, 23, 27})
            QTest::addRow("%d", type) << type;
    }

    void anUnknownOperationIsRejected()
    {
        QFETCH(int, type);
        NetworkResponseProcessor processor(nullptr);
        HttpResponse response(QNetworkReply::NoError, QString(), QStringLiteral("key"), 1);
        const MessageLog log;
        QCOMPARE(processor.processResponseFromServer(type, &response), -1);
        QCOMPARE(log.all(), QStringList(QStringLiteral(
                                "C NetworkResponseProcessor::processResponseFromServer: "
                                "Unacceptable.. Returning")));
    }

    void aNullReplyIsRejectedSilently()
    {
        NetworkResponseProcessor processor(nullptr);
        const MessageLog log;
        QCOMPARE(processor.processResponseFromServer(3, nullptr), -1);
        QCOMPARE(log.all(), QStringList());
    }

private:
    static UserNameAvailabilityResponse process(QNetworkReply::NetworkError error,
                                                const QString& text)
    {
        NetworkResponseProcessor processor(nullptr);
        QSignalSpy spy(&processor, &NetworkResponseProcessor::userNameAvailabilityResponse);
        HttpResponse response(error, text, QStringLiteral("key"), 17);
        if (processor.processResponseFromServer(3, &response) != 0 || spy.count() != 1)
            qFatal("not answered exactly once");
        return spy.first().at(0).value<UserNameAvailabilityResponse>();
    }
};

QTEST_GUILESS_MAIN(TestResponseProcessor)
#include "tst_responseprocessor.moc"
