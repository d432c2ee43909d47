// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations that need no sign-on session, between the application and a REST layer that only
// writes down what it is asked for.
#include "account/facaderecorder.h"
#include "account/fakeresthandler.h"
#include "account/kelaccountsprivate.h"
#include "device/testtagserver.h"
#include "operations/facadecalls.h"
#include "platform/fakemodem.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>

#include <QCoreApplication>
#include <QMetaMethod>
#include <QSet>
#include <QTest>

using namespace KelTest;
using facadecalls::KelAccounts;
using facadecalls::Operation;
using KelAccount::KelAccountsPrivate;
using KelRestHandler::ISignatureProvider;

namespace {

const auto key = "the key"_s;
const QByteArray tagReply("\x01tag");
const QByteArray tagInBase64 = "dGFn";

void initialize(KelAccounts& accounts, int server = 2)
{
    accounts.initialize(key, "the secret"_s, server, "service"_s, {});
}

QString refusal(const Operation& operation, int status)
{
    return QString::fromLatin1(operation.refusal).arg(status);
}

Operation operationOfTheRow()
{
    for (const Operation& operation : facadecalls::ofTheService()) {
        if (QTest::currentDataTag() == QByteArray(operation.name))
            return operation;
    }
    return {};
}

void addRowForEachOperation()
{
    QTest::addColumn<bool>("initialized");
    for (const Operation& operation : facadecalls::ofTheService())
        QTest::newRow(operation.name) << true;
}

} // namespace

