// SPDX-License-Identifier: LGPL-2.1-or-later
// Guessing the old password: what is counted, what waits, and what ends neither.
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "integration/scriptedservice.h"
#include "plugin/oldpasswords.h"
#include "rest/request/serviceaddress.h"

#include <SignOn/Error>

#include <QNetworkProxy>
#include <QTest>

using namespace KelTest;

namespace {

QString serviceBase;

const QString wrong = QStringLiteral("614");

} // namespace

namespace KelRestHandler {

const char RestSchemaNamespace[] = "https://account.example/schemas/rest/v1_0";
const char OAuthRealm[] = "OAuth realm=\"https://account.example\"";

QString serverBaseAddress(int /*serverIndex*/)
{
    return serviceBase;
}

} // namespace KelRestHandler

class TestPluginOldPasswords : public PluginObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void theDelayGrowsUpToALimit_data();
    void theDelayGrowsUpToALimit();
    void theFirstThreeAreAnsweredAtOnce();
    void theFourthHasToWait_data();
    void theFourthHasToWait();
    void whoDoesNotWaitIsCounted();
    void theCountOutlivesThePluginProcess();
    void theCountOutlivesWhatTheDaemonKeeps();
    void aRightOneEndsIt();
    void aSecretOfTheClientsDoesNotEndIt();

private:
    void attempt(const QString& password, const QVariantMap& more = {});
    QStringList answerTo(const QString& password, const QVariantMap& more = {});
    void guess(int times);
    int counted() const;

    std::unique_ptr<ScriptedService> mService;
    QVariantMap mKept; // by the daemon
};

void TestPluginOldPasswords::init()
{
    for (const char* name : {"http_proxy", "https_proxy"})
        qunsetenv(name);
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    mService = std::make_unique<ScriptedService>();
    serviceBase = mService->base();
    makePlugin();
    process("signIn", request());
    QVERIFY(waitForEnd());
    mKept = mStored;
}

void TestPluginOldPasswords::cleanup()
{
    mPlugin.reset();
    mService.reset();
}

void TestPluginOldPasswords::attempt(const QString& password, const QVariantMap& more)
{
    mEvents.clear();
    QVariantMap data = request(mKept);
    data.insert(QStringLiteral("OldPassword"), password);
    data.insert(QStringLiteral("NewPassword"), QStringLiteral("another"));
    for (auto entry = more.cbegin(); entry != more.cend(); ++entry)
        data.insert(entry.key(), entry.value());
    process("privateMechanism_changepassword", data);
    mKept = mStored;
}

QStringList TestPluginOldPasswords::answerTo(const QString& password, const QVariantMap& more)
{
    attempt(password, more);
    waitForEnd();
    mKept = mStored;
    return mEvents;
}

void TestPluginOldPasswords::guess(int times)
{
    for (int i = 0; i < times; ++i)
        QCOMPARE(answerTo(QStringLiteral("guess %1").arg(i)).last(), wrong);
}

int TestPluginOldPasswords::counted() const
{
    return KeptData::mapIn(mKept).value(QStringLiteral("WrongPasswords")).toInt();
}

void TestPluginOldPasswords::theDelayGrowsUpToALimit_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("seconds");
    const int seconds[] = {0, 0, 0, 1, 2, 4, 8, 16, 16, 16};
    int before = 0;
    for (const int delay : seconds) {
        QTest::addRow("%d", before) << before << delay;
        ++before;
    }
    QTest::newRow("many") << 1000 << 16;
    QTest::newRow("more") << 0x7fffffff << 16;
}

void TestPluginOldPasswords::theDelayGrowsUpToALimit()
{
    QFETCH(int, before);
    QFETCH(int, seconds);
    QCOMPARE(ZorAuth::oldPasswordDelayMs(before), seconds * 1000);
}

void TestPluginOldPasswords::theFirstThreeAreAnsweredAtOnce()
{
    for (int i = 0; i < 3; ++i) {
        attempt(QStringLiteral("a guess"));
        QCOMPARE(mEvents, (QStringList{QStringLiteral("store"), wrong}));
        QCOMPARE(counted(), i + 1);
    }
    QCOMPARE(mService->asked(), QList<QByteArray>{"POST tokens"});
}

void TestPluginOldPasswords::theFourthHasToWait_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("answer");
    QTest::newRow("wrong") << QStringLiteral("a guess") << wrong;
    QTest::newRow("right") << QStringLiteral("secret") << QStringLiteral("result");
}

// What was right must not show by being quicker.
void TestPluginOldPasswords::theFourthHasToWait()
{
    QFETCH(QString, password);
    QFETCH(QString, answer);
    guess(3);
    const int before = mService->asked().size();
    attempt(password);
    QCoreApplication::processEvents();
    QCOMPARE(mEvents, QStringList{QStringLiteral("store")});
    QCOMPARE(counted(), 4);
    QCOMPARE(mService->asked().size(), before);
    QVERIFY(waitForEnd());
    QCOMPARE(mEvents.last(), answer);
}

void TestPluginOldPasswords::whoDoesNotWaitIsCounted()
{
    guess(3);
    for (int i = 4; i < 10; ++i) {
        attempt(QStringLiteral("a guess"));
        mPlugin->cancel();
        QCOMPARE(mEvents, (QStringList{QStringLiteral("store"),
                                       QString::number(SignOn::Error::SessionCanceled)}));
        QCOMPARE(counted(), i);
    }
}

void TestPluginOldPasswords::theCountOutlivesThePluginProcess()
{
    guess(3);
    makePlugin();
    mStored = mKept;
    attempt(QStringLiteral("a guess"));
    QCoreApplication::processEvents();
    QCOMPARE(mEvents, QStringList{QStringLiteral("store")});
    QCOMPARE(counted(), 4);
}

// Whoever may use the identity may have the daemon forget what the plugin stored with it.
void TestPluginOldPasswords::theCountOutlivesWhatTheDaemonKeeps()
{
    guess(3);
    mKept.clear();
    attempt(QStringLiteral("a guess"));
    QCoreApplication::processEvents();
    QCOMPARE(mEvents, QStringList{QStringLiteral("store")});
    QCOMPARE(counted(), 4);
}

void TestPluginOldPasswords::aRightOneEndsIt()
{
    guess(2);
    QCOMPARE(answerTo(QStringLiteral("secret")).last(), QStringLiteral("result"));
    QCOMPARE(counted(), 0);
    // And the new password is the old one now.
    QCOMPARE(answerTo(QStringLiteral("secret")).last(), wrong);
    QCOMPARE(answerTo(QStringLiteral("another")).last(), QStringLiteral("result"));
    QCOMPARE(counted(), 0);
}

void TestPluginOldPasswords::aSecretOfTheClientsDoesNotEndIt()
{
    guess(2);
    mService->refusesPasswords = true;
    const QVariantMap own = {{QStringLiteral("Secret"), QStringLiteral("mine")}};
    QCOMPARE(answerTo(QStringLiteral("mine"), own).last(), QStringLiteral("504"));
    QCOMPARE(counted(), 3);
}

QTEST_GUILESS_MAIN(TestPluginOldPasswords)
#include "tst_plugin_oldpasswords.moc"
