// SPDX-License-Identifier: LGPL-2.1-or-later
// Set-ups behind prepare(): the plugin's process runs and has a connection by then. Inside an
// emulator with a network between, which counts connections and round trips.
#include "integration/storyfixture.h"
#include "support/daemoncontrol.h"
#include "support/patience.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"

#include <kelaccount/client.h>

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>
#include <memory>

using namespace KelTest;
using KelAccount::Client;

namespace {

std::unique_ptr<Client> newClient()
{
    auto client = std::make_unique<Client>();
    client->initialize("demo-key"_s, "demo-secret"_s, KelAccount::Server::Production, "service"_s);
    return client;
}

int counted(const char* what)
{
    const QByteArray network = EmulatedService::ask("GET", "/network").body;
    return QJsonDocument::fromJson(network).object().value(QLatin1String(what)).toInt(-1);
}

/// Waits for the call's answer; 0, the status of its failure, or -1 without one or with two.
template <class Result>
int statusOf(const KelAccount::Call<Result>& call, Result* into = nullptr)
{
    int answers = 0;
    int status = 0;
    QObject context;
    call.then(
        &context,
        [&](const Result& result) {
            ++answers;
            if (into)
                *into = result;
        },
        [&](const KelAccount::Failure& failure) {
            ++answers;
            status = failure.status;
        });
    const bool isAnswered = QTest::qWaitFor([&] { return answers > 0; }, onABusyMachine);
    // Long enough for a second one.
    QTest::qWait(20);
    return isAnswered && answers == 1 ? status : -1;
}

} // namespace

class TestPreparedSetUp : public StoryFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        // A daemon that is killed while it makes its databases spoils them.
        QVERIFY(DaemonControl::start());
        mUser = "prepared%1"_s.arg(++mCount);
        QVERIFY(!addAccount({{"userName"_s, mUser}, {"password"_s, "secret"_s}}).isEmpty());
    }
    void cleanup()
    {
        QVERIFY(DaemonControl::start());
        QTRY_VERIFY_WITH_TIMEOUT(cleanDevice(), onABusyMachine);
        killPluginProcesses();
    }
    void cleanupTestCase() { QVERIFY(EmulatedService::waitForNetworkThreads()); }

    void aSignInCostsOneRoundTripInTheProcessThatWasPrepared()
    {
        beforeItIsRenewed([this](QElapsedTimer& sincePrepared) {
            const auto client = newClient();
            const bool isPrepared = prepares(*client, 2, &sincePrepared);
            const QList<pid_t> plugins = pluginProcesses();
            const int connections = counted("connections");
            const int before = counted("roundTrips");
            const int status = signIn(*client);
            return isPrepared && plugins.size() == 1 && status == 0 &&
                   counted("roundTrips") - before == 1 && counted("connections") == connections &&
                   pluginProcesses() == plugins;
        });
        expectComplete();
    }

    void aRegistrationDoesSoToo()
    {
        beforeItIsRenewed([this](QElapsedTimer& sincePrepared) {
            const auto client = newClient();
            KelAccount::Captcha captcha;
            sincePrepared.start();
            const bool isThere = statusOf(client->retrieveCaptchaImage(200, 80), &captcha) == 0;
            const QByteArray path = "/captchas/" + captcha.id.toUtf8();
            KelAccount::Registration form;
            form.emailAddress = mUser + "@example.org"_s;
            form.password = "s3cret-walk"_s;
            form.dateOfBirth = QDate(1990, 2, 28);
            form.country = "FI"_s;
            form.language = "en"_s;
            form.captchaId = captcha.id;
            form.captchaText = QString::fromUtf8(EmulatedService::ask("GET", path).body).trimmed();
            // The one in this process is there from the captcha on.
            const bool isPrepared = isThere && prepares(*client, 1);
            const int before = counted("roundTrips");
            return isPrepared && statusOf(client->registerAccount(form)) == 0 &&
                   counted("roundTrips") - before == 1;
        });
        expectComplete();
    }

    void nothingIsLeftOnTheDeviceByIt()
    {
        auto client = newClient();
        QVERIFY(prepares(*client));
        QCOMPARE(leftOnTheDevice(), QString());
        client.reset();
        QCOMPARE(leftOnTheDevice(), QString());
    }

    void aSecondOneIsPreparedInTheSameProcess()
    {
        const auto client = newClient();
        QVERIFY(prepares(*client));
        const QList<pid_t> plugins = pluginProcesses();
        client->prepare();
        QCOMPARE(statusOf(client->isUserIdAvailable("bob"_s)), 0);
        QCOMPARE(signIn(*client), 0);
        QCOMPARE(pluginProcesses(), plugins);
        expectComplete();
    }

    void onADeviceWithAnAccountThereIsNoPluginToPrepare()
    {
        beforeItIsRenewed([this](QElapsedTimer& sincePrepared) {
            const auto client = newClient();
            const bool isSignedIn = signIn(*client) == 0;
            const QList<pid_t> plugins = pluginProcesses();
            const auto another = newClient();
            const int connections = counted("connections");
            sincePrepared.start();
            another->prepare();
            return isSignedIn && statusOf(another->isUserIdAvailable("bob"_s)) == 0 &&
                   counted("connections") == connections + 1 && pluginProcesses() == plugins;
        });
    }

    void withoutItNoPluginIsStartedBeforeTheSetUp()
    {
        const auto client = newClient();
        QCOMPARE(statusOf(client->isUserIdAvailable("bob"_s)), 0);
        QCOMPARE(pluginProcesses(), QList<pid_t>());
    }

    void theDaemonMayBeKilledMeanwhile()
    {
        const auto client = newClient();
        QVERIFY(prepares(*client));
        QVERIFY(DaemonControl::kill());
        QCOMPARE(signIn(*client), 0);
        expectComplete();
    }

    // The set-up is answered as it is without anything prepared, and the next one succeeds.
    void thePluginMayBeKilledMeanwhile()
    {
        const auto client = newClient();
        QVERIFY(prepares(*client));
        QVERIFY(killPluginProcesses());
        QCOMPARE(signIn(*client), 0);
        expectComplete();
    }

    void aSignInThatFailsLeavesNothing()
    {
        const auto client = newClient();
        QVERIFY(prepares(*client));
        QCOMPARE(statusOf(client->signInAndConfigure(mUser, "another"_s)),
                 int(KelAccount::ErrorNotAuthorized));
        QCOMPARE(leftOnTheDevice(), QString());
        QCOMPARE(signIn(*client), 0);
        expectComplete();
    }

    void oneThatIsTakenBackLeavesNothing()
    {
        const auto client = newClient();
        QVERIFY(prepares(*client));
        bool answered = false;
        const auto call = client->signInAndConfigure(mUser, "secret"_s);
        call.then(
            this, [&answered] { answered = true; }, [&answered] { answered = true; });
        call.cancel();
        // Refused until everything is taken back.
        QVERIFY(waitUntil([&] { return signIn(*client) == 0; }, onABusyMachine));
        QVERIFY(!answered);
        expectComplete();
    }

    void ofTwoClientsEachHasItsOwn()
    {
        const auto client = newClient();
        QVERIFY(prepares(*client));
        const auto another = newClient();
        QVERIFY(prepares(*another));
        // What is renewed meanwhile is counted, too.
        QVERIFY(waitUntil([] { return pluginProcesses().size() == 2; }, onABusyMachine));
        QCOMPARE(signIn(*client), 0);
        QCOMPARE(signIn(*another), int(KelAccount::ErrorAccountAlreadyPresent));
        expectComplete();
        QCOMPARE(statusOf(client->signOut()), 0);
        QCOMPARE(leftOnTheDevice(), QString());
        // What was prepared is still good.
        QCOMPARE(signIn(*another), 0);
        expectComplete();
    }

    void signingOutBehindItLeavesNothing()
    {
        const auto client = newClient();
        QVERIFY(prepares(*client));
        QCOMPARE(statusOf(client->signOut()), 0);
        QCOMPARE(leftOnTheDevice(), QString());
        QCOMPARE(signIn(*client), 0);
        expectComplete();
        client->prepare();
        QCOMPARE(statusOf(client->signOut()), 0);
        QCOMPARE(leftOnTheDevice(), QString());
    }

    void aClientMayEndAtAnyMoment_data()
    {
        const auto row = rows<int>("milliseconds");
        for (const int when : {0, 1, 3, 10, 30, 100})
            row(QByteArray::number(when).constData(), when);
    }
    void aClientMayEndAtAnyMoment()
    {
        const auto [milliseconds] = fetch<int>("milliseconds");
        auto client = newClient();
        client->prepare();
        QTest::qWait(milliseconds);
        client.reset();
        QCOMPARE(leftOnTheDevice(), QString());
        QCOMPARE(signIn(*newClient()), 0);
        expectComplete();
    }

    void aSetUpMayBeginAtAnyMoment_data() { aClientMayEndAtAnyMoment_data(); }
    void aSetUpMayBeginAtAnyMoment()
    {
        const auto [milliseconds] = fetch<int>("milliseconds");
        const auto client = newClient();
        client->prepare();
        QTest::qWait(milliseconds);
        QCOMPARE(signIn(*client), 0);
        expectComplete();
    }