class TestServiceOperations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        FakeRestHandler::reset();
        FakeModem::reset();
        // Nobody answers for tags unless a test says so.
        TagServerAddress::setProgram("/nonexistent/tag-server");
    }

    // But those that have nothing to do with an operation, and the two set-ups.
    void everyMethodOfTheFacadeHasARow()
    {
        QSet<QByteArray> known = {"close",
                                  "initValues",
                                  "initialize",
                                  "isCaptchaRequired",
                                  "isKeLAccountConfigured",
                                  "registerAccount",
                                  "retrieveCountryCode",
                                  "signInAndConfigure"};
        for (const Operation& operation : facadecalls::ofTheService())
            known.insert(operation.name);
        for (const Operation& operation : facadecalls::ofTheSession())
            known.insert(operation.name);
        const QMetaObject& facade = KelAccounts::staticMetaObject;
        for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
            const QMetaMethod method = facade.method(i);
            QVERIFY2(method.methodType() != QMetaMethod::Slot || known.contains(method.name()),
                     method.name());
        }
    }

    void aGoodCallIsHandedOnAndNotAnsweredHere_data() { addRowForEachOperation(); }
    void aGoodCallIsHandedOnAndNotAnsweredHere()
    {
        const Operation operation = operationOfTheRow();
        const ThreadTagServer tags(tagReply);
        QVERIFY(tags.isReady());
        KelAccounts accounts;
        initialize(accounts);
        const FacadeRecorder recorder(&accounts);
        operation.call(accounts);
        QCoreApplication::processEvents();
        QCOMPARE(recorder.lines(), QStringList());

        QCOMPARE(FakeRestHandler::sent().size(), 1);
        const SentRequest& sent = FakeRestHandler::sent().first();
        QCOMPARE(sent.type, operation.sent);
        QVariantList arguments = operation.sentArguments;
        if (operation.tagPurpose) {
            arguments.append(tagInBase64);
            // Behind the frame's head: the purpose, a colon and the time.
            const QByteArray asked = tags.frames().value(0).mid(7);
            QVERIFY2(asked.startsWith(QByteArray(operation.tagPurpose) + ':'), asked);
        }
        QCOMPARE(tags.connections(), operation.tagPurpose ? 1 : 0);
        QCOMPARE(sent.arguments, arguments);
        QCOMPARE(sent.consumerKey, key);
        QCOMPARE(sent.signer,
                 static_cast<ISignatureProvider*>(accounts.findChild<KelAccountsPrivate*>()));
    }

    void aMissingArgumentIsRefusedFirst_data()
    {
        columns<int, int>("operation", "badCall");
        const auto operations = facadecalls::ofTheService();
        for (int i = 0; i < operations.size(); ++i) {
            const auto badCalls = operations[i].badCalls();
            for (int j = 0; j < badCalls.size(); ++j)
                QTest::addRow("%s, no %s", operations[i].name, badCalls[j].name.constData())
                    << i << j;
        }
    }
    void aMissingArgumentIsRefusedFirst()
    {
        const auto [operation, badCall] = fetch<int, int>("operation", "badCall");
        const Operation row = facadecalls::ofTheService().at(operation);
        const ThreadTagServer tags(tagReply);
        QVERIFY(tags.isReady());
        KelAccounts accounts;
        initialize(accounts);
        const FacadeRecorder recorder(&accounts);
        row.badCalls().at(badCall).call(accounts);
        QCOMPARE(recorder.lines(), QStringList());
        QCoreApplication::processEvents();
        QCOMPARE(recorder.lines(), QStringList(refusal(row, 1001)));
        QVERIFY(FakeRestHandler::sent().isEmpty());
        QCOMPARE(tags.connections(), 0);
    }
    void aRequestThatCannotBeSentIsLoggedAndAnswered_data() { addRowForEachOperation(); }
    void aRequestThatCannotBeSentIsLoggedAndAnswered()
    {
        const Operation operation = operationOfTheRow();
        const ThreadTagServer tags(tagReply);
        QVERIFY(tags.isReady());
        KelAccounts accounts;
        initialize(accounts);
        const FacadeRecorder recorder(&accounts);
        FakeRestHandler::refuseRequests();
        {
            const MessageLog log;
            operation.call(accounts);
            QCOMPARE(log.all(),
                     QStringList(QLatin1String("C ") + QLatin1String(operation.failure)));
        }
        QCOMPARE(recorder.lines(), QStringList());
        QCoreApplication::processEvents();
        QCOMPARE(recorder.lines(), QStringList(refusal(operation, 1002)));
        QCOMPARE(FakeRestHandler::sent().size(), 1);
    }

    // Bad arguments are named before the missing initialize, too.
    void callsBeforeInitializeAreRefusedInTheirOrder()
    {
        const ThreadTagServer tags(tagReply);
        QVERIFY(tags.isReady());
        KelAccounts accounts;
        const FacadeRecorder recorder(&accounts);
        QStringList expected;
        for (const Operation& operation : facadecalls::ofTheService()) {
            operation.call(accounts);
            expected.append(refusal(operation, 802));
            for (const auto& bad : operation.badCalls()) {
                bad.call(accounts);
                expected.append(refusal(operation, 1001));
            }
        }
        QCOMPARE(recorder.lines(), QStringList());
        QCoreApplication::processEvents();
        QCOMPARE(recorder.lines(), expected);
        QVERIFY(FakeRestHandler::sent().isEmpty());
        QCOMPARE(tags.connections(), 0);
    }

    void theFormatOfTermsIsTextOrHtml_data()
    {
        columns<int, int>("format", "sent");
        QTest::newRow("0") << 0 << 0;
        QTest::newRow("1") << 1 << 1;
        QTest::newRow("2") << 2 << 1;
        QTest::newRow("-1") << -1 << 1;
    }
    void theFormatOfTermsIsTextOrHtml()
    {
        QFETCH(int, format);
        KelAccounts accounts;
        initialize(accounts);
        accounts.retrieveTermsOfService("s"_s, QString(), QString(), format);
        QCOMPARE(FakeRestHandler::sent().size(), 1);
        QTEST(FakeRestHandler::sent().first().arguments.last().toInt(), "sent");
    }

    void anyArgumentsDoWhereNoneIsChecked()
    {
        KelAccounts accounts;
        initialize(accounts);
        const FacadeRecorder recorder(&accounts);
        accounts.retrieveCaptchaImage(-1, 0);
        accounts.retrieveSecurityQuestionList(QString());
        accounts.requestPasswordReset(QString(), QString(), false, QString());
        QCoreApplication::processEvents();
        QCOMPARE(FakeRestHandler::sent().size(), 3);
        QCOMPARE(FakeRestHandler::sent().at(0).arguments, QVariantList({-1, 0}));
        QCOMPARE(recorder.lines(), QStringList());
    }

    void theServerIsChosenByItsIndex_data()
    {
        columns<int, QString>("server", "base");
        // The hosts as the build sets them: the numbers are what is looked at.
        const auto base = [](const char* host) {
            return "https://%1/rest/1.0/"_s.arg(QLatin1String(host));
        };
        QTest::newRow("0") << 0 << base(TEST_HOST_A);
        QTest::newRow("1") << 1 << base(TEST_HOST_B);
        QTest::newRow("2") << 2 << base(TEST_HOST_PRODUCTION);
        QTest::newRow("3") << 3 << base(TEST_HOST_STAGING);
        QTest::newRow("4") << 4 << base(TEST_HOST_C);
        QTest::newRow("5") << 5 << base(TEST_HOST_D);
        QTest::newRow("6") << 6 << base(TEST_HOST_PRODUCTION);
        QTest::newRow("7") << 7 << base(TEST_HOST_PRODUCTION);
        QTest::newRow("-1") << -1 << base(TEST_HOST_PRODUCTION);
        QTest::newRow("largest") << std::numeric_limits<int>::max() << base(TEST_HOST_PRODUCTION);
        QTest::newRow("smallest") << std::numeric_limits<int>::min() << base(TEST_HOST_PRODUCTION);
    }
    void theServerIsChosenByItsIndex()
    {
        QFETCH(int, server);
        KelAccounts accounts;
        initialize(accounts, server);
        accounts.queryMarketingVariant();
        QTEST(FakeRestHandler::sent().first().baseAddress, "base");
    }

    void aSecondInitializeLeavesKeyAndServer()
    {
        KelAccounts accounts;
        initialize(accounts, 3);
        accounts.initialize("other"_s, "other"_s, 0, QString(), {});
        accounts.queryMarketingVariant();
        QCOMPARE(FakeRestHandler::sent().first().consumerKey, key);
        QCOMPARE(FakeRestHandler::sent().first().baseAddress,
                 "https://%1/rest/1.0/"_s.arg(QLatin1String(TEST_HOST_STAGING)));
    }

    void theCaptchaReceivedLastGoesWithARecovery()
    {
        KelAccounts accounts;
        KelAccounts another;
        initialize(accounts);
        initialize(another);
        // The handler made last is the other one's.
        FakeRestHandler::latest().retrieveCaptchaImageResponse(0, {}, "first"_s);
        FakeRestHandler::latest().retrieveCaptchaImageResponse(0, {}, "second"_s);
        for (KelAccounts* facade : {&accounts, &another})
            facade->requestPasswordReset("u"_s, QString(), false, QString());
        QCOMPARE(FakeRestHandler::sent().at(0).arguments.at(1).toString(), QString());
        QCOMPARE(FakeRestHandler::sent().at(1).arguments.at(1).toString(), "second"_s);
    }

    void aRequestThatWasHandedOutLivesUntilItsAnswer()
    {
        const int before = FakeRestHandler::requestsAlive();
        {
            KelAccounts accounts;
            initialize(accounts);
            accounts.isUserIdAvailable("one"_s);
            accounts.isUserIdAvailable("two"_s);
            QCOMPARE(FakeRestHandler::requestsAlive(), before + 2);
            KelRestHandler::UserNameAvailabilityResponse answer;
            answer.requestId = FakeRestHandler::lastRequestId();
            FakeRestHandler::latest().userNameAvailabilityResponse(answer);
            QCOMPARE(FakeRestHandler::requestsAlive(), before + 1);
        }
        QCOMPARE(FakeRestHandler::requestsAlive(), before);
    }

    void aCaptchaIsNeededWithoutAServiceTag()
    {
        {
            const ThreadTagServer tags(tagReply);
            QVERIFY(tags.isReady());
            KelAccounts accounts;
            QVERIFY(!accounts.isCaptchaRequired());
            QVERIFY(tags.frames().first().mid(7).startsWith(":SSO_REGISTRATION:"));
        }
        KelAccounts accounts;
        QVERIFY(accounts.isCaptchaRequired());
    }

    void aTagThatCannotBeHadForAnOperationMakesACaptchaNeeded()
    {
        KelAccounts accounts;
        initialize(accounts);
        {
            const ThreadTagServer tags(tagReply);
            QVERIFY(tags.isReady());
            accounts.isEmailIdAvailable("a@b.example"_s);
            QVERIFY(!accounts.isCaptchaRequired());
        }
        accounts.isEmailIdAvailable("a@b.example"_s);
        QCOMPARE(FakeRestHandler::sent().last().arguments.last().toByteArray(), QByteArray());
        QVERIFY(accounts.isCaptchaRequired());
    }
};

QTEST_MAIN(TestServiceOperations)
#include "tst_serviceoperations.moc"
