// SPDX-License-Identifier: LGPL-2.1-or-later
// Both set-ups with the service failing at their one request to it.
#include "integration/setupfixture.h"
#include "support/literals.h"
#include "support/rows.h"

using namespace KelTest;
using KelAccount::RegistrationInfo;

Q_DECLARE_METATYPE(std::function<void(KelAccount::RegistrationInfo&)>)

namespace {

// When the answer to a registration is lost, the service has the account all the same.
constexpr bool registeredNevertheless = true;
constexpr bool notRegistered = false;

} // namespace

class TestStoryService : public SetUpFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(isReady(), "run this with kelaccount-emulator run -- PROGRAM"); }
    void cleanup() { tidyUp(); }
    void cleanupTestCase() { QVERIFY(EmulatedService::waitForNetworkThreads()); }

    void aFaultIsOneAnswerLeavesNothingAndTheNextAttemptSucceeds_data()
    {
        columns<SetUp, QByteArray, int, bool>("setUp", "faults", "status", "isRegistered");
        const auto rows = [](const char* faults, int status, bool isRegistered) {
            QTest::addRow("sign-in, %s", faults) << SignIn << QByteArray(faults) << status << true;
            QTest::addRow("registration, %s", faults)
                << Registration << QByteArray(faults) << status << isRegistered;
        };
        // Each goes out once.
        rows("close-before-headers", 402, notRegistered);
        rows("close-in-headers", 402, registeredNevertheless);
        rows("close-after-headers", 402, registeredNevertheless);
        rows("cut-body", 402, registeredNevertheless);
        rows("short-length", 423, registeredNevertheless);
        rows("status=401", 504, registeredNevertheless);
        rows("status=500", 1004, registeredNevertheless);
        rows("not-xml", 423, registeredNevertheless);
        // Beyond the 8 MiB that are held in memory.
        rows("huge-body=9000000", 423, registeredNevertheless);
        rows("wrong-host", 406, notRegistered);
    }

    void aFaultIsOneAnswerLeavesNothingAndTheNextAttemptSucceeds()
    {
        const auto [setUp, faults, status] =
            fetch<SetUp, QByteArray, int>("setUp", "faults", "status");
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults(faults));
        QCOMPARE(attempt(setUp), failed(setUp, status));
        QTEST(isAtService(), "isRegistered");
        expectNothingIsLeft(setUp);
    }

    void aSlowOrLongReplyIsNoFailure_data()
    {
        columns<SetUp, QByteArray>("setUp", "faults");
        for (const char* faults : {"delay=50", "huge-body=1000000"}) {
            QTest::addRow("sign-in, %s", faults) << SignIn << QByteArray(faults);
            QTest::addRow("registration, %s", faults) << Registration << QByteArray(faults);
        }
    }

    void aSlowOrLongReplyIsNoFailure()
    {
        const auto [setUp, faults] = fetch<SetUp, QByteArray>("setUp", "faults");
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults(faults));
        const QStringList lines = attempt(setUp);
        QCOMPARE(isComplete(setUp, lines), QString());
        QCOMPARE(EmulatedService::faultsLeft(), QByteArray());
    }

    void aServiceThatIsAwayLeavesNothing_data() { bothSetUps(); }

    void aServiceThatIsAwayLeavesNothing()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QCOMPARE(EmulatedService::ask("POST", "/refuse").status, 200);
        // What Qt makes of a proxy that refuses, for every connection under TLS.
        QCOMPARE(attempt(setUp), failed(setUp, 420));
        QCOMPARE(attempt(setUp), failed(setUp, 420));
        QCOMPARE(leftOnTheDevice(), QString());
        QCOMPARE(EmulatedService::ask("POST", "/accept").status, 200);
        QCOMPARE(succeedsNow(setUp), QString());
    }

    void aWrongPasswordLeavesNothing()
    {
        prepare(SignIn);
        QCOMPARE(answers([this] { facade().signInAndConfigure(user(), "wrong"_s, true); }),
                 failed(SignIn, 504));
        QCOMPARE(leftOnTheDevice(), QString());
        QCOMPARE(answers([this] { facade().signInAndConfigure("nobody"_s, "x"_s, true); }),
                 failed(SignIn, 504));
        QCOMPARE(leftOnTheDevice(), QString());
        QCOMPARE(succeedsNow(SignIn), QString());
    }

    void aLockedAccountLeavesNothing()
    {
        openFacade();
        const QString name = "locked@mail.example"_s;
        QVERIFY(!addAccount({{"email"_s, name}, {"locked"_s, true}}).isEmpty());
        QCOMPARE(answers([&] { facade().signInAndConfigure(name, "secret"_s, true); }),
                 failed(SignIn, 510));
        QCOMPARE(leftOnTheDevice(), QString());
        prepare(SignIn);
        QCOMPARE(succeedsNow(SignIn), QString());
    }

    void aRefusedRegistrationLeavesNothing_data()
    {
        columns<std::function<void(RegistrationInfo&)>, int>("spoil", "status");
        using Spoil = std::function<void(RegistrationInfo&)>;
        QTest::newRow("taken address")
            << Spoil([](RegistrationInfo& info) { info.setEmailAddress("alice@example.org"_s); })
            << 515;
        QTest::newRow("taken name")
            << Spoil([](RegistrationInfo& info) { info.setUsername("alice"_s); }) << 512;
        QTest::newRow("ill-formed address")
            << Spoil([](RegistrationInfo& info) { info.setEmailAddress("no address"_s); }) << 522;
        QTest::newRow("short password")
            << Spoil([](RegistrationInfo& info) { info.setPassword("abc"_s); }) << 522;
        QTest::newRow("wrong captcha")
            << Spoil([](RegistrationInfo& info) { info.setCaptchaText("wrong"_s); }) << 513;
        QTest::newRow("no captcha")
            << Spoil([](RegistrationInfo& info) { info.setCaptchaText(QString()); }) << 611;
        QTest::newRow("a child") << Spoil([](RegistrationInfo& info) {
            info.setDateOfBirth(QDate::currentDate().addYears(-5));
        }) << 525;
    }

    void aRefusedRegistrationLeavesNothing()
    {
        using Spoil = std::function<void(RegistrationInfo&)>;
        QFETCH(Spoil, spoil);
        QFETCH(int, status);
        prepare(Registration);
        RegistrationInfo info;
        info.setEmailAddress(user());
        info.setPassword(text(password));
        info.setCaptchaText(solvedCaptcha());
        spoil(info);
        QCOMPARE(answers([&] { facade().registerAccount(info, true); }),
                 failed(Registration, status));
        QCOMPARE(leftOnTheDevice(), QString());
        QVERIFY(!isAtService());
        // The captcha was used up by the refusal, or by the one before it.
        QCOMPARE(succeedsNow(Registration), QString());
    }
};

QTEST_MAIN(TestStoryService)
#include "tst_story_service.moc"
