// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/kelconfigure.h"
#include "support/messagelog.h"
#include "support/sessionsandbox.h"

#include <SignOn/Error>
#include <SignOn/Identity>

#include <QElapsedTimer>
#include <QSignalSpy>

#include <csignal>
#include <memory>

using namespace KelTest;
using KelAccount::KelConfigure;

namespace {

const char* const mechanismsInOrder[] = {
    "initialise",
    "signIn",
    "token",
    "userId",
    "signature",
    "loginIdentifier",
    "timeSinceLastManualLogin",
    "serverUTCTime",
    "kelAccountId",
    "launchSignInUi",
    "close",
    "emailAddress",
    "retrieveTermsUrls",
    "setUserId",
    "privateMechanism_signOut",
    "privateMechanism_resetPassword",
    "privateMechanism_changepassword",
    "privateMechanism_updateMarketingConsent",
    "privateMechanism_retrieveMarketingConsent",
    "privateMechanism_updateTermsOfAcceptance",
    "privateMechanism_retrieveTermsOfAcceptance",
    "privateMechanism_downloadProfile",
    "privateMechanism_updateProfile",
    "privateMechanism_retrieveSecurityQuestion",
    "privateMechanism_updateSecurityQuestion",
    "privateMechanism_retrieveContactInfo",
    "privateMechanism_updateContactInfo",
    "privateMechanism_registerAccount",
    "privateMechanism_updateDeviceInfo",
    "privateMechanism_ensureToken",
};

} // namespace

/// The identity, as the daemon keeps it.
class TestKelConfigure : public QObject
{
    Q_OBJECT

public:
    explicit TestKelConfigure(SessionSandbox& sandbox) : mSandbox(sandbox) {}

private Q_SLOTS:
    void init();
    void storesTheRecordFieldByField();
    void grantsTheMechanismsInOrder();
    void storesTheSecret();
    void twoStoresGiveTwoIdentities();
    void oneStoreAtATime();
    void aFailedStoreSaysSo();
    void aStoreThatIsNotAnsweredFails();
    void aLateAnswerOfAStoreIsNobodys();
    void theStoreMayGoMeanwhile();
    void removesTheIdentity();
    void removesTheIdentityEvenWhenItIsGoneItself();
    void removingAnUnknownIdentityIsLogged_data();
    void removingAnUnknownIdentityIsLogged();
    void removalIsSignalledToWhoConnectsIt();
    void nothingIsLeftOfAStore();

private:
    quint32 store(const QString& user = QStringLiteral("user"),
                  const QString& password = QStringLiteral("the-password"));
    int identities() const;

    SessionSandbox& mSandbox;
    std::unique_ptr<KelConfigure> mConfigure;
    QList<QVariantList> mOutcomes;
};

void TestKelConfigure::init()
{
    QVERIFY(mSandbox.startDaemon());
    mConfigure = std::make_unique<KelConfigure>();
    mOutcomes.clear();
    connect(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus, this,
            [this](bool stored, quint32 id) {
                mOutcomes.append({stored, id});
            });
}

quint32 TestKelConfigure::store(const QString& user, const QString& password)
{
    mOutcomes.clear();
    if (mConfigure->storeUserCredentials(user, password) != 0 || !mOutcomes.isEmpty())
        return 0;
    waitUntil([this] { return !mOutcomes.isEmpty(); });
    return mOutcomes.value(0).value(1).toUInt();
}

int TestKelConfigure::identities() const
{
    return mSandbox.credentials(QStringLiteral("select count(*) from credentials"))
        .at(0)
        .at(0)
        .toInt();
}

void TestKelConfigure::storesTheRecordFieldByField()
{
    const quint32 id = store(QStringLiteral("näme"));
    QVERIFY(id > 0);
    QCOMPARE(mOutcomes, QList<QVariantList>({{true, id}}));

    // Flags: 1 would be a validated user name, 2 is a secret that is kept. Type 1: an
    // application's.
    const QString rows = QStringLiteral("select username, caption, flags, type from credentials "
                                        "where id = %1");
    QCOMPARE(mSandbox.credentials(rows.arg(id)),
             QList<QVariantList>(
                 {{QStringLiteral("näme"), QStringLiteral("qtn_zor_account_title"), 2LL, 1LL}}));
    QCOMPARE(mSandbox.credentials(QStringLiteral("select tokens.token from owner join tokens on "
                                                 "tokens.id = owner.token_id where "
                                                 "owner.identity_id = %1")
                                      .arg(id)),
             QList<QVariantList>({{QStringLiteral("libaccounts-kel::accesssvt")}}));
    QCOMPARE(mSandbox.credentials(
                 QStringLiteral("select tokens.token from acl join tokens on tokens.id = "
                                "acl.token_id where acl.identity_id = %1 group by tokens.token "
                                "order by min(acl.rowid)")
                     .arg(id)),
             QList<QVariantList>({{QStringLiteral("account-plugin-zor::kelaccess")},
                                  {QStringLiteral("libaccounts-kel::accesssvt")}}));
}

