// SPDX-License-Identifier: LGPL-2.1-or-later
// What an application gets of the REST layer's answers and of the device, and what happens when it
// deletes the facade meanwhile.
#include "account/facaderecorder.h"
#include "account/fakeresthandler.h"
#include "account/kelaccountsprivate.h"
#include "device/testtagserver.h"
#include "platform/fakemodem.h"
#include "platform/privateconfiguration.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/profileinfo.h>
#include <kelaccount/registrationinfo.h>

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
using KelAccount::KelAccounts;
using KelAccount::KelAccountsPrivate;

namespace {

const auto regionKey = "/meegotouch/i18n/region"_s;

// An answer of the REST layer, and every signal that becomes of it.
struct Answer
{
    const char* name;
    std::function<void(RESTRequestHandler&)> give;
    QStringList lines;
};

QStringList lines(const char* first, const char* second = nullptr)
{
    QStringList list{QString::fromLatin1(first)};
    if (second)
        list.append(QString::fromLatin1(second));
    return list;
}

UserNameAvailabilityResponse nameAnswer(int status, bool available, const QStringList& suggestions)
{
    UserNameAvailabilityResponse response;
    response.status = status;
    response.available = available;
    response.suggestions = suggestions;
    return response;
}

SecurityQuestionResponse questionAnswer(int status, const char* user, const char* id,
                                        const char* question)
{
    SecurityQuestionResponse response;
    response.status = status;
    response.securityQuestion.username = text(user);
    response.securityQuestion.passwordQuestionId = text(id);
    response.securityQuestion.passwordQuestionText = text(question);
    return response;
}

Answer email(const char* name, int status, const char* line)
{
    return {name, [=](RESTRequestHandler& h) { h.emailIdAvailabilityResponse(status); },
            lines(line)};
}

Answer variant(const char* name, int status, int value, const char* line)
{
    return {name,
            [=](RESTRequestHandler& h) {
                h.queryMarketingVariantResponse(status, static_cast<ConsentQueryVariant>(value));
            },
            lines(line)};
}

QVector<Answer> availabilityAnswers()
{
    return {
        {"name, free",
         [](RESTRequestHandler& h) { h.userNameAvailabilityResponse(nameAnswer(0, true, {})); },
         lines("isUserIdAvailableResponse(0, true, [])")},
        {"name, taken",
         [](RESTRequestHandler& h) {
             h.userNameAvailabilityResponse(nameAnswer(0, false, {"alice1"_s, "a2"_s}));
         },
         lines("isUserIdAvailableResponse(0, false, [alice1, a2])")},
        {"name, reserved",
         [](RESTRequestHandler& h) { h.userNameAvailabilityResponse(nameAnswer(512, false, {})); },
         lines("isUserIdAvailableResponse(512, false, [])")},
        email("address, free", 0, "isEmailIdAvailableResponse(0, true)"),
        email("address, taken", 508, "isEmailIdAvailableResponse(0, false)"),
        email("address, reserved", 515, "isEmailIdAvailableResponse(515, false)"),
        email("address, network", 404, "isEmailIdAvailableResponse(404, false)"),
        email("address, unknown", 1004, "isEmailIdAvailableResponse(1004, false)"),
        variant("variant 1", 0, 1, "marketingVariantResponse(0, 1)"),
        variant("variant 2", 0, 2, "marketingVariantResponse(0, 2)"),
        variant("variant 3", 0, 3, "marketingVariantResponse(0, 3)"),
        variant("variant 4", 0, 4, "marketingVariantResponse(0, 4)"),
        variant("variant 0", 0, 0, "marketingVariantResponse(0, 0)"),
        variant("variant 5", 0, 5, "marketingVariantResponse(0, 0)"),
        variant("variant -1", 0, -1, "marketingVariantResponse(0, 0)"),
        variant("variant with an error", 505, 0, "marketingVariantResponse(505, 0)"),
        variant("variant 3 with an error", 505, 3, "marketingVariantResponse(505, 3)"),
    };
}

QVector<Answer> otherAnswers()
{
    return {
        {"captcha",
         [](RESTRequestHandler& h) { h.retrieveCaptchaImageResponse(0, QPixmap(7, 5), "c-1"_s); },
         lines("captchaImageResponse(0, picture 7x5)",
               "retrieveCaptchaImageResponse(0, picture 7x5, 'c-1')")},
        {"captcha, no picture",
         [](RESTRequestHandler& h) { h.retrieveCaptchaImageResponse(0, QPixmap(), "c-2"_s); },
         lines("captchaImageResponse(0, no picture)",
               "retrieveCaptchaImageResponse(0, no picture, 'c-2')")},
        {"captcha, error",
         [](RESTRequestHandler& h) { h.retrieveCaptchaImageResponse(404, QPixmap(), QString()); },
         lines("captchaImageResponse(404, no picture)",
               "retrieveCaptchaImageResponse(404, no picture, '')")},
        {"questions",
         [](RESTRequestHandler& h) {
             h.retrieveSecQueListResponse(0, {{"1"_s, "Pet?"_s}, {"2"_s, "?"_s}});
         },
         lines("securityQuestionListResponse(0, {1: Pet?, 2: ?})")},
        {"questions, error", [](RESTRequestHandler& h) { h.retrieveSecQueListResponse(501, {}); },
         lines("securityQuestionListResponse(501, {})")},
        {"pre-account",
         [](RESTRequestHandler& h) {
             h.detectPreAccountResponse(0, {"id"_s, "name"_s, "+358"_s, QLocale::Finland});
         },
         // 73 is Finland's number in Qt's table.
         lines("detectPreAccountResponse(0, pre-account 'id' 'name' '+358' 73)")},
        {"pre-account, error", [](RESTRequestHandler& h) { h.detectPreAccountResponse(507, {}); },
         lines("detectPreAccountResponse(507, pre-account '' '' '' 0)")},
        {"terms",
         [](RESTRequestHandler& h) {
             TermsUrlsResponse response;
             response.urls = {{"privacy"_s, "https://p.example/"_s}};
             h.retrieveTOSResponse(response);
         },
         lines("termsOfServiceResponse(0, {privacy: https://p.example/})")},
        {"terms, error",
         [](RESTRequestHandler& h) {
             TermsUrlsResponse response;
             response.status = 503;
             h.retrieveTOSResponse(response);
         },
         lines("termsOfServiceResponse(503, {})")},
        {"recovery", [](RESTRequestHandler& h) { h.requestPasswordResetResponse(0); },
         lines("requestPasswordResetResponse(0)")},
        {"recovery, wrong captcha",
         [](RESTRequestHandler& h) { h.requestPasswordResetResponse(517); },
         lines("requestPasswordResetResponse(517)")},
        {"question",
         [](RESTRequestHandler& h) {
             h.retrieveSecurityQuestionResponse(questionAnswer(0, "u", "12", "Pet?"));
         },
         lines("retrievePasswordResetSecQuestionResponse(0, {securityQuestionId: 12, "
               "securityQuestionText: Pet?, userId: u})")},
        {"question, error",
         [](RESTRequestHandler& h) {
             h.retrieveSecurityQuestionResponse(questionAnswer(519, "", "", ""));
         },
         lines("retrievePasswordResetSecQuestionResponse(519, {securityQuestionId: , "
               "securityQuestionText: , userId: })")},
        {"reset", [](RESTRequestHandler& h) { h.passwordResetResponse({}); },
         lines("resetPasswordUsingSecurityQuestionResponse(0)")},
        {"reset, error",
         [](RESTRequestHandler& h) {
             RESTResponseBase response;
             response.status = 522;
             h.passwordResetResponse(response);
         },
         lines("resetPasswordUsingSecurityQuestionResponse(522)")},
    };
}

const QVector<Answer>& answers()
{
    static const QVector<Answer> all = availabilityAnswers() + otherAnswers();
    return all;
}

void addRowForEachAnswer()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < answers().size(); ++i)
        QTest::newRow(answers()[i].name) << i;
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

    void theFacadeMayBeDeletedFromADeferredAnswer()
    {
        auto accounts = std::make_unique<KelAccounts>();
        FacadeRecorder recorder(accounts.get());
        recorder.afterwards = [&](const QString&) { accounts.reset(); };
        accounts->retrieveCaptchaImage(1, 1);
        accounts->queryMarketingVariant();
        accounts->retrieveCountryCode();
        QCoreApplication::processEvents();
        QCOMPARE(recorder.lines(), QStringList("captchaImageResponse(802, no picture)"_s));
    }

    void theFacadeMayBeDeletedFromItsCountry()
    {
        auto accounts = std::make_unique<KelAccounts>();
        FakeModem::setSims({{false, {}, "244"_s, {}}});
        FacadeRecorder recorder(accounts.get());
        recorder.afterwards = [&](const QString&) { accounts.reset(); };
        accounts->retrieveCountryCode();
        accounts->retrieveCountryCode();
        QCoreApplication::processEvents();
        QCOMPARE(recorder.lines(), QStringList("retrieveCountryCodeResponse(0, 'FI')"_s));
    }

    void theFacadeMayBeDeletedFromInitialize()
    {
        auto accounts = std::make_unique<KelAccounts>();
        FacadeRecorder recorder(accounts.get());
        recorder.afterwards = [&](const QString&) { accounts.reset(); };
        accounts->initialize("key"_s, "secret"_s, 2, "service"_s, {});
        QCOMPARE(recorder.lines(), QStringList("initializeResponse(0)"_s));
        QVERIFY(!accounts);
    }

    void anObjectThatIsNoRegistrationIsRefusedLater_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("null") << 0;
        QTest::newRow("plain object") << 1;
        QTest::newRow("profile") << 2;
    }
    void anObjectThatIsNoRegistrationIsRefusedLater()
    {
        QFETCH(int, kind);
        QObject plain;
        KelAccount::ProfileInfo profile;
        QObject* const objects[] = {nullptr, &plain, &profile};
        KelAccounts accounts;
        accounts.initialize("key"_s, "secret"_s, 2, "service"_s, {});
        const FacadeRecorder recorder(&accounts);
        accounts.registerAccount(objects[kind], true);
        QCOMPARE(recorder.lines(), QStringList());
        QCoreApplication::processEvents();
        QCOMPARE(recorder.lines(), QStringList("registerAccountResponse(1001, {})"_s));
    }

    void aRegistrationIsKnownBehindAPlainPointer()
    {
        KelAccount::RegistrationInfo info;
        info.setEmailAddress("a@b.example"_s);
        info.setPassword("pass"_s);
        QObject* const object = &info;
        KelAccounts accounts;
        const FacadeRecorder recorder(&accounts);
        accounts.registerAccount(object, true);
        accounts.registerAccount(info, true);
        QCOMPARE(recorder.lines(), QStringList());
        QCoreApplication::processEvents();
        // Not the refusal of the object: the state's.
        QCOMPARE(recorder.lines(), QStringList({"registerAccountResponse(802, {})"_s,
                                                "registerAccountResponse(802, {})"_s}));
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
