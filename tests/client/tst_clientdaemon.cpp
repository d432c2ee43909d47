// SPDX-License-Identifier: LGPL-2.1-or-later
// A process in which nothing but clients uses the sign-on library, and a daemon that ends between
// their calls.
#include "account/accountfixture.h"
#include "client/clientcalls.h"
#include "client/threadnames.h"
#include "support/literals.h"

#include <kelaccount/client.h>

using namespace KelAccount;
using namespace KelTest;

class TestClientDaemon : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void initTestCase()
    {
        mSandbox.script(succeeding());
        mClient = ready();
        const auto call = mClient->signInAndConfigure("alice"_s, "the-password"_s);
        QVERIFY(waitUntil([&call] { return call.isFinished(); }));
        QVERIFY(call.future().result().isSuccess());
        QVERIFY(runsThread("kelaccount-bus"));
    }
    void cleanupTestCase() { mClient.reset(); }

    void theNextClientFindsTheDaemonThatHasEnded();
    void theApplicationMayWaitForADaemonThatIsStarted();
    void aProfileIsFetchedWhenTheDaemonHasEnded();

private:
    static std::unique_ptr<Client> ready()
    {
        auto client = std::make_unique<Client>();
        client->initialize("the-consumer-key"_s, "the-consumer-secret"_s, Server::Production,
                           "the-service"_s);
        return client;
    }

    std::unique_ptr<Client> mClient;
    Answers mAnswers;
};

// The library's connection was made by the client before, whose thread is gone.
void TestClientDaemon::theNextClientFindsTheDaemonThatHasEnded()
{
    mClient.reset();
    QVERIFY(waitUntil([] { return !runsThread("kelaccount"); }));
    QVERIFY(SessionSandbox::killDaemon());
    mClient = ready();
    const auto call = mClient->downloadProfile();
    QVERIFY(waitUntil([&call] { return call.isFinished(); }, 30000));
    const auto outcome = call.future().result();
    QCOMPARE(outcome.failure().status, 0);
}

void TestClientDaemon::theApplicationMayWaitForADaemonThatIsStarted()
{
    mClient.reset();
    QVERIFY(SessionSandbox::killDaemon());
    mClient = ready();
    // Without an event loop of this thread.
    QCOMPARE(mClient->downloadProfile().future().result().failure().status, 0);
}

void TestClientDaemon::aProfileIsFetchedWhenTheDaemonHasEnded()
{
    QVERIFY(SessionSandbox::killDaemon());
    // The first may be answered that the daemon went away; what comes after it is not.
    mClient->downloadProfile().future().waitForFinished();
    QCOMPARE(mClient->downloadProfile().future().result().failure().status, 0);
}

KEL_TEST_IN_SESSION(TestClientDaemon)

#include "tst_clientdaemon.moc"
