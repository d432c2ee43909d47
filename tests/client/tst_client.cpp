// SPDX-License-Identifier: LGPL-2.1-or-later
// What the operations of a client give, against a service in this process.
#include "client/clientfixture.h"
#include "client/clientthread.h"
#include "common/unfinishedwork.h"
#include "device/testtagserver.h"
#include "operations/answers.h"
#include "support/patience.h"

#include <kelaccount/kelaccounts.h>

#include <QAbstractEventDispatcher>
#include <QMetaMethod>
#include <QPointer>
#include <QTest>
#include <QThread>

#include <memory>
#include <utility>
#include <vector>

using namespace KelAccount;
using namespace KelTest;

class TestClient : public ClientFixture
{
    Q_OBJECT

private Q_SLOTS:
    void theFirstLinesOfAProgram();
    void everyOperationOfTheFacadeIsACall();
    void operationsGiveTheirResults_data();
    void operationsGiveTheirResults();
    void termsAreNothingButAddresses();
    void failuresSayWhatIsKnownOfTheStatus();
    void aCaptchaFailsWithItsTrueStatus();
    void aServiceThatWantsToBeLeftAloneSaysForHowLong();
    void answersComeOnTheThreadOfTheClient();
    void nothingOfAThreadStaysThatEndsLater();
};

void TestClient::theFirstLinesOfAProgram()
{
    int shown = 0;
    int complained = 0;
    const auto show = [&shown](bool, const QStringList&) { ++shown; };
    const auto complain = [&complained](const QString&) { ++complained; };
    const QString key = text("key");
    const QString secret = text("secret");
    const QString serviceName = text("shop");
    for (const QString& name : {text("bob"), QString()}) {
        KelAccount::Client client;
        client.initialize(key, secret, KelAccount::Server::Production, serviceName);
        auto call = client.isUserIdAvailable(name);
        call.then(
            this, [&](const KelAccount::Availability& a) { show(a.available, a.suggestions); },
            [&](const KelAccount::Failure& f) { complain(f.text); });
        QTRY_VERIFY(shown + complained > (name.isEmpty() ? 1 : 0));
        call.cancel();
    }
    QCOMPARE(shown, 1);
    QCOMPARE(complained, 1);
}

void TestClient::everyOperationOfTheFacadeIsACall()
{
    QStringList ours;
    for (const ClientCall& call : clientCalls()) {
        ours.append(text(call.name));
        QCOMPARE(call.make(*mClient, mAnswers, nullptr).call.operation(), text(call.name));
    }
    const QMetaObject& facade = KelAccounts::staticMetaObject;
    QStringList theirs;
    for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
        const QMetaMethod method = facade.method(i);
        if (method.methodType() == QMetaMethod::Slot)
            theirs.append(QString::fromLatin1(method.name()));
    }
    theirs.removeAll(text("initValues")); // retired
    theirs.append(text("signOut"));       // which it does not have
    theirs.removeDuplicates();
    theirs.sort();
    ours.sort();
    QCOMPARE(ours, theirs);
}

void TestClient::operationsGiveTheirResults_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("isUserIdAvailable") << text("free");
    QTest::newRow("isEmailIdAvailable") << text("free");
    const QString picture = operations::captchaReply().section(text("imageData>"), 1, 1);
    const int bytes = QByteArray::fromBase64(picture.section(text("<"), 0, 0).toLatin1()).size();
    QVERIFY(bytes > 0);
    QTest::newRow("retrieveCaptchaImage") << text("%1 bytes of png, 3x2, id captcha-9").arg(bytes);
    // As the reply has them; by their numbers the second would be the last.
    QTest::newRow("retrieveSecurityQuestionList")
        << text("2=What was your first pet's name?; 1=Wie heißt Ihre Mutter?; 10=");
    QTest::newRow("detectPreAccount") << text("pre-17 somebody +358401234567 Finland");
    QTest::newRow("retrieveTermsOfService") << text("tosUrl");
    QTest::newRow("queryMarketingVariant") << text("2");
    QTest::newRow("requestPasswordReset") << text("done");
    QTest::newRow("retrievePasswordResetSecQuestion")
        << text("somebody, 3, What was your first pet's name?");
    QTest::newRow("resetPasswordUsingSecurityQuestion") << text("done");
    QTest::newRow("close") << text("done");
    QTest::newRow("isCaptchaRequired") << text("no");
    QTest::newRow("isKeLAccountConfigured") << text("no");
}

