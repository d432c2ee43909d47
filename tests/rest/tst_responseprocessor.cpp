// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/netrequesttype.h"
#include "support/literals.h"
#include "support/messagelog.h"

#include <QSignalSpy>
#include <QTest>

using namespace KelRestHandler;

namespace {

const auto declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"_s;

QString document(const QString& root, const QString& content = QString())
{
    return declaration + "<%1 xmlns=\"https://account.example/schemas/rest/v1_0\">"_s.arg(root) +
           content + "</%1>"_s.arg(root);
}

} // namespace

class TestResponseProcessor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TimeStampManager::getTimeStampManager()->setServerTimeDifference(0); }

    void aTakenNameWithoutSuggestionsKeepsItsStatus_data()
    {
        QTest::addColumn<QString>("text");
        const auto root = "userNameAvailabilityResponse"_s;
        QTest::newRow("empty list") << document(root, "<userNameSuggestions/>"_s);
        QTest::newRow("no list") << document(root);
        QTest::newRow("no document") << QString();
        QTest::newRow("unknown root") << document("somethingElse"_s);
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

    void aDateAtTheVeryEndIsReadToo()
    {
        const auto answer =
            process(QNetworkReply::NoError, "Date: Tue, 15 Nov 1994 08:12:31 GMT"_s);
        QCOMPARE(answer.serverTime, QDateTime(QDate(1994, 11, 15), QTime(8, 12, 31), Qt::UTC));
    }

    void withoutADateTheClockStays()
    {
        auto* const clock = TimeStampManager::getTimeStampManager();
        clock->setServerTimeDifference(42);
        const auto answer = process(QNetworkReply::NoError, "200 OK\r\n\r\n"_s);
        QCOMPARE(clock->serverTimeDifference(), 42);
        QVERIFY(qAbs(answer.serverTime.secsTo(QDateTime::currentDateTime())) <= 1);
    }

    void anUnreadableDateChangesNoClock()
    {
        auto* const clock = TimeStampManager::getTimeStampManager();
        clock->setServerTimeDifference(42);
        const auto answer = process(QNetworkReply::NoError, "200 OK\r\nDate: tomorrow\r\n\r\n"_s);
        QCOMPARE(clock->serverTimeDifference(), 42);
        QVERIFY(!answer.serverTime.isValid());
    }

    void aReplyOfAServerSetsThatServersClockAlone()
    {
        auto* const clock = TimeStampManager::getTimeStampManager();
        HttpResponse response(QNetworkReply::NoError,
                              "Date: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n"_s, "key"_s, 17);
        response.setClockOf("a.example"_s);
        NetworkResponseProcessor processor(nullptr);
        QCOMPARE(processor.processResponseFromServer(RetrieveUserNameAvailability, &response), 0);
        QCOMPARE(clock->serverTimeDifference(), 0);
        clock->selectServer("a.example"_s);
        const int offset = clock->serverTimeDifference();
        clock->selectServer(QString());
        QVERIFY(offset < -100000000);
    }

    void aReplyOfNobodySetsNoClock()
    {
        HttpResponse response(QNetworkReply::NoError,
                              "Date: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n"_s, "key"_s, 17);
        response.setClockOfNobody();
        NetworkResponseProcessor processor(nullptr);
        QCOMPARE(processor.processResponseFromServer(RetrieveUserNameAvailability, &response), 0);
        QCOMPARE(response.getServerTime(),
                 QDateTime(QDate(1994, 11, 15), QTime(8, 12, 31), Qt::UTC));
        QCOMPARE(TimeStampManager::getTimeStampManager()->serverTimeDifference(), 0);
    }

    void aFailedReplySetsTheClockToo()
    {
        process(QNetworkReply::ContentNotFoundError,
                "404 Not Found\r\nDate: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n"_s);
        QVERIFY(TimeStampManager::getTimeStampManager()->serverTimeDifference() < -100000000);
    }

    void aNullReplyIsRejectedSilently()
    {
        NetworkResponseProcessor processor(nullptr);
        const MessageLog log;
        QCOMPARE(processor.processResponseFromServer(RetrieveUserNameAvailability, nullptr), -1);
        QCOMPARE(log.all(), QStringList());
    }

private:
    static UserNameAvailabilityResponse process(QNetworkReply::NetworkError error,
                                                const QString& text)
    {
        NetworkResponseProcessor processor(nullptr);
        QSignalSpy spy(&processor, &NetworkResponseProcessor::userNameAvailabilityResponse);
        HttpResponse response(error, text, "key"_s, 17);
        if (processor.processResponseFromServer(RetrieveUserNameAvailability, &response) != 0 ||
            spy.count() != 1)
            qFatal("not answered exactly once");
        return spy.first().at(0).value<UserNameAvailabilityResponse>();
    }
};

QTEST_GUILESS_MAIN(TestResponseProcessor)
#include "tst_responseprocessor.moc"
