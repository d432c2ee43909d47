// SPDX-License-Identifier: LGPL-2.1-or-later
// Each call of an operation has an identity, which its answer bears, and can be given up: on the
// way to the service, and when it was refused.
#include "account/facaderecorder.h"
#include "account/fakeresthandler.h"
#include "account/kelaccountsprivate.h"
#include "device/testtagserver.h"
#include "operations/facadecalls.h"
#include "platform/fakemodem.h"
#include "support/literals.h"
#include "support/patience.h"

#include <kelaccount/kelaccounts.h>

#include <QCoreApplication>
#include <QTest>

#include <memory>

using namespace KelRestHandler;
using namespace KelTest;
using facadecalls::Operation;
using KelAccount::AnswerDetails;
using KelAccount::CallId;
using KelAccount::KelAccounts;
using KelAccount::KelAccountsPrivate;

namespace {

void giveAnswer(int request, const Operation& operation, const AnswerDetails& details = {})
{
    FakeRestHandler::answer({request, details},
                            [&] { operation.answers.first().give(FakeRestHandler::latest()); });
}

void giveAnswer(int request, NetRequestType sent, const AnswerDetails& details = {})
{
    for (const Operation& operation : facadecalls::ofTheService()) {
        if (operation.sent == sent)
            giveAnswer(request, operation, details);
    }
}

} // namespace

class TestCalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        FakeRestHandler::reset();
        FakeModem::reset();
        TagServerAddress::setProgram("/nonexistent/tag-server");
        mAccounts = std::make_unique<KelAccounts>();
        mOrchestrator = mAccounts->findChild<KelAccountsPrivate*>();
        QVERIFY(mOrchestrator);
        mRecorder = std::make_unique<FacadeRecorder>(mAccounts.get());
        mAnswered.clear();
        mRecorder->afterwards = [this](const QString&) {
            mAnswered.append(mOrchestrator->calls().answered());
            mDetails = mOrchestrator->calls().answerDetails();
        };
    }

    void cleanup()
    {
        mRecorder.reset();
        mAccounts.reset();
    }

    void anAnswerBearsItsCallWhateverTheOrder_data() { serviceRows(); }
    void anAnswerBearsItsCallWhateverTheOrder()
    {
        const Operation operation = rowsOperation();
        begin();
        const CallId before = mOrchestrator->calls().last();
        operation.call(*mAccounts);
        const CallId first = mOrchestrator->calls().last();
        const int firstRequest = FakeRestHandler::lastRequestId();
        operation.call(*mAccounts);
        const CallId second = mOrchestrator->calls().last();
        const int secondRequest = FakeRestHandler::lastRequestId();
        QVERIFY(before != first && first != second && first != 0 && second != 0);
        AnswerDetails details;
        details.retryAfterSeconds = 30;
        giveAnswer(secondRequest, operation, details);
        QVERIFY(!mAnswered.isEmpty());
        for (const CallId call : qAsConst(mAnswered))
            QCOMPARE(call, second);
        QCOMPARE(mDetails.retryAfterSeconds, 30);
        mAnswered.clear();
        giveAnswer(firstRequest, operation);
        for (const CallId call : qAsConst(mAnswered))
            QCOMPARE(call, first);
        QCOMPARE(mDetails.retryAfterSeconds, -1);
        QCOMPARE(mOrchestrator->calls().answered(), CallId(0));
    }

    void aRefusalBearsItsCall_data() { serviceRows(); }
    void aRefusalBearsItsCall()
    {
        const CallId expected = mOrchestrator->calls().next();
        rowsOperation().call(*mAccounts); // before initialize()
        QCOMPARE(mOrchestrator->calls().last(), expected);
        QCOMPARE(mAnswered, QList<CallId>());
        QCoreApplication::processEvents();
        QCOMPARE(mAnswered, QList<CallId>({expected}));
        QCOMPARE(mDetails.status, 802);
    }

    void aRefusalOfAnAbandonedCallIsNotSent_data() { serviceRows(); }
    void aRefusalOfAnAbandonedCallIsNotSent()
    {
        rowsOperation().call(*mAccounts);
        const CallId abandoned = mOrchestrator->calls().last();
        rowsOperation().call(*mAccounts);
        mOrchestrator->abandon(abandoned);
        QCoreApplication::processEvents();
        QCOMPARE(mAnswered, QList<CallId>({mOrchestrator->calls().last()}));
    }

    void anAbandonedCallIsTakenFromTheTransport_data() { serviceRows(); }
    void anAbandonedCallIsTakenFromTheTransport()
    {
        const Operation operation = rowsOperation();
        begin();
        const int handedOutBefore = FakeRestHandler::requestsAlive();
        operation.call(*mAccounts);
        const CallId call = mOrchestrator->calls().last();
        const int request = FakeRestHandler::lastRequestId();
        mOrchestrator->abandon(call);
        QCOMPARE(FakeRestHandler::abandoned(), QVector<int>({request}));
        QCOMPARE(FakeRestHandler::requestsAlive(), handedOutBefore);
        mOrchestrator->abandon(call); // once is all
        QCOMPARE(FakeRestHandler::abandoned(), QVector<int>({request}));
        QCoreApplication::processEvents();
        QCOMPARE(mAnswered, QList<CallId>());
    }

    void anAnsweredCallCannotBeAbandoned()
    {
        begin();
        mAccounts->queryMarketingVariant();
        const CallId call = mOrchestrator->calls().last();
        const int request = FakeRestHandler::lastRequestId();
        giveAnswer(request, QueryConsentVariant);
        mOrchestrator->abandon(call);
        mOrchestrator->abandon(0);
        mOrchestrator->abandon(call + 1000);
        QCOMPARE(FakeRestHandler::abandoned(), QVector<int>());
        QCOMPARE(mAnswered, QList<CallId>({call}));
    }

    void aCaptchaThatIsAbandonedInItsFirstSignalHasNoSecond()
    {
        begin();
        mAccounts->retrieveCaptchaImage(80, 40);
        const int request = FakeRestHandler::lastRequestId();
        mRecorder->afterwards = [this](const QString&) {
            mAnswered.append(mOrchestrator->calls().answered());
            mOrchestrator->abandon(mOrchestrator->calls().answered());
        };
        giveAnswer(request, RetrieveCaptchaImage);
        QCOMPARE(mAnswered, QList<CallId>({mOrchestrator->calls().last()}));
    }

    void aCaptchaHasItsTrueStatusAndItsBytes()
    {
        begin();
        mAccounts->retrieveCaptchaImage(80, 40);
        AnswerDetails details;
        details.status = 415;
        details.picture = "bytes";
        details.pictureFormat = "image/gif"_s;
        giveAnswer(FakeRestHandler::lastRequestId(), RetrieveCaptchaImage, details);
        QCOMPARE(mDetails.status, 415);
        QCOMPARE(mDetails.picture, "bytes"_ba);
        QCOMPARE(mDetails.pictureFormat, "image/gif"_s);
        QCOMPARE(mRecorder->lines().first(), "captchaImageResponse(0, no picture)"_s);
    }

    void aTakenAddressIsASuccess()
    {
        begin();
        mAccounts->isEmailIdAvailable("a@mail.example"_s);
        AnswerDetails details;
        details.status = 508;
        FakeRestHandler::answer({FakeRestHandler::lastRequestId(), details},
                                [] { FakeRestHandler::latest().emailIdAvailabilityResponse(508); });
        QCOMPARE(mDetails.status, 0);
    }

    void whatIsAnsweredWithinTheCallBearsIt()
    {
        const CallId expected = mOrchestrator->calls().next();
        // A call within the answer does not take the place of the one that returns.
        mRecorder->afterwards = [this](const QString&) {
            mAnswered.append(mOrchestrator->calls().answered());
            if (mAnswered.size() == 1)
                mAccounts->detectPreAccount();
        };
        initialize();
        QCOMPARE(mAnswered, QList<CallId>({expected}));
        QCOMPARE(mOrchestrator->calls().last(), expected);
    }

    void closingBearsItsCall()
    {
        mAccounts->close();
        QCOMPARE(mAnswered, QList<CallId>({mOrchestrator->calls().last()}));
    }

    void aSecondInitializeIsRefusedWithItsOwnCall()
    {
        initialize();
        const CallId first = mOrchestrator->calls().last();
        initialize();
        const CallId second = mOrchestrator->calls().last();
        mAccounts->initValues(QString(), QString(), 0);
        const CallId third = mOrchestrator->calls().last();
        QCoreApplication::processEvents();
        QCOMPARE(mAnswered, QList<CallId>({first, second, third}));
    }

    void theCountryCanBeAbandoned()
    {
        mAccounts->retrieveCountryCode();
        const CallId first = mOrchestrator->calls().last();
        mAccounts->retrieveCountryCode();
        const CallId second = mOrchestrator->calls().last();
        mOrchestrator->abandon(first);
        QTRY_COMPARE(mAnswered, QList<CallId>({second}));
        QCOMPARE(mDetails.status, 807);
    }

    void anAnswerWithinAnotherDoesNotTakeItsPlace()
    {
        begin();
        mAccounts->queryMarketingVariant();
        const CallId outer = mOrchestrator->calls().last();
        const int outerRequest = FakeRestHandler::lastRequestId();
        CallId afterwards = 0;
        mRecorder->afterwards = [&](const QString&) {
            if (mRecorder->lines().size() > 1)
                return;
            mAccounts->initValues(QString(), QString(), 0);
            QCoreApplication::processEvents(); // answered here
            afterwards = mOrchestrator->calls().answered();
        };
        giveAnswer(outerRequest, QueryConsentVariant);
        QCOMPARE(mRecorder->lines().size(), 2);
        QCOMPARE(afterwards, outer);
    }

private:
    void initialize() { mAccounts->initialize("key"_s, "secret"_s, 2, "service"_s, QVariantMap()); }

    void begin()
    {
        initialize();
        mAnswered.clear();
        mRecorder->clear();
    }

    static void serviceRows()
    {
        QTest::addColumn<int>("operation");
        const auto operations = facadecalls::ofTheService();
        for (int i = 0; i < operations.size(); ++i)
            QTest::newRow(operations[i].name) << i;
    }

    static Operation rowsOperation()
    {
        QFETCH(int, operation);
        return facadecalls::ofTheService().at(operation);
    }

    std::unique_ptr<KelAccounts> mAccounts;
    KelAccountsPrivate* mOrchestrator = nullptr; // the facade's
    std::unique_ptr<FacadeRecorder> mRecorder;
    QList<CallId> mAnswered;
    AnswerDetails mDetails;
};

QTEST_MAIN(TestCalls)
#include "tst_calls.moc"