void TestKelConfigure::grantsTheMechanismsInOrder()
{
    const quint32 id = store();
    QVERIFY(id > 0);
    QList<QVariantList> expected;
    for (const char* name : mechanismsInOrder)
        expected.append({QString::fromLatin1(name)});
    QCOMPARE(expected.size(), 30);

    const QString query =
        QStringLiteral("select mechanisms.mechanism from acl "
                       "join mechanisms on mechanisms.id = acl.mechanism_id "
                       "join methods on methods.id = acl.method_id "
                       "join tokens on tokens.id = acl.token_id "
                       "where acl.identity_id = %1 and methods.method = '%2' and tokens.token = "
                       "'%3' order by acl.rowid");
    for (const char* token : {"account-plugin-zor::kelaccess", "libaccounts-kel::accesssvt"}) {
        const QString name = QString::fromLatin1(token);
        QCOMPARE(mSandbox.credentials(query.arg(id).arg(QStringLiteral("zorauth"), name)),
                 expected);
        QCOMPARE(mSandbox.credentials(query.arg(id).arg(QStringLiteral("sasl"), name)),
                 QList<QVariantList>({{QStringLiteral("DIGEST-MD5")}}));
    }
    QCOMPARE(mSandbox.credentials(
                 QStringLiteral("select count(distinct method_id) from acl where identity_id = %1")
                     .arg(id)),
             QList<QVariantList>({{2LL}}));
}

void TestKelConfigure::storesTheSecret()
{
    const quint32 id = store(QStringLiteral("user"), QStringLiteral("pässword \u20ac"));
    QVERIFY(id > 0);
    QCOMPARE(
        mSandbox.secrets(QStringLiteral("select password from credentials where id = %1").arg(id)),
        QList<QVariantList>({{QStringLiteral("pässword \u20ac")}}));
}

void TestKelConfigure::twoStoresGiveTwoIdentities()
{
    const quint32 first = store(QStringLiteral("one"));
    const quint32 second = store(QStringLiteral("two"));
    QVERIFY(first > 0 && second > 0);
    QVERIFY(first != second);
}

void TestKelConfigure::oneStoreAtATime()
{
    const int before = identities();
    QCOMPARE(mConfigure->storeUserCredentials(QStringLiteral("a"), QStringLiteral("b")), 0);
    QCOMPARE(mConfigure->storeUserCredentials(QStringLiteral("c"), QStringLiteral("d")), -1);
    QVERIFY(waitUntil([this] { return !mOutcomes.isEmpty(); }));
    waitUntil([] { return false; }, 100);
    QCOMPARE(mOutcomes.size(), 1);
    QCOMPARE(identities(), before + 1);
}

void TestKelConfigure::aFailedStoreSaysSo()
{
    // A daemon that cannot open its database.
    const QString database = mSandbox.session().path(QStringLiteral("credentials/signon.db"));
    QVERIFY(mSandbox.killDaemon());
    QVERIFY(QFile::rename(database, database + QStringLiteral(".away")));
    QVERIFY(QDir().mkdir(database));
    store();
    const QList<QVariantList> outcomes = mOutcomes;
    QVERIFY(mSandbox.killDaemon());
    QVERIFY(QDir().rmdir(database));
    QVERIFY(QFile::rename(database + QStringLiteral(".away"), database));
    QCOMPARE(outcomes, QList<QVariantList>({{false, 0U}}));

    QVERIFY(store() > 0);
}

void TestKelConfigure::aStoreThatIsNotAnsweredFails()
{
    const pid_t daemon = mSandbox.daemonProcessId();
    QVERIFY(daemon > 1);
    mConfigure->setStoreTimeout(300);
    QCOMPARE(::kill(daemon, SIGSTOP), 0);
    const MessageLog log;
    QElapsedTimer timer;
    timer.start();
    store();
    QCOMPARE(::kill(daemon, SIGCONT), 0);
    QVERIFY(timer.elapsed() < 5000);
    QCOMPARE(mOutcomes, QList<QVariantList>({{false, 0U}}));
    QVERIFY(log.hasCritical("The sign-on daemon did not store the credentials in time"));
}

