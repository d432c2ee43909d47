// SPDX-License-Identifier: LGPL-2.1-or-later
// Both set-ups on a device with a SIM, which the service is told of, and on one without.
#include "integration/setupfixture.h"
#include "support/sessionsandbox.h"

using namespace KelTest;

namespace {

// The service's operations by their numbers.
constexpr int tokenCreation = 1;
constexpr int registration = 5;
constexpr int profileQuery = 22;
constexpr int deviceInformation = 26;

/// Whether the emulator was told to put a SIM in; the other run has none.
bool hasSim()
{
    return qEnvironmentVariableIsSet("KELACCOUNT_TEST_SIM");
}

} // namespace

class TestStorySim : public SetUpFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(isReady(), "run this with kelaccount-emulator run -- PROGRAM"); }
    void cleanup() { tidyUp(); }
    void cleanupTestCase() { QVERIFY(EmulatedService::waitForNetworkThreads()); }

    void theCountryIsThatOfTheSim();
    void theServiceIsToldOfTheDeviceOnlyWithASim_data() { bothSetUps(); }
    void theServiceIsToldOfTheDeviceOnlyWithASim();
    void itIsToldWithoutADeviceAccountToo();
    void thatItCannotBeToldChangesNothing_data();
    void thatItCannotBeToldChangesNothing();
    void whatIsAskedMeanwhileIsAnsweredAfterwards_data() { bothSetUps(); }
    void whatIsAskedMeanwhileIsAnsweredAfterwards();
    void aFailedSetUpTellsNothing_data() { bothSetUps(); }
    void aFailedSetUpTellsNothing();

private:
    /// What the service is asked for the set-up, in this order.
    static QList<int> asked(SetUp setUp);
    /// The same with the one operation after it.
    QList<int> askedUntil(int operation);
};

QList<int> TestStorySim::asked(SetUp setUp)
{
    QList<int> numbers = {setUp == SignIn ? tokenCreation : registration};
    if (hasSim())
        numbers.append(deviceInformation);
    return numbers;
}

QList<int> TestStorySim::askedUntil(int operation)
{
    QList<int> all;
    waitUntil([&] {
        all += operations();
        return all.contains(operation);
    });
    return all;
}

void TestStorySim::theCountryIsThatOfTheSim()
{
    prepare(SignIn);
    const QString line = hasSim() ? text("retrieveCountryCodeResponse(0, 'FI')")
                                  : text("retrieveCountryCodeResponse(807, '')");
    QCOMPARE(answers([this] { facade().retrieveCountryCode(); }), QStringList(line));
}

void TestStorySim::theServiceIsToldOfTheDeviceOnlyWithASim()
{
    QFETCH(SetUp, setUp);
    prepare(setUp);
    const QStringList lines = attempt(setUp);
    // Downloads the profile, last of all.
    QCOMPARE(isComplete(setUp, lines), QString());
    QCOMPARE(askedUntil(profileQuery), asked(setUp) + QList<int>({profileQuery}));
}

void TestStorySim::itIsToldWithoutADeviceAccountToo()
{
    prepare(SignIn);
    const QStringList lines =
        answers([this] { facade().signInAndConfigure(user(), text(password), false); });
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines.at(0).startsWith(text("signInAndConfigureResponse(0, ")),
             qPrintable(lines.at(0)));
    QCOMPARE(askedUntil(asked(SignIn).last()), asked(SignIn));
}

void TestStorySim::thatItCannotBeToldChangesNothing_data()
{
    QTest::addColumn<SetUp>("setUp");
    QTest::addColumn<QByteArray>("fault");
    for (const char* fault : {"close-after-headers", "status=401", "status=500", "not-xml"}) {
        QTest::addRow("sign-in, %s", fault) << SignIn << QByteArray(fault);
        QTest::addRow("registration, %s", fault) << Registration << QByteArray(fault);
    }
}

void TestStorySim::thatItCannotBeToldChangesNothing()
{
    QFETCH(SetUp, setUp);
    QFETCH(QByteArray, fault);
    prepare(setUp);
    QVERIFY(EmulatedService::orderFaults(hasSim() ? "none\n" + fault : "none"));
    const QStringList lines = attempt(setUp);
    QVERIFY(waitUntil([] { return EmulatedService::faultsLeft().isEmpty(); }));
    QCOMPARE(isComplete(setUp, lines), QString());
}

void TestStorySim::whatIsAskedMeanwhileIsAnsweredAfterwards()
{
    QFETCH(SetUp, setUp);
    prepare(setUp);
    QVERIFY(EmulatedService::orderFaults("none\ndelay=100"));
    recorder().clear();
    begin(setUp);
    QVERIFY(recorder().waitFor(1, 20000));
    // Right after the answer: with a SIM the device's information is still on its way.
    facade().downloadProfile();
    QVERIFY(recorder().waitFor(2, 20000));
    QTest::qWait(20);
    QCOMPARE(recorder().lines().size(), 2);
    QCOMPARE(recorder().lines().at(1), text("downloadProfileResponse(0, profile)"));
    QCOMPARE(operations(), asked(setUp) + QList<int>({profileQuery}));
}

void TestStorySim::aFailedSetUpTellsNothing()
{
    QFETCH(SetUp, setUp);
    prepare(setUp);
    QVERIFY(EmulatedService::orderFaults("status=500"));
    QCOMPARE(attempt(setUp), failed(setUp, 1004));
    QCOMPARE(leftOnTheDevice(), QString());
    QCOMPARE(operations(), asked(setUp).mid(0, 1));
    QCOMPARE(succeedsNow(setUp), QString());
}

QTEST_MAIN(TestStorySim)
#include "tst_story_sim.moc"
