// SPDX-License-Identifier: LGPL-2.1-or-later
// Guessing the old password: what is counted, what waits, and what ends neither.
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "integration/scriptedservice.h"
#include "plugin/oldpasswords.h"
#include "rest/request/serviceaddress.h"
#include "support/literals.h"
#include "support/rows.h"

#include <SignOn/Error>

#include <QNetworkProxy>
#include <QTest>

using namespace KelTest;

namespace {

QString serviceBase;

const QString wrong = "614"_s;

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
    void init()
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

    void cleanup()
    {
        mPlugin.reset();
        mService.reset();
    }

    void theDelayGrowsUpToALimit_data()
    {
        columns<int, int>("before", "seconds");
        const int seconds[] = {0, 0, 0, 1, 2, 4, 8, 16, 16, 16};
        int before = 0;
        for (const int delay : seconds) {
            QTest::addRow("%d", before) << before << delay;
            ++before;
        }
        QTest::newRow("many") << 1000 << 16;
        QTest::newRow("more") << 0x7fffffff << 16;
    }

    void theDelayGrowsUpToALimit()
    {
        const auto [before, seconds] = fetch<int, int>("before", "seconds");
        QCOMPARE(ZorAuth::oldPasswordDelayMs(before), seconds * 1000);
    }

    void theFirstThreeAreAnsweredAtOnce()
    {
        for (int i = 0; i < 3; ++i) {
            attempt("a guess"_s);
            QCOMPARE(mEvents, (QStringList{"store"_s, wrong}));
            QCOMPARE(counted(), i + 1);
        }
        QCOMPARE(mService->asked(), QList<QByteArray>{"POST tokens"});
    }

    void theFourthHasToWait_data()
    {
        columns<QString, QString>("password", "answer");
        QTest::newRow("wrong") << "a guess"_s << wrong;
        QTest::newRow("right") << "secret"_s
                               << "result"_s;
    }

    // What was right must not show by being quicker.
    void theFourthHasToWait()
    {
        const auto [password, answer] = fetch<QString, QString>("password", "answer");
        guess(3);
        const int before = mService->asked().size();
        attempt(password);
        QCoreApplication::processEvents();
        QCOMPARE(mEvents, QStringList{"store"_s});
        QCOMPARE(counted(), 4);
        QCOMPARE(mService->asked().size(), before);
        QVERIFY(waitForEnd());
        QCOMPARE(mEvents.last(), answer);
    }

    void whoDoesNotWaitIsCounted()
    {
        guess(3);
        for (int i = 4; i < 10; ++i) {
            attempt("a guess"_s);
            mPlugin->cancel();
            QCOMPARE(mEvents,
                     (QStringList{"store"_s, QString::number(SignOn::Error::SessionCanceled)}));
            QCOMPARE(counted(), i);
        }
    }

    void theCountOutlivesThePluginProcess()
    {
        guess(3);
        makePlugin();
        mStored = mKept;
        attempt("a guess"_s);
        QCoreApplication::processEvents();
        QCOMPARE(mEvents, QStringList{"store"_s});
        QCOMPARE(counted(), 4);
    }

    // Whoever may use the identity may have the daemon forget what the plugin stored with it.
    void theCountOutlivesWhatTheDaemonKeeps()
    {
        guess(3);
        mKept.clear();
        attempt("a guess"_s);
        QCoreApplication::processEvents();
        QCOMPARE(mEvents, QStringList{"store"_s});
        QCOMPARE(counted(), 4);
    }

    void aRightOneEndsIt()
    {
        guess(2);
        QCOMPARE(answerTo("secret"_s).last(), "result"_s);
        QCOMPARE(counted(), 0);
        // And the new password is the old one now.
        QCOMPARE(answerTo("secret"_s).last(), wrong);
        QCOMPARE(answerTo("another"_s).last(), "result"_s);
        QCOMPARE(counted(), 0);
    }

    void aSecretOfTheClientsDoesNotEndIt()
    {
        guess(2);
        mService->refusesPasswords = true;
        const QVariantMap own = {{"Secret"_s, "mine"_s}};
        QCOMPARE(answerTo("mine"_s, own).last(), "504"_s);
        QCOMPARE(counted(), 3);
    }

private:
    void attempt(const QString& password, const QVariantMap& more = {})
    {
        mEvents.clear();
        QVariantMap data = request(mKept);
        data.insert("OldPassword"_s, password);
        data.insert("NewPassword"_s, "another"_s);
        for (auto entry = more.cbegin(); entry != more.cend(); ++entry)
            data.insert(entry.key(), entry.value());
        process("privateMechanism_changepassword", data);
        mKept = mStored;
    }

    QStringList answerTo(const QString& password, const QVariantMap& more = {})
    {
        attempt(password, more);
        waitForEnd();
        mKept = mStored;
        return mEvents;
    }

    void guess(int times)
    {
        for (int i = 0; i < times; ++i)
            QCOMPARE(answerTo("guess %1"_s.arg(i)).last(), wrong);
    }

    int counted() const { return KeptData::mapIn(mKept).value("WrongPasswords"_s).toInt(); }

    std::unique_ptr<ScriptedService> mService;
    QVariantMap mKept; // by the daemon
};

QTEST_GUILESS_MAIN(TestPluginOldPasswords)
#include "tst_plugin_oldpasswords.moc"