private:
    /// What is prepared is made anew after 3 s, which counts as well. So what does not hold because
    /// a busy machine took longer than that is tried again.
    template <class Holds>
    void beforeItIsRenewed(Holds holds)
    {
        constexpr int renewedAfterMs = 3000;
        constexpr int times = 10;
        for (int i = 0; i < times; ++i) {
            QElapsedTimer sincePrepared;
            sincePrepared.start();
            if (holds(sincePrepared))
                return;
            QVERIFY(sincePrepared.hasExpired(renewedAfterMs));
            cleanup();
            init();
        }
        QFAIL("This machine was never quick enough.");
    }

    /// Whether both stand: one in this process and one in the plugin's.
    static bool prepares(Client& client, int connections = 2,
                         QElapsedTimer* sincePrepared = nullptr)
    {
        const int before = counted("handshakes");
        if (sincePrepared)
            sincePrepared->start();
        client.prepare();
        return QTest::qWaitFor([&] { return counted("handshakes") >= before + connections; },
                               onABusyMachine);
    }

    int signIn(Client& client) const
    {
        return statusOf(client.signInAndConfigure(mUser, "secret"_s));
    }

    static void expectComplete()
    {
        QCOMPARE(identities().size(), 1);
        const QList<QVariantList> accounts = deviceAccounts();
        QCOMPARE(accounts.size(), 1);
        QCOMPARE(accounts.at(0).at(3).toInt(), identityNumber());
    }

    QString mUser;
    int mCount = 0;
};

QTEST_GUILESS_MAIN(TestPreparedSetUp)
#include "tst_prepared_setup.moc"
