// SPDX-License-Identifier: LGPL-2.1-or-later
// The account changing at the service while this device has its session, through the real daemon.
#include "integration/keptdata.h"
#include "integration/pluginfixture.h"

namespace {

/// The same user elsewhere: an identity and a session of its own.
struct AnotherDevice : PluginFixture
{
    using PluginFixture::openSession;
    using PluginFixture::process;
};

const QString newPassword = QStringLiteral("given elsewhere");

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
    void init();
    void aPasswordChangedElsewhereEndsWithTheSignInsRefusal();
    void anExpiredTokenEndsWithTheSignInsRefusalToo_data();
    void anExpiredTokenEndsWithTheSignInsRefusalToo();
    void aPasswordRecoveredElsewhereIsUsedOnceTheIdentityHasIt();
    void anAccountLockedMeanwhileIsReported();
    void whatTheDaemonKeepsMayBeDamaged_data();
    void whatTheDaemonKeepsMayBeDamaged();

private:
    bool changePasswordElsewhere();
    bool lockElsewhere();

    QString mUser;
    QString mPassword = QStringLiteral("password");
    QVariantMap mBefore; // what the daemon keeps after signing in
    int mCount = 0;
};

void TestPluginRefusals::init()
{
    mUser = QStringLiteral("user%1").arg(++mCount);
    QVERIFY(!addAccount({{QStringLiteral("userName"), mUser},
                         {QStringLiteral("email"), QStringLiteral("%1@example.org").arg(mUser)},
                         {QStringLiteral("password"), mPassword}})
                 .isEmpty());
    QVERIFY(openSession(mUser, mPassword));
    QCOMPARE(process("signIn").error, 0);
    mBefore = stored();
    QVERIFY(!KelTest::KeptData::nameIn(mBefore).isEmpty());
    operations();
}

bool TestPluginRefusals::changePasswordElsewhere()
{
    AnotherDevice other;
    const bool isChanged = other.openSession(mUser, mPassword) &&
                           other.process("signIn").error == 0 &&
                           other.process("privateMechanism_changepassword",
                                         {{QStringLiteral("OldPassword"), mPassword},
                                          {QStringLiteral("NewPassword"), newPassword}})
                                   .error == 0;
    operations();
    return isChanged;
}

bool TestPluginRefusals::lockElsewhere()
{
    constexpr int failuresToLock = 10;
    AnotherDevice other;
    if (!other.openSession(mUser, QStringLiteral("a guess")))
        return false;
    for (int i = 0; i < failuresToLock; ++i) {
        if (other.process("signIn").error != 504)
            return false;
    }
    operations();
    return true;
}

void TestPluginRefusals::aPasswordChangedElsewhereEndsWithTheSignInsRefusal()
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
    QCOMPARE(process("userId").data.value(QStringLiteral("UserId")).toString(), mUser);
    QCOMPARE(process("token").error, 0);
    QCOMPARE(operations(), QList<int>());
    // To sign out needs no password.
    QCOMPARE(process("privateMechanism_signOut").error, 0);
    QCOMPARE(operations(), QList<int>{9});
    QCOMPARE(process("privateMechanism_downloadProfile").error, 504);
    QCOMPARE(operations(), QList<int>{1});
}

void TestPluginRefusals::anExpiredTokenEndsWithTheSignInsRefusalToo_data()
{
    QTest::addColumn<QByteArray>("mechanism");
    for (const char* mechanism :
         {"token", "privateMechanism_ensureToken", "privateMechanism_downloadProfile",
          "privateMechanism_updateDeviceInfo"})
        QTest::newRow(mechanism) << QByteArray(mechanism);
}

void TestPluginRefusals::anExpiredTokenEndsWithTheSignInsRefusalToo()
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

void TestPluginRefusals::aPasswordRecoveredElsewhereIsUsedOnceTheIdentityHasIt()
{
    QVERIFY(changePasswordElsewhere());
    QVERIFY(letTokensExpire());
    QCOMPARE(process("privateMechanism_downloadProfile").error, 504);
    QCOMPARE(operations(), everythingRefused);
    QVERIFY(storeSecret(newPassword));
    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
    QCOMPARE(operations(), renewedBySigningIn);
    const QVariantMap session = storedSession();
    QVERIFY(session.value(QStringLiteral("Token")) !=
            KelTest::KeptData::sessionIn(mBefore).value(QStringLiteral("Token")));
    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
    QCOMPARE(operations(), QList<int>{22});
}

void TestPluginRefusals::anAccountLockedMeanwhileIsReported()
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

void TestPluginRefusals::whatTheDaemonKeepsMayBeDamaged_data()
{
    QTest::addColumn<QVariant>("session");
    const QVariantList list{1, QStringLiteral("a"), QByteArray("b")};
    QTest::newRow("text") << QVariant(QStringLiteral("token"));
    QTest::newRow("bytes") << QVariant(QByteArray::fromHex("00ff80fe"));
    QTest::newRow("list") << QVariant(list);
    QTest::newRow("map of lists") << QVariant(QVariantMap{{QStringLiteral("Token"), list},
                                                          {QStringLiteral("AccountId"), list},
                                                          {QStringLiteral("ValidUntil"), list}});
}

void TestPluginRefusals::whatTheDaemonKeepsMayBeDamaged()
{
    QFETCH(QVariant, session);
    QVERIFY(changeStoredSession(session));
    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
    QCOMPARE(operations(), (QList<int>{1, 22}));
    QVERIFY(stored() != mBefore);
    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
    QCOMPARE(operations(), QList<int>{22});
}

QTEST_GUILESS_MAIN(TestPluginRefusals)
#include "tst_plugin_refusals.moc"
