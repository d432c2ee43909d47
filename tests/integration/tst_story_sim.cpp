// SPDX-License-Identifier: LGPL-2.1-or-later
// Both set-ups on a device with a SIM, which the service is told of, and on one without.
#include "integration/setupfixture.h"
#include "support/literals.h"
#include "support/rows.h"
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
    void theCountryIsThatOfTheSim()
    {
        prepare(SignIn);
        const QString line = hasSim() ? "retrieveCountryCodeResponse(0, 'FI')"_s
                                      : "retrieveCountryCodeResponse(807, '')"_s;
        QCOMPARE(answers([this] { facade().retrieveCountryCode(); }), QStringList(line));
    }

    void theServiceIsToldOfTheDeviceOnlyWithASim_data() { bothSetUps(); }
    void theServiceIsToldOfTheDeviceOnlyWithASim()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        const QStringList lines = attempt(setUp);
        // Downloads the profile, last of all.
        QCOMPARE(isComplete(setUp, lines), QString());
        QCOMPARE(askedUntil(profileQuery), asked(setUp) + QList<int>({profileQuery}));
    }

    void itIsToldWithoutADeviceAccountToo()
    {
        prepare(SignIn);
        const QStringList lines =
            answers([this] { facade().signInAndConfigure(user(), text(password), false); });
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.at(0).startsWith("signInAndConfigureResponse(0, "_s),
                 qPrintable(lines.at(0)));
        QCOMPARE(askedUntil(asked(SignIn).last()), asked(SignIn));
    }

    void thatItCannotBeToldChangesNothing_data()
    {
        rows<SetUp, QByteArray>("setUp", "fault");
        for (const char* fault : {"close-after-headers", "status=401", "status=500", "not-xml"}) {
            QTest::addRow("sign-in, %s", fault) << SignIn << QByteArray(fault);
            QTest::addRow("registration, %s", fault) << Registration << QByteArray(fault);
        }
    }
    void thatItCannotBeToldChangesNothing()
    {
        const auto [setUp, fault] = fetch<SetUp, QByteArray>("setUp", "fault");
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults(hasSim() ? "none\n" + fault : "none"));
        const QStringList lines = attempt(setUp);
        QVERIFY(waitUntil([] { return EmulatedService::faultsLeft().isEmpty(); }));
        QCOMPARE(isComplete(setUp, lines), QString());
    }

    void whatIsAskedMeanwhileIsAnsweredAfterwards_data() { bothSetUps(); }
    void whatIsAskedMeanwhileIsAnsweredAfterwards()
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
        QCOMPARE(recorder().lines().at(1), "downloadProfileResponse(0, profile)"_s);
        QCOMPARE(operations(), asked(setUp) + QList<int>({profileQuery}));
    }

    void aFailedSetUpTellsNothing_data() { bothSetUps(); }
    void aFailedSetUpTellsNothing()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults("status=500"));
        QCOMPARE(attempt(setUp), failed(setUp, 1004));
        QCOMPARE(leftOnTheDevice(), QString());
        QCOMPARE(operations(), asked(setUp).mid(0, 1));
        QCOMPARE(succeedsNow(setUp), QString());
    }

private:
    /// What the service is asked for the set-up, in this order.
    static QList<int> asked(SetUp setUp)
    {
        QList<int> numbers = {setUp == SignIn ? tokenCreation : registration};
        if (hasSim())
            numbers.append(deviceInformation);
        return numbers;
    }

    /// The same with the one operation after it.
    QList<int> askedUntil(int operation)
    {
        QList<int> all;
        waitUntil([&] {
            all += operations();
            return all.contains(operation);
        });
        return all;
    }
};

QTEST_MAIN(TestStorySim)
#include "tst_story_sim.moc"
