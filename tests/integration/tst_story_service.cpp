// SPDX-License-Identifier: LGPL-2.1-or-later
// Both set-ups with the service failing at their one request to it.
#include "integration/setupfixture.h"

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

    void aFaultIsOneAnswerLeavesNothingAndTheNextAttemptSucceeds_data();
    void aFaultIsOneAnswerLeavesNothingAndTheNextAttemptSucceeds();
    void aSlowOrLongReplyIsNoFailure_data();
    void aSlowOrLongReplyIsNoFailure();
    void aServiceThatIsAwayLeavesNothing_data() { bothSetUps(); }
    void aServiceThatIsAwayLeavesNothing();
    void aWrongPasswordLeavesNothing();
    void aLockedAccountLeavesNothing();
    void aRefusedRegistrationLeavesNothing_data();
    void aRefusedRegistrationLeavesNothing();
};

void TestStoryService::aFaultIsOneAnswerLeavesNothingAndTheNextAttemptSucceeds_data()
{
    QTest::addColumn<SetUp>("setUp");
    QTest::addColumn<QByteArray>("faults");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("isRegistered");
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

void TestStoryService::aFaultIsOneAnswerLeavesNothingAndTheNextAttemptSucceeds()
{
    QFETCH(SetUp, setUp);
    QFETCH(QByteArray, faults);
    QFETCH(int, status);
    prepare(setUp);
    QVERIFY(EmulatedService::orderFaults(faults));
    QCOMPARE(attempt(setUp), failed(setUp, status));
    QTEST(isAtService(), "isRegistered");
    expectNothingIsLeft(setUp);
}

void TestStoryService::aSlowOrLongReplyIsNoFailure_data()
{
    QTest::addColumn<SetUp>("setUp");
    QTest::addColumn<QByteArray>("faults");
    for (const char* faults : {"delay=50", "huge-body=1000000"}) {
        QTest::addRow("sign-in, %s", faults) << SignIn << QByteArray(faults);
        QTest::addRow("registration, %s", faults) << Registration << QByteArray(faults);
    }
}

void TestStoryService::aSlowOrLongReplyIsNoFailure()
{
    QFETCH(SetUp, setUp);
    QFETCH(QByteArray, faults);
    prepare(setUp);
    QVERIFY(EmulatedService::orderFaults(faults));
    const QStringList lines = attempt(setUp);
    QCOMPARE(isComplete(setUp, lines), QString());
    QCOMPARE(EmulatedService::faultsLeft(), QByteArray());
}

void TestStoryService::aServiceThatIsAwayLeavesNothing()
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

void TestStoryService::aWrongPasswordLeavesNothing()
{
    prepare(SignIn);
    QCOMPARE(answers([this] { facade().signInAndConfigure(user(), text("wrong"), true); }),
             failed(SignIn, 504));
    QCOMPARE(leftOnTheDevice(), QString());
    QCOMPARE(answers([this] { facade().signInAndConfigure(text("nobody"), text("x"), true); }),
             failed(SignIn, 504));
    QCOMPARE(leftOnTheDevice(), QString());
    QCOMPARE(succeedsNow(SignIn), QString());
}

void TestStoryService::aLockedAccountLeavesNothing()
{
    openFacade();
    const QString name = text("locked@mail.example");
    QVERIFY(!addAccount({{text("email"), name}, {text("locked"), true}}).isEmpty());
    QCOMPARE(answers([&] { facade().signInAndConfigure(name, text("secret"), true); }),
             failed(SignIn, 510));
    QCOMPARE(leftOnTheDevice(), QString());
    prepare(SignIn);
    QCOMPARE(succeedsNow(SignIn), QString());
}

void TestStoryService::aRefusedRegistrationLeavesNothing_data()
{
    QTest::addColumn<std::function<void(RegistrationInfo&)>>("spoil");
    QTest::addColumn<int>("status");
    using Spoil = std::function<void(RegistrationInfo&)>;
    QTest::newRow("taken address")
        << Spoil([](RegistrationInfo& info) { info.setEmailAddress(text("alice@example.org")); })
        << 515;
    QTest::newRow("taken name") << Spoil([](RegistrationInfo& info) {
        info.setUsername(text("alice"));
    }) << 512;
    QTest::newRow("ill-formed address")
        << Spoil([](RegistrationInfo& info) { info.setEmailAddress(text("no address")); }) << 522;
    QTest::newRow("short password")
        << Spoil([](RegistrationInfo& info) { info.setPassword(text("abc")); }) << 522;
    QTest::newRow("wrong captcha")
        << Spoil([](RegistrationInfo& info) { info.setCaptchaText(text("wrong")); }) << 513;
    QTest::newRow("no captcha") << Spoil([](RegistrationInfo& info) {
        info.setCaptchaText(QString());
    }) << 611;
    QTest::newRow("a child") << Spoil([](RegistrationInfo& info) {
        info.setDateOfBirth(QDate::currentDate().addYears(-5));
    }) << 525;
}

void TestStoryService::aRefusedRegistrationLeavesNothing()
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
    QCOMPARE(answers([&] { facade().registerAccount(info, true); }), failed(Registration, status));
    QCOMPARE(leftOnTheDevice(), QString());
    QVERIFY(!isAtService());
    // The captcha was used up by the refusal, or by the one before it.
    QCOMPARE(succeedsNow(Registration), QString());
}

QTEST_MAIN(TestStoryService)
#include "tst_story_service.moc"
