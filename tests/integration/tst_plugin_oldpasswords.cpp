// SPDX-License-Identifier: LGPL-2.1-or-later
// Guessing the old password: what is counted, what waits, and what ends neither.
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "integration/scriptedservice.h"
#include "integration/servicetable.h"
#include "plugin/oldpasswords.h"
#include "support/rows.h"

#include <QTest>

using namespace KelTest;

class TestPluginOldPasswords : public PluginObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ServiceTable::leaveProxies();
        mService = std::make_unique<ScriptedService>();
        ServiceTable::set(mService->base());
        makePlugin();
        QCOMPARE(said("signIn"), stored);
        mKept = mStored;
    }

    void cleanup()
    {
        mPlugin.reset();
        mService.reset();
    }

    void theDelayGrowsUpToALimit()
    {
        const int seconds[] = {0, 0, 0, 1, 2, 4, 8, 16, 16, 16};
        int before = 0;
        for (const int delay : seconds)
            QCOMPARE(ZorAuth::oldPasswordDelayMs(before++), delay * 1000);
        for (const int many : {1000, 0x7fffffff})
            QCOMPARE(ZorAuth::oldPasswordDelayMs(many), 16000);
    }

    void theFirstThreeAreAnsweredAtOnce()
    {
        for (int i = 0; i < 3; ++i) {
            attempt("a guess"_s);
            QCOMPARE(mEvents, QStringList("store"_s) + wrong);
            QCOMPARE(counted(), i + 1);
        }
        QCOMPARE(mService->asked(), QList<QByteArray>{"POST tokens"});
    }

    // What was right must not show by being quicker.
    void theFourthHasToWait()
    {
        const QPair<QString, QString> attempts[] = {{"a guess"_s, wrong.first()},
                                                    {"secret"_s, "result"_s}};
        for (const auto& [password, answer] : attempts) {
            init();
            guess(3);
            const int before = mService->asked().size();
            attempt(password);
            verifyWaiting();
            QCOMPARE(mService->asked().size(), before);
            QVERIFY(waitForEnd());
            QCOMPARE(mEvents.last(), answer);
        }
    }

    void whoDoesNotWaitIsCounted()
    {
        guess(3);
        for (int i = 4; i < 10; ++i) {
            attempt("a guess"_s);
            mPlugin->cancel();
            QCOMPARE(mEvents, QStringList("store"_s) + failed(SignOn::Error::SessionCanceled));
            QCOMPARE(counted(), i);
        }
    }

    void theCountOutlivesThePluginProcess()
    {
        guess(3);
        makePlugin();
        mStored = mKept;
        attempt("a guess"_s);
        verifyWaiting();
    }

    // Whoever may use the identity may have the daemon forget what the plugin stored with it.
    void theCountOutlivesWhatTheDaemonKeeps()
    {
        guess(3);
        mKept.clear();
        attempt("a guess"_s);
        verifyWaiting();
    }

    void aRightOneEndsIt()
    {
        guess(2);
        QCOMPARE(answerTo("secret"_s), "result"_s);
        QCOMPARE(counted(), 0);
        // And the new password is the old one now.
        QCOMPARE(answerTo("secret"_s), wrong.first());
        QCOMPARE(answerTo("another"_s), "result"_s);
        QCOMPARE(counted(), 0);
    }

    void aSecretOfTheClientsDoesNotEndIt()
    {
        guess(2);
        mService->refusesPasswords = true;
        QCOMPARE(answerTo("mine"_s, {{"Secret"_s, "mine"_s}}), "504"_s);
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

    QString answerTo(const QString& password, const QVariantMap& more = {})
    {
        attempt(password, more);
        waitForEnd();
        mKept = mStored;
        return mEvents.value(mEvents.size() - 1);
    }

    void guess(int times)
    {
        for (int i = 0; i < times; ++i)
            QCOMPARE(answerTo("guess %1"_s.arg(i)), wrong.first());
    }

    /// The fourth is counted, and not answered yet.
    void verifyWaiting()
    {
        QCoreApplication::processEvents();
        QCOMPARE(mEvents, QStringList("store"_s));
        QCOMPARE(counted(), 4);
    }

    int counted() const { return KeptData::mapIn(mKept).value("WrongPasswords"_s).toInt(); }

    const QStringList wrong = failed(614);
    std::unique_ptr<ScriptedService> mService;
    QVariantMap mKept; // by the daemon
};

QTEST_GUILESS_MAIN(TestPluginOldPasswords)
#include "tst_plugin_oldpasswords.moc"
