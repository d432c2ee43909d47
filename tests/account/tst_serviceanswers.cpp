// SPDX-License-Identifier: LGPL-2.1-or-later
// What an application gets of the REST layer's answers and of the device, and what happens when it
// deletes the facade meanwhile.
#include "account/facaderecorder.h"
#include "account/fakeresthandler.h"
#include "account/kelaccountsprivate.h"
#include "device/testtagserver.h"
#include "operations/facadecalls.h"
#include "operations/table.h"
#include "platform/fakemodem.h"
#include "platform/privateconfiguration.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>

#include <Accounts/Account>
#include <Accounts/Manager>

#include <QCoreApplication>
#include <QMetaMethod>
#include <QPixmap>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace KelRestHandler;
using namespace KelTest;
using facadecalls::Answer;
using KelAccount::KelAccounts;
using KelAccount::KelAccountsPrivate;

namespace {

const auto regionKey = "/meegotouch/i18n/region"_s;

QVector<Answer> answers()
{
    QVector<Answer> all;
    for (const facadecalls::Operation& operation : facadecalls::ofTheService())
        all += operation.answers;
    return all;
}

void addRowForEachAnswer()
{
    QTest::addColumn<int>("index");
    const QVector<Answer> all = answers();
    for (int i = 0; i < all.size(); ++i)
        QTest::newRow(all[i].name) << i;
}

} // namespace

