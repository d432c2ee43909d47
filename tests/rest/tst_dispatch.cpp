// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/answers.h"
#include "operations/recordedanswers.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/restrequesthandler.h"
#include "rest/transport/networkhandler.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <kelaccount/errorstatus.h>

#include <QImage>
#include <QSignalSpy>
#include <QTest>

using namespace KelRestHandler;
using operations::Case;
using operations::Operation;

namespace {

const auto unacceptable =
    "C NetworkResponseProcessor::processResponseFromServer: Unacceptable.. Returning"_s;

HttpResponse responseOf(QNetworkReply::NetworkError error, const QString& text)
{
    return HttpResponse(error, text, operations::consumerKey, operations::requestId);
}

QString signInOf(const QString& authenticationInfo)
{
    return operations::head + operations::declaration +
           "<tokenCreationResponse><tokenInfo><token>t</token>%1</tokenInfo>"
           "</tokenCreationResponse>"_s.arg(authenticationInfo);
}

QStringList signaturesOf(const QMetaObject& meta)
{
    QStringList signatures;
    for (int i = QObject::staticMetaObject.methodCount(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Signal)
            signatures.append(QString::fromLatin1(meta.method(i).methodSignature()));
    }
    return signatures;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

QString availability(const QString& root, const QString& content = QString())
{
    return operations::declaration + operations::element(root, content);
}

UserNameAvailabilityResponse process(QNetworkReply::NetworkError error, const QString& text)
{
    NetworkResponseProcessor processor(nullptr);
    QSignalSpy spy(&processor, &NetworkResponseProcessor::userNameAvailabilityResponse);
    HttpResponse response = responseOf(error, text);
    if (processor.processResponseFromServer(RetrieveUserNameAvailability, &response) != 0 ||
        spy.count() != 1)
        qFatal("not answered exactly once");
    return spy.first().at(0).value<UserNameAvailabilityResponse>();
}

} // namespace

class TestDispatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TimeStampManager::getTimeStampManager()->setServerTimeDifference(0); }

    void aReplyBecomesItsAnswer_data()
    {
        QTest::addColumn<int>("index");
        const auto& cases = operations::cases();
        for (int i = 0; i < cases.size(); ++i)
            QTest::addRow("%d %s", cases.at(i).number, qPrintable(cases.at(i).name)) << i;
    }
    void aReplyBecomesItsAnswer()
    {
        QFETCH(int, index);
        const Case& testCase = operations::cases().at(index);
        NetworkResponseProcessor processor(nullptr);
        const RecordedAnswers answers(processor);
        HttpResponse response = responseOf(testCase.error, testCase.text);
        const MessageLog log;
        const bool answered = !testCase.answer.isEmpty();
        QCOMPARE(processor.processResponseFromServer(testCase.number, &response),
                 answered ? 0 : -1);
        QCOMPARE(answers.lines(), testCase.answer);
        QCOMPARE(log.all(), answered ? QStringList() : QStringList(unacceptable));
    }

    void whatHasNoAnswerIsRejectedAloud_data()
    {
        QTest::addColumn<int>("type");
        for (const int type : {-1, 0, operations::unknown, 1000})
            QTest::addRow("%d", type) << type;
    }
    void whatHasNoAnswerIsRejectedAloud()
    {
        QFETCH(int, type);
        NetworkResponseProcessor processor(nullptr);
        const RecordedAnswers answers(processor);
        HttpResponse response = responseOf(QNetworkReply::NoError, operations::head);
        const MessageLog log;
        QCOMPARE(processor.processResponseFromServer(type, &response), -1);
        QCOMPARE(answers.names(), QStringList());
        QCOMPARE(log.all(), QStringList(unacceptable));
        // The server's clock is taken all the same.
        QVERIFY(TimeStampManager::getTimeStampManager()->serverTimeDifference() < -100000000);
    }

    void http422IsAboutNamesOnlyWhereNamesAreAskedFor()
    {
        // With suggestions in it: they mean something to operation 3 alone.
        const QString text = operations::head + wiredata::body("usernameavailability/suggestions");
        for (const Operation& row : operations::all()) {
            if (!row.isAnswered() || row.number == RetrieveUserNameAvailability)
                continue;
            NetworkResponseProcessor processor(nullptr);
            const RecordedAnswers answers(processor);
            HttpResponse response = responseOf(QNetworkReply::UnknownContentError, text);
            QCOMPARE(processor.processResponseFromServer(row.number, &response), 0);
            QCOMPARE(answers.lines(), operations::answer(row, 422, row.nothing));
        }
    }

    void theReplyStaysTheCallers()
    {
        NetworkResponseProcessor processor(nullptr);
        auto response = std::make_unique<HttpResponse>(QNetworkReply::NoError, operations::head,
                                                       operations::consumerKey, 1);
        const QPointer<HttpResponse> watched(response.get());
        QCOMPARE(processor.processResponseFromServer(DeleteToken, response.get()), 0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(watched);
        QCOMPARE(processor.processResponseFromServer(DeleteToken, response.get()),
                 0); // and serves again
    }

    void aReceiverMayDeleteTheProcessor_data()
    {
        operations::rows([](const Operation& row) { return row.isAnswered(); });
    }
    void aReceiverMayDeleteTheProcessor()
    {
        QFETCH(int, number);
        auto* const processor = new NetworkResponseProcessor(nullptr);
        const RecordedAnswers answers(*processor);
        const QPointer<NetworkResponseProcessor> watched(processor);
        onAnswer(processor, "deleteTheSender()");
        HttpResponse response = responseOf(QNetworkReply::NoError, operations::head);
        QCOMPARE(processor->processResponseFromServer(number, &response), 0);
        QVERIFY(!watched);
        // Of a registration's two answers, too, it is the first.
        QCOMPARE(answers.names(), operations::of(number).signalNames().mid(0, 1));
    }

    // Also where the signal says 0 whatever happened. Before and after it is about nobody.
    void whatAnswersIsToldBesides_data()
    {
        operations::rows([](const Operation& row) { return row.isAnswered(); });
    }
    void whatAnswersIsToldBesides()
    {
        QFETCH(int, number);
        NetworkResponseProcessor processor(nullptr);
        onAnswer(&processor, "noteTheDetails()");
        const auto isNobody = [](const AnsweredRequest& request) {
            return request.requestId == -1 && request.details.status == 0 &&
                   request.details.retryAfterSeconds == -1;
        };
        for (const int status : {KelAccount::ErrorContentNotFound, KelAccount::ErrorNone}) {
            QVERIFY(isNobody(processor.answering()));
            HttpResponse response =
                responseOf(status ? QNetworkReply::ContentNotFoundError : QNetworkReply::NoError,
                           operations::head);
            QCOMPARE(processor.processResponseFromServer(number, &response), 0);
            QCOMPARE(mNoted.requestId, operations::requestId);
            QCOMPARE(mNoted.details.status, status);
            QCOMPARE(mNoted.details.retryAfterSeconds, -1);
        }
        QVERIFY(isNobody(processor.answering()));
    }

    void signingInTellsTheTimeOfTheToken_data()
    {
        columns<QString, QString>("authenticationInfo", "time");
        const auto info = [](const char* time) {
            return "<authenticationInfo><time>%1</time></authenticationInfo>"_s.arg(
                QLatin1String(time));
        };
        QTest::newRow("a time") << info("2001-02-03T04:05:06.007Z") << "2001-02-03T04:05:06.007Z";
        QTest::newRow("none") << QString() << operations::headTime;
        QTest::newRow("an empty one") << info("") << operations::headTime;
        QTest::newRow("no time") << info("yesterday") << operations::headTime;
        QTest::newRow("no such day") << info("2001-02-30T04:05:06.007Z") << operations::headTime;
        row("the expiry is not it",
            "<conditions><expires>2001-02-03T04:05:06.007Z</expires></conditions>"_s,
            operations::headTime);
    }
    void signingInTellsTheTimeOfTheToken()
    {
        QFETCH(QString, authenticationInfo);
        const QString text = signInOf(authenticationInfo);
        QTEST(serverTimeOf(SignIn, text), "time");
        // That is no clock's: the reply's date sets it.
        const QDateTime expected(QDate(1994, 11, 15), QTime(8, 12, 31), Qt::UTC);
        QVERIFY(qAbs(QDateTime::currentDateTimeUtc().secsTo(expected) -
                     TimeStampManager::getTimeStampManager()->serverTimeDifference()) <= 1);
        // so does registering, and refreshing does not
        QString registration = text;
        registration.replace(QLatin1String("tokenCreation"), QLatin1String("registration"));
        QTEST(serverTimeOf(RegisterAccount, registration), "time");
        QString refresh = text;
        refresh.replace(QLatin1String("tokenCreation"), QLatin1String("tokenRefresh"));
        QCOMPARE(serverTimeOf(RefreshToken, refresh), operations::headTime);
    }

    void aPictureIsReadByWhatItIs()
    {
        NetworkResponseProcessor processor(nullptr);
        const RecordedAnswers answers(processor);
        HttpResponse response = responseOf(QNetworkReply::NoError, operations::captchaReply());
        QCOMPARE(processor.processResponseFromServer(RetrieveCaptchaImage, &response), 0);
        const QImage picture = answers.lastPicture.toImage();
        QCOMPARE(picture.size(), QSize(3, 2));
        for (int x = 0; x < 3; ++x) {
            for (int y = 0; y < 2; ++y)
                QCOMPARE(picture.pixel(x, y), qRgb(0xff, 0x80, 0x00));
        }
    }

    void everyStageDeclaresTheSignalsOfTheTable()
    {
        const QStringList expected = sorted(operations::answerSignatures());
        QCOMPARE(sorted(signaturesOf(NetworkResponseProcessor::staticMetaObject)), expected);
        QCOMPARE(sorted(signaturesOf(NetworkHandler::staticMetaObject)), expected);
        QCOMPARE(sorted(signaturesOf(RESTRequestHandler::staticMetaObject)), expected);
    }

    // One processor for all replies, backwards and forwards: no answer depends on another's.
    void theRelayPassesEverySignalOnUnchanged()
    {
        NetworkResponseProcessor processor(nullptr);
        NetworkHandler transport(nullptr);
        ServiceSignals last(nullptr);
        ServiceSignals::relay(&processor, &transport);
        ServiceSignals::relay(&transport, &last);
        const RecordedAnswers arrived(last);
        const MessageLog log;
        QStringList expected;
        const auto& cases = operations::cases();
        for (int i = 0; i < 2 * cases.size(); ++i) {
            const Case& testCase =
                cases.at(i < cases.size() ? cases.size() - 1 - i : i - cases.size());
            HttpResponse response = responseOf(testCase.error, testCase.text);
            processor.processResponseFromServer(testCase.number, &response);
            expected += testCase.answer;
        }
        QCOMPARE(arrived.lines(), expected);
        QStringList arrivedNames = arrived.names();
        arrivedNames.removeDuplicates();
        QCOMPARE(sorted(arrivedNames), sorted(operations::namesOf(operations::answerSignatures())));
    }

    void aTakenNameWithoutSuggestionsKeepsItsStatus_data()
    {
        QTest::addColumn<QString>("text");
        const auto root = "userNameAvailabilityResponse"_s;
        QTest::newRow("empty list") << availability(root, "<userNameSuggestions/>"_s);
        QTest::newRow("no list") << availability(root);
        QTest::newRow("no document") << QString();
        QTest::newRow("unknown root") << availability("somethingElse"_s);
        QTest::newRow("cut") << availability(root).left(60);
    }
    void aTakenNameWithoutSuggestionsKeepsItsStatus()
    {
        QFETCH(QString, text);
        const auto answer = process(QNetworkReply::UnknownContentError, text);
        QCOMPARE(answer.status, 422);
        QVERIFY(!answer.available);
        QCOMPARE(answer.suggestions, QStringList());
    }

    // From a clock that was 42 s ahead; a readable date sets it, whatever became of the request.
    void aReplysDateSetsTheClock_data()
    {
        const auto row = rows<int, QString, bool>("error", "text", "set");
        row("at the very end", 0, "Date: Tue, 15 Nov 1994 08:12:31 GMT", true);
        row("of a failure", QNetworkReply::ContentNotFoundError,
            "404 Not Found\r\nDate: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n", true);
        row("none", 0, "200 OK\r\n\r\n", false);
        row("unreadable", 0, "200 OK\r\nDate: tomorrow\r\n\r\n", false);
    }
    void aReplysDateSetsTheClock()
    {
        const auto [error, text, set] = fetch<int, QString, bool>("error", "text", "set");
        auto* const clock = TimeStampManager::getTimeStampManager();
        clock->setServerTimeDifference(42);
        const auto answer = process(static_cast<QNetworkReply::NetworkError>(error), text);
        QCOMPARE(clock->serverTimeDifference() < -100000000, set);
        if (set)
            QCOMPARE(answer.serverTime, QDateTime(QDate(1994, 11, 15), QTime(8, 12, 31), Qt::UTC));
        else
            QCOMPARE(clock->serverTimeDifference(), 42);
        QCOMPARE(answer.serverTime.isValid(), !text.contains("tomorrow"_s));
    }

    void aNullReplyIsRejectedSilently()
    {
        NetworkResponseProcessor processor(nullptr);
        const MessageLog log;
        QCOMPARE(processor.processResponseFromServer(RetrieveUserNameAvailability, nullptr), -1);
        QCOMPARE(log.all(), QStringList());
    }

private:
    // Queries the signals by their meta-object, so that none is forgotten.
    void onAnswer(NetworkResponseProcessor* processor, const char* name)
    {
        const QMetaObject& meta = ServiceSignals::staticMetaObject;
        const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot(name));
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            QVERIFY(connect(processor, meta.method(i), this, slot));
    }

    static QString serverTimeOf(int type, const QString& text)
    {
        NetworkResponseProcessor processor(nullptr);
        const RecordedAnswers answers(processor);
        HttpResponse response = responseOf(QNetworkReply::NoError, text);
        processor.processResponseFromServer(type, &response);
        return answers.lines().filter("server time: "_s).value(0).section(": "_s, 1);
    }

protected Q_SLOTS:
    // Not private: they are no tests.
    void deleteTheSender() { delete sender(); }
    void noteTheDetails()
    {
        mNoted = qobject_cast<NetworkResponseProcessor*>(sender())->answering();
    }

private:
    AnsweredRequest mNoted;
};

QTEST_MAIN(TestDispatch)
#include "tst_dispatch.moc"