void TestClient::operationsGiveTheirResults()
{
    QFETCH(QString, line);
    const RunningTagServer tags;
    const QString name = text(QTest::currentDataTag());
    for (const ClientCall& call : clientCalls()) {
        if (text(call.name) == name)
            call.make(*mClient, mAnswers, this);
    }
    QVERIFY(settles(1));
    QCOMPARE(mAnswers.lines, QStringList(name + text(": ") + line));
}

void TestClient::termsAreNothingButAddresses()
{
    mService->replyBy = [](const WireRequest&) {
        return Reaction::reply(200, wiredata::body("termsurls/everything").toUtf8());
    };
    QMap<QString, QString> addresses;
    mClient->retrieveTermsOfService(text("shop"), QString(), QString(), TermsFormat::Html)
        .then(this, [&addresses](const Terms& terms) { addresses = terms.addresses; });
    QTRY_VERIFY(!addresses.isEmpty());
    const QMap<QString, QString> expected = {
        {text("serviceUrl"), text("https://service.example/")},
        {text("tosUrl"), text("https://service.example/terms?a=1&b=2")},
        {text("privacyPolicyUrl"), text("https://service.example/privacy")},
        {text("serviceSpecificTosUrl"), text("https://service.example/own-terms")},
    };
    QCOMPARE(addresses, expected);
}

void TestClient::failuresSayWhatIsKnownOfTheStatus()
{
    Failure failure;
    mClient->initialize(QString(), text("secret"), Server::Production, QString());
    Client other;
    other.initialize(QString(), text("secret"), Server::Production, QString())
        .then(
            this, [] {}, [&failure](const Failure& why) { failure = why; });
    QTRY_COMPARE(failure.status, int(ErrorInvalidParameter));
    QCOMPARE(failure.name, text("ZorKeLDefs::ErrorInvalidParameter"));
    QVERIFY(!failure.text.isEmpty());
    QCOMPARE(failure.field, QString());
    QVERIFY(!failure.isRetryable);
    QCOMPARE(failure.retryAfter.count(), 0);

    mService->disturb = [](const WireRequest&) { return Disturbance::Close; };
    mClient->isUserIdAvailable(text("bob"))
        .then(
            this, [] {}, [&failure](const Failure& why) { failure = why; });
    QTRY_COMPARE(failure.status, int(ErrorRemoteHostClosed));
    QVERIFY(failure.isRetryable);
}

void TestClient::aCaptchaFailsWithItsTrueStatus()
{
    mService->disturb = [](const WireRequest&) { return Disturbance::Close; };
    mAnswers.expect(mClient->retrieveCaptchaImage(120, 40), this);
    QVERIFY(settles(1));
    QCOMPARE(mAnswers.lines, QStringList(text("retrieveCaptchaImage failed: 402")));
}

void TestClient::aServiceThatWantsToBeLeftAloneSaysForHowLong()
{
    mService->replyBy = [](const WireRequest&) {
        return Reaction::reply(503, QByteArray(), "Retry-After: 1000000000\r\n");
    };
    std::vector<qint64> waits;
    for (int i = 0; i < 2; ++i) {
        Failure failure;
        mClient->isUserIdAvailable(text("bob"))
            .then(
                this, [] {}, [&failure](const Failure& why) { failure = why; });
        QTRY_VERIFY(failure.status != 0);
        waits.push_back(failure.retryAfter.count());
        QVERIFY(waits.back() >= 1000000000);
        QVERIFY(waits.back() <= 1500000000);
    }
    // Others were told the same, and should not come back at the same moment.
    QVERIFY(waits.front() != waits.back());
}

void TestClient::answersComeOnTheThreadOfTheClient()
{
    QThread* thread = nullptr;
    mClient->close().then(this, [&thread] { thread = QThread::currentThread(); });
    QVERIFY(!thread); // not from inside the call
    QTRY_COMPARE(thread, QThread::currentThread());
}

// Without another client's end, too.
void TestClient::nothingOfAThreadStaysThatEndsLater()
{
    auto thread = std::make_unique<ClientThread>(std::make_shared<HandOver>());
    const QPointer<QThread> left(thread.get());
    thread->start();
    QTRY_VERIFY(thread->eventDispatcher());
    QObject* const onThread = thread->eventDispatcher();
    std::unique_ptr<UnfinishedWork> work;
    QMetaObject::invokeMethod(
        onThread, [&work] { work = std::make_unique<UnfinishedWork>(); },
        Qt::BlockingQueuedConnection);
    retire(std::move(thread));
    QVERIFY(left);
    QMetaObject::invokeMethod(
        onThread, [&work] { work.reset(); }, Qt::QueuedConnection);
    QTRY_VERIFY(!left);
}

QTEST_GUILESS_MAIN(TestClient)
#include "tst_client.moc"