class TestServiceAnswers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mConfiguration.enter(), "needs the packages dconf-cli, dconf-service and dbus");
        QVERIFY(mAccounts.isValid());
        qputenv("ACCOUNTS", QFile::encodeName(mAccounts.path()));
    }

    void init()
    {
        FakeRestHandler::reset();
        FakeModem::reset();
        TagServerAddress::setProgram("/nonexistent/tag-server");
    }

    void everyOperationIsAnsweredAndRefused()
    {
        for (const auto& operation : facadecalls::ofTheService())
            QVERIFY2(operation.answers.size() >= 2, operation.name);
    }

    void anAnswerIsRelayedAtOnce_data() { addRowForEachAnswer(); }
    void anAnswerIsRelayedAtOnce()
    {
        QFETCH(int, index);
        const Answer answer = answers().at(index);
        // Even without initialize(): what comes is relayed.
        KelAccounts accounts;
        const FacadeRecorder recorder(&accounts);
        answer.give(FakeRestHandler::latest());
        QCOMPARE(recorder.lines(), answer.lines);
        QCoreApplication::processEvents();
        QCOMPARE(recorder.lines(), answer.lines);
    }

    void theFacadeMayBeDeletedFromTheFirstSignal_data() { addRowForEachAnswer(); }
    void theFacadeMayBeDeletedFromTheFirstSignal()
    {
        QFETCH(int, index);
        const Answer answer = answers().at(index);
        auto accounts = std::make_unique<KelAccounts>();
        FacadeRecorder recorder(accounts.get());
        recorder.afterwards = [&](const QString&) { accounts.reset(); };
        answer.give(FakeRestHandler::latest());
        QCoreApplication::processEvents();
        QCOMPARE(recorder.lines(), answer.lines.mid(0, 1));
    }

    void theFacadeMayBeDeletedFromTheSecondCaptchaSignal()
    {
        auto accounts = std::make_unique<KelAccounts>();
        FacadeRecorder recorder(accounts.get());
        recorder.afterwards = [&](const QString& signal) {
            if (signal == QLatin1String("retrieveCaptchaImageResponse"))
                accounts.reset();
        };
        FakeRestHandler::latest().retrieveCaptchaImageResponse(0, QPixmap(1, 1), "c"_s);
        QVERIFY(!accounts);
        QCOMPARE(recorder.lines().size(), 2);
    }

    void anAnswerMayLeadToTheNextCall()
    {
        KelAccounts accounts;
        accounts.initialize("key"_s, "secret"_s, 2, "service"_s, {});
        FacadeRecorder recorder(&accounts);
        recorder.afterwards = [&](const QString& signal) {
            if (signal == QLatin1String("retrieveCaptchaImageResponse"))
                accounts.requestPasswordReset("u"_s, "t"_s, false, QString());
        };
        FakeRestHandler::latest().retrieveCaptchaImageResponse(0, QPixmap(), "c-9"_s);
        QCOMPARE(FakeRestHandler::sent().size(), 1);
        QCOMPARE(FakeRestHandler::sent().first().arguments.at(1).toString(), "c-9"_s);
    }

    void theShortCaptchaSignalFindsTheIdAlreadyKept()
    {
        KelAccounts accounts;
        accounts.initialize("key"_s, "secret"_s, 2, "service"_s, {});
        FacadeRecorder recorder(&accounts);
        recorder.afterwards = [&](const QString& signal) {
            if (signal == QLatin1String("captchaImageResponse"))
                accounts.requestPasswordReset("u"_s, "t"_s, false, QString());
        };
        FakeRestHandler::latest().retrieveCaptchaImageResponse(0, QPixmap(), "c-8"_s);
        QCOMPARE(FakeRestHandler::sent().first().arguments.at(1).toString(), "c-8"_s);
    }

    void theSlotsForAnswersBearTheirNames()
    {
        QStringList names;
        const QMetaObject& meta = KelAccountsPrivate::staticMetaObject;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            if (meta.method(i).methodType() == QMetaMethod::Slot)
                names.append(QString::fromLatin1(meta.method(i).name()));
        }
        names.sort();
        // These are the names from before there was a rule. It is: named as the answer.
        QStringList asTheRuleSays;
        for (const QString& signal : operations::namesOf(operations::answerSignatures()))
            asTheRuleSays.append("process"_s + signal.left(1).toUpper() + signal.mid(1));
        QStringList expected;
        for (const char* name : {"getCountryCode",
                                 "processAccountStoringStatusUpdate",
                                 "processCaptchaImageResponse",
                                 "processChangePasswordCompleted",
                                 "processCloseResponse",
                                 "processCredentialStoringStatusUpdate",
                                 "processEmailAvailabilityReponse",
                                 "processPasswordResetUsingSecurityQuestionResponse",
                                 "processQueryMarketingVariantResponse",
                                 "processRequestPasswordResetResponse",
                                 "processRetrieveSecurityQuestionResponse",
                                 "processRetrieveTOSReponse",
                                 "processSecurityQueListResponse",
                                 "processSetSecurityQuestionCompleted",
                                 "processSignInCompleted",
                                 "processUpdateDeviceInfoResponse",
                                 "processUserIdUpdateCompleted",
                                 "processUserNameAvailResponse",
                                 "processdetectPreAccountResponse",
                                 "processdownloadProfileCompleted",
                                 "processensureTokenResponse",
                                 "processregisterAccountResponse",
                                 "sendErrorResponse"})
            expected.append(text(name));
        for (const QString& name : qAsConst(asTheRuleSays)) {
            if (!expected.contains(name))
                names.removeAll(name);
        }
        QCOMPARE(names, expected);
    }

    void theCountryIsAnsweredLaterAndWithoutInitialize_data()
    {
        columns<QString, QByteArray, QString>("mcc", "region", "line");
        const auto row = [](const char* name, const char* mcc, const char* region,
                            const char* line) {
            QTest::newRow(name) << text(mcc) << QByteArray(region) << text(line);
        };
        row("home network", "244", "", "retrieveCountryCodeResponse(0, 'FI')");
        row("home network before region", "244", "'sv_SE'", "retrieveCountryCodeResponse(0, 'FI')");
        row("unknown network", "999", "'sv_SE'", "retrieveCountryCodeResponse(807, '')");
        row("region", "", "'sv_SE'", "retrieveCountryCodeResponse(0, 'SE')");
        row("neither", "", "", "retrieveCountryCodeResponse(807, '')");
    }
    void theCountryIsAnsweredLaterAndWithoutInitialize()
    {
        const auto [mcc, region] = fetch<QString, QByteArray>("mcc", "region");
        if (!mcc.isEmpty())
            FakeModem::setSims({{false, {}, mcc, {}}});
        QVERIFY(region.isEmpty() ? mConfiguration.clear(regionKey)
                                 : mConfiguration.write(regionKey, region));
        KelAccounts accounts;
        const FacadeRecorder recorder(&accounts);
        accounts.retrieveCountryCode();
        QCOMPARE(recorder.lines(), QStringList());
        QCOMPARE(FakeModem::readings(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(recorder.lines().size(), 1);
        QTEST(recorder.lines().first(), "line");
    }

    void deferredAnswersDieWithTheFacade()
    {
        auto accounts = std::make_unique<KelAccounts>();
        const FacadeRecorder recorder(accounts.get());
        accounts->retrieveCountryCode();
        accounts->queryMarketingVariant();
        accounts->registerAccount(nullptr, true);
        accounts.reset();
        QCoreApplication::processEvents();
        QCOMPARE(recorder.lines(), QStringList());
        QCOMPARE(FakeModem::readings(), 0);
    }

    void theFacadeMayBeDeletedFromItsOwnAnswer_data()
    {
        QTest::addColumn<QString>("line");
        QTest::newRow("refusal") << "captchaImageResponse(802, no picture)"_s;
        QTest::newRow("country") << "retrieveCountryCodeResponse(0, 'FI')"_s;
        QTest::newRow("initialize") << "initializeResponse(0)"_s;
    }
    void theFacadeMayBeDeletedFromItsOwnAnswer()
    {
        QFETCH(QString, line);
        auto accounts = std::make_unique<KelAccounts>();
        FakeModem::setSims({{false, {}, "244"_s, {}}});
        FacadeRecorder recorder(accounts.get());
        recorder.afterwards = [&](const QString&) { accounts.reset(); };
        if (line.startsWith("captcha"_s))
            accounts->retrieveCaptchaImage(1, 1);
        if (line.startsWith("initialize"_s))
            accounts->initialize("key"_s, "secret"_s, 2, "service"_s, {});
        for (int i = 0; accounts && i < 2; ++i)
            accounts->retrieveCountryCode();
        QCoreApplication::processEvents();
        QVERIFY(!accounts);
        QCOMPARE(recorder.lines(), QStringList(line));
    }

    void anAccountOfTheServiceIsSeenEnabledOrNot()
    {
        KelAccounts facade;
        QVERIFY(!facade.isKeLAccountConfigured());
        Accounts::Manager manager(
            Accounts::Manager::Options(Accounts::Manager::DisableNotifications));
        makeAccount(manager, "another");
        QVERIFY(!facade.isKeLAccountConfigured());
        Accounts::Account* const account = makeAccount(manager, "zor");
        QVERIFY(facade.isKeLAccountConfigured());
        QVERIFY(KelAccounts().isKeLAccountConfigured());
        account->setEnabled(true);
        QVERIFY(account->syncAndBlock());
        QVERIFY(facade.isKeLAccountConfigured());
        account->remove();
        QVERIFY(account->syncAndBlock());
        QVERIFY(!facade.isKeLAccountConfigured());
    }

private:
    static Accounts::Account* makeAccount(Accounts::Manager& manager, const char* provider)
    {
        Accounts::Account* const account = manager.createAccount(text(provider));
        account->setDisplayName("somebody"_s);
        account->syncAndBlock();
        return account;
    }

    PrivateConfiguration mConfiguration;
    QTemporaryDir mAccounts;
};

QTEST_MAIN(TestServiceAnswers)
#include "tst_serviceanswers.moc"