void TestKelConfigure::aLateAnswerOfAStoreIsNobodys()
{
    const pid_t daemon = mSandbox.daemonProcessId();
    QVERIFY(daemon > 1);
    mConfigure->setStoreTimeout(200);
    QCOMPARE(::kill(daemon, SIGSTOP), 0);
    store();
    QCOMPARE(::kill(daemon, SIGCONT), 0);
    mConfigure->setStoreTimeout(10000);
    QVERIFY(store() > 0);
    waitUntil([] { return false; }, 100);
    QCOMPARE(mOutcomes.size(), 1);
}

void TestKelConfigure::theStoreMayGoMeanwhile()
{
    QCOMPARE(mConfigure->storeUserCredentials(QStringLiteral("a"), QStringLiteral("b")), 0);
    mConfigure.reset();
    waitUntil([] { return false; }, 100);
    QCOMPARE(mOutcomes, QList<QVariantList>());

    mConfigure = std::make_unique<KelConfigure>();
    bool answered = false;
    connect(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus, this, [&] {
        answered = true;
        mConfigure.reset();
    });
    QCOMPARE(mConfigure->storeUserCredentials(QStringLiteral("a"), QStringLiteral("b")), 0);
    QVERIFY(waitUntil([&] { return answered; }));
    QVERIFY(!mConfigure);
}

void TestKelConfigure::removesTheIdentity()
{
    const quint32 kept = store();
    const quint32 id = store();
    QVERIFY(kept > 0 && id > 0);
    const int before = identities();
    QSignalSpy removed(mConfigure.get(), &KelConfigure::identityRemovalCompleted);
    mConfigure->removeIdentity(id);
    QVERIFY(waitUntil([&] { return identities() == before - 1; }));
    const QString query = QStringLiteral("select id from credentials where id in (%1, %2)");
    QCOMPARE(mSandbox.credentials(query.arg(kept).arg(id)),
             QList<QVariantList>({{static_cast<qlonglong>(kept)}}));
    QCOMPARE(mSandbox.secrets(query.arg(kept).arg(id)),
             QList<QVariantList>({{static_cast<qlonglong>(kept)}}));
    waitUntil([] { return false; }, 50);
    QCOMPARE(removed.size(), 0);
}

void TestKelConfigure::removesTheIdentityEvenWhenItIsGoneItself()
{
    QVERIFY(store() > 0);
    const quint32 id = store();
    QVERIFY(id > 0);
    const int before = identities();
    mConfigure->removeIdentity(id);
    mConfigure.reset();
    QVERIFY(waitUntil([&] { return identities() == before - 1; }));
}

void TestKelConfigure::removingAnUnknownIdentityIsLogged_data()
{
    QTest::addColumn<unsigned>("id");
    QTest::newRow("zero") << 0U;
    QTest::newRow("never stored") << 4711U;
}

void TestKelConfigure::removingAnUnknownIdentityIsLogged()
{
    QFETCH(unsigned, id);
    QVERIFY(store() > 0);
    const int before = identities();
    const MessageLog log;
    QSignalSpy removed(mConfigure.get(), &KelConfigure::identityRemovalCompleted);
    mConfigure->removeIdentity(id);
    QVERIFY(waitUntil([&] {
        return log.hasCritical("Failed to get identity object for the given identity id");
    }));
    waitUntil([] { return false; }, 50);
    QCOMPARE(removed.size(), 0);
    QCOMPARE(identities(), before);
}

void TestKelConfigure::removalIsSignalledToWhoConnectsIt()
{
    const quint32 id = store();
    QVERIFY(id > 0);
    QPointer<SignOn::Identity> identity = SignOn::Identity::existingIdentity(id);
    QVERIFY(identity);
    connect(identity, &SignOn::Identity::removed, mConfigure.get(),
            &KelConfigure::onRemovalComplete);
    QSignalSpy removed(mConfigure.get(), &KelConfigure::identityRemovalCompleted);
    identity->remove();
    QVERIFY(waitUntil([&] { return removed.size() == 1; }));
    QVERIFY(waitUntil([&] { return identity.isNull(); }));
}

void TestKelConfigure::nothingIsLeftOfAStore()
{
    const auto before = mConfigure->findChildren<QObject*>();
    QVERIFY(store() > 0);
    QVERIFY(waitUntil([&] { return mConfigure->findChildren<QObject*>() == before; }));
}

int main(int argc, char** argv)
{
    return runInSession<TestKelConfigure>(argc, argv);
}

#include "tst_kelconfigure.moc"
