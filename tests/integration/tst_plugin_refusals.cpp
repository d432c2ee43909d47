// SPDX-License-Identifier: LGPL-2.1-or-later
// The account changing at the service while this device has its session, through the real daemon.
#include "integration/keptdata.h"
#include "integration/pluginfixture.h"
#include "support/literals.h"
#include "support/rows.h"

namespace {

/// The same user elsewhere: an identity and a session of its own.
struct AnotherDevice : PluginFixture
{
    using PluginFixture::openSession;
    using PluginFixture::process;
};

const QString newPassword = "given elsewhere"_s;

const QList<int> everythingRefused{22, 2, 1};
const QList<int> renewedBySigningIn{22, 2, 1, 22};

} // namespace

class TestPluginRefusals : public PluginFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(isInside(), "run this with kelaccount-emulator run -- PROGRAM");
    }

    void init()
    {
        mUser = "user%1"_s.arg(++mCount);
        QVERIFY(!addAccount({{"userName"_s, mUser},
                             {"email"_s, "%1@example.org"_s.arg(mUser)},
                             {"password"_s, mPassword}})
                     .isEmpty());
        QVERIFY(openSession(mUser, mPassword));
        QCOMPARE(process("signIn").error, 0);
        mBefore = stored();
        QVERIFY(!KelTest::KeptData::nameIn(mBefore).isEmpty());
        operations();
    }

    void aPasswordChangedElsewhereEndsWithTheSignInsRefusal()
    {
        QVERIFY(changePasswordElsewhere());
        // The token is good for as long as the service says.
        QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
        QCOMPARE(operations(), QList<int>{22});

        QVERIFY(letTokensExpire());
        for (int attempt = 0; attempt < 2; ++attempt) {
            const Outcome outcome = process("privateMechanism_downloadProfile");
            QCOMPARE(outcome.error, 504);
            QCOMPARE(outcome.data, QVariantMap());
            QVERIFY(!outcome.message.contains(mUser) && !outcome.message.contains(mPassword));
            QCOMPARE(operations(), everythingRefused);
            QCOMPARE(stored(), mBefore);
        }
        // What it knows it still tells, without asking.
        QCOMPARE(process("userId").data.value("UserId"_s).toString(), mUser);
        QCOMPARE(process("token").error, 0);
        QCOMPARE(operations(), QList<int>());
        // To sign out needs no password.
        QCOMPARE(process("privateMechanism_signOut").error, 0);
        QCOMPARE(operations(), QList<int>{9});
        QCOMPARE(process("privateMechanism_downloadProfile").error, 504);
        QCOMPARE(operations(), QList<int>{1});
    }

    void anExpiredTokenEndsWithTheSignInsRefusalToo_data()
    {
        rowsNamed("mechanism",
                  {"token", "privateMechanism_ensureToken", "privateMechanism_downloadProfile",
                   "privateMechanism_updateDeviceInfo"});
    }

    void anExpiredTokenEndsWithTheSignInsRefusalToo()
    {
        QFETCH(QByteArray, mechanism);
        QVERIFY(changePasswordElsewhere());
        QVERIFY(letTokensExpire());
        QVERIFY(expire());
        const QVariantMap before = stored();
        QCOMPARE(process(mechanism.constData()).error, 504);
        QCOMPARE(operations(), (QList<int>{2, 1}));
        QCOMPARE(stored(), before);
    }

    void aPasswordRecoveredElsewhereIsUsedOnceTheIdentityHasIt()
    {
        QVERIFY(changePasswordElsewhere());
        QVERIFY(letTokensExpire());
        QCOMPARE(process("privateMechanism_downloadProfile").error, 504);
        QCOMPARE(operations(), everythingRefused);
        QVERIFY(storeSecret(newPassword));
        QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
        QCOMPARE(operations(), renewedBySigningIn);
        const QVariantMap session = storedSession();
        QVERIFY(session.value("Token"_s) != KelTest::KeptData::sessionIn(mBefore).value("Token"_s));
        QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
        QCOMPARE(operations(), QList<int>{22});
    }

    void anAccountLockedMeanwhileIsReported()
    {
        QVERIFY(lockElsewhere());
        // A lock keeps passwords out, not tokens.
        QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
        QCOMPARE(operations(), QList<int>{22});

        QVERIFY(letTokensExpire());
        QCOMPARE(process("privateMechanism_downloadProfile").error, 510);
        QCOMPARE(operations(), everythingRefused);
        QCOMPARE(stored(), mBefore);
        QVERIFY(expire());
        const QVariantMap before = stored();
        QCOMPARE(process("privateMechanism_ensureToken").error, 510);
        QCOMPARE(operations(), (QList<int>{2, 1}));
        QCOMPARE(process("signIn").error, 510);
        QCOMPARE(operations(), QList<int>{1});
        QCOMPARE(stored(), before);
    }

    void whatTheDaemonKeepsMayBeDamaged_data()
    {
        QTest::addColumn<QVariant>("session");
        const QVariantList list{1, "a"_s, "b"_ba};
        QTest::newRow("text") << QVariant("token"_s);
        QTest::newRow("bytes") << QVariant(QByteArray::fromHex("00ff80fe"));
        QTest::newRow("list") << QVariant(list);
        QTest::newRow("map of lists") << QVariant(
            QVariantMap{{"Token"_s, list}, {"AccountId"_s, list}, {"ValidUntil"_s, list}});
    }

    void whatTheDaemonKeepsMayBeDamaged()
    {
        QFETCH(QVariant, session);
        QVERIFY(changeStoredSession(session));
        QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
        QCOMPARE(operations(), (QList<int>{1, 22}));
        QVERIFY(stored() != mBefore);
        QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
        QCOMPARE(operations(), QList<int>{22});
    }

private:
    bool changePasswordElsewhere()
    {
        AnotherDevice other;
        const bool isChanged =
            other.openSession(mUser, mPassword) && other.process("signIn").error == 0 &&
            other.process("privateMechanism_changepassword",
                          {{"OldPassword"_s, mPassword}, {"NewPassword"_s, newPassword}})
                    .error == 0;
        operations();
        return isChanged;
    }

    bool lockElsewhere()
    {
        constexpr int failuresToLock = 10;
        AnotherDevice other;
        if (!other.openSession(mUser, "a guess"_s))
            return false;
        for (int i = 0; i < failuresToLock; ++i) {
            if (other.process("signIn").error != 504)
                return false;
        }
        operations();
        return true;
    }

    QString mUser;
    QString mPassword = "password"_s;
    QVariantMap mBefore; // what the daemon keeps after signing in
    int mCount = 0;
};

QTEST_GUILESS_MAIN(TestPluginRefusals)
#include "tst_plugin_refusals.moc"
