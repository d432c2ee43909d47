// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/kelconfigure.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"

#include <SignOn/Error>
#include <SignOn/Identity>

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QThread>

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
    void init()
    {
        QVERIFY(mSandbox.startDaemon());
        mConfigure = std::make_unique<KelConfigure>();
        mOutcomes.clear();
        connect(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus, this,
                [this](bool stored, quint32 id) {
                    mOutcomes.append({stored, id});
                });
    }

    void storesTheRecordFieldByField()
    {
        const quint32 id = store("näme"_s);
        QVERIFY(id > 0);
        QCOMPARE(mOutcomes, QList<QVariantList>({{true, id}}));

        // Flags: 1 would be a validated user name, 2 is a secret that is kept. Type 1: an
        // application's.
        const QString rows = "select username, caption, flags, type from credentials "
                             "where id = %1"_s;
        QCOMPARE(mSandbox.credentials(rows.arg(id)),
                 QList<QVariantList>({{"näme"_s, "qtn_zor_account_title"_s, 2LL, 1LL}}));
        QCOMPARE(mSandbox.credentials("select tokens.token from owner join tokens on "
                                      "tokens.id = owner.token_id where "
                                      "owner.identity_id = %1"_s.arg(id)),
                 QList<QVariantList>({{"libaccounts-kel::accesssvt"_s}}));
        QCOMPARE(
            mSandbox.credentials("select tokens.token from acl join tokens on tokens.id = "
                                 "acl.token_id where acl.identity_id = %1 group by tokens.token "
                                 "order by min(acl.rowid)"_s.arg(id)),
            QList<QVariantList>(
                {{"account-plugin-zor::kelaccess"_s}, {"libaccounts-kel::accesssvt"_s}}));
    }

    void grantsTheMechanismsInOrder()
    {
        const quint32 id = store();
        QVERIFY(id > 0);
        QList<QVariantList> expected;
        for (const char* name : mechanismsInOrder)
            expected.append({QString::fromLatin1(name)});
        QCOMPARE(expected.size(), 30);

        const QString query =
            "select mechanisms.mechanism from acl "
            "join mechanisms on mechanisms.id = acl.mechanism_id "
            "join methods on methods.id = acl.method_id "
            "join tokens on tokens.id = acl.token_id "
            "where acl.identity_id = %1 and methods.method = '%2' and tokens.token = "
            "'%3' order by acl.rowid"_s;
        for (const char* token : {"account-plugin-zor::kelaccess", "libaccounts-kel::accesssvt"}) {
            const QString name = QString::fromLatin1(token);
            QCOMPARE(mSandbox.credentials(query.arg(id).arg("zorauth"_s, name)), expected);
            QCOMPARE(mSandbox.credentials(query.arg(id).arg("sasl"_s, name)),
                     QList<QVariantList>({{"DIGEST-MD5"_s}}));
        }
        QCOMPARE(mSandbox.credentials(
                     "select count(distinct method_id) from acl where identity_id = %1"_s.arg(id)),
                 QList<QVariantList>({{2LL}}));
    }

    void storesTheSecret()
    {
        const quint32 id = store("user"_s, "pässword \u20ac"_s);
        QVERIFY(id > 0);
        QCOMPARE(mSandbox.secrets("select password from credentials where id = %1"_s.arg(id)),
                 QList<QVariantList>({{"pässword \u20ac"_s}}));
    }

    void twoStoresGiveTwoIdentities()
    {
        const quint32 first = store("one"_s);
        const quint32 second = store("two"_s);
        QVERIFY(first > 0 && second > 0);
        QVERIFY(first != second);
    }

    void oneStoreAtATime()
    {
        const int before = identities();
        QCOMPARE(mConfigure->storeUserCredentials("a"_s, "b"_s), 0);
        QCOMPARE(mConfigure->storeUserCredentials("c"_s, "d"_s), -1);
        QVERIFY(waitUntil([this] { return !mOutcomes.isEmpty(); }));
        waitUntil([] { return false; }, 100);
        QCOMPARE(mOutcomes.size(), 1);
        QCOMPARE(identities(), before + 1);
    }

    void aFailedStoreSaysSo()
    {
        // A daemon that cannot open its database.
        const QString database = mSandbox.session().path("credentials/signon.db"_s);
        QVERIFY(mSandbox.killDaemon());
        QVERIFY(QFile::rename(database, database + ".away"_s));
        QVERIFY(QDir().mkdir(database));
        QStringList said;
        {
            const MessageLog log;
            store();
            said = log.all().filter("did not store the credentials: sign-on error "_s);
        }
        const QList<QVariantList> outcomes = mOutcomes;
        QVERIFY(mSandbox.killDaemon());
        QVERIFY(QDir().rmdir(database));
        QVERIFY(QFile::rename(database + ".away"_s, database));
        QCOMPARE(outcomes, QList<QVariantList>({{false, 0U}}));
        QCOMPARE(said.size(), 1);

        QVERIFY(store() > 0);
    }

    void aStoreThatIsNotAnsweredFails()
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

    void aLateAnswerOfAStoreIsNobodys()
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

    void theStoreMayGoMeanwhile()
    {
        QCOMPARE(mConfigure->storeUserCredentials("a"_s, "b"_s), 0);
        mConfigure.reset();
        waitUntil([] { return false; }, 100);
        QCOMPARE(mOutcomes, QList<QVariantList>());

        mConfigure = std::make_unique<KelConfigure>();
        bool answered = false;
        connect(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus, this, [&] {
            answered = true;
            mConfigure.reset();
        });
        QCOMPARE(mConfigure->storeUserCredentials("a"_s, "b"_s), 0);
        QVERIFY(waitUntil([&] { return answered; }));
        QVERIFY(!mConfigure);
    }

    void removesTheIdentity()
    {
        const quint32 kept = store();
        const quint32 id = store();
        QVERIFY(kept > 0 && id > 0);
        const int before = identities();
        QSignalSpy removed(mConfigure.get(), &KelConfigure::identityRemovalCompleted);
        mConfigure->removeIdentity(id);
        QVERIFY(waitUntil([&] { return identities() == before - 1; }));
        const QString query = "select id from credentials where id in (%1, %2)"_s;
        QCOMPARE(mSandbox.credentials(query.arg(kept).arg(id)),
                 QList<QVariantList>({{static_cast<qlonglong>(kept)}}));
        QCOMPARE(mSandbox.secrets(query.arg(kept).arg(id)),
                 QList<QVariantList>({{static_cast<qlonglong>(kept)}}));
        waitUntil([] { return false; }, 50);
        QCOMPARE(removed.size(), 0);
    }

    void removesTheIdentityEvenWhenItIsGoneItself()
    {
        QVERIFY(store() > 0);
        const quint32 id = store();
        QVERIFY(id > 0);
        const int before = identities();
        mConfigure->removeIdentity(id);
        mConfigure.reset();
        QVERIFY(waitUntil([&] { return identities() == before - 1; }));
    }

    void removingAnUnknownIdentityIsLogged_data()
    {
        const auto row = rows<unsigned>("id");
        row("zero", 0U);
        row("never stored", 4711U);
    }
    void removingAnUnknownIdentityIsLogged()
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

    void removalIsSignalledToWhoConnectsIt()
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

    void whatRemovesADeviceAccountBelongsToNoOtherThread()
    {
        const MessageLog log;
        bool isRemoved = false;
        const std::unique_ptr<QThread> thread(QThread::create([&isRemoved] {
            KelConfigure configure(nullptr);
            configure.removeAccount(7, [&isRemoved] { isRemoved = true; });
        }));
        thread->start();
        QVERIFY(thread->wait(10000));
        QVERIFY(isRemoved);
        QCOMPARE(log.all(), QStringList());
    }

    void nothingIsLeftOfAStore()
    {
        const auto before = mConfigure->findChildren<QObject*>();
        QVERIFY(store() > 0);
        QVERIFY(waitUntil([&] { return mConfigure->findChildren<QObject*>() == before; }));
    }

private:
    quint32 store(const QString& user = "user"_s, const QString& password = "the-password"_s)
    {
        mOutcomes.clear();
        if (mConfigure->storeUserCredentials(user, password) != 0 || !mOutcomes.isEmpty())
            return 0;
        waitUntil([this] { return !mOutcomes.isEmpty(); });
        return mOutcomes.value(0).value(1).toUInt();
    }

    int identities() const
    {
        return mSandbox.credentials("select count(*) from credentials"_s).at(0).at(0).toInt();
    }

    SessionSandbox& mSandbox;
    std::unique_ptr<KelConfigure> mConfigure;
    QList<QVariantList> mOutcomes;
};

int main(int argc, char** argv)
{
    return runInSession<TestKelConfigure>(argc, argv);
}

#include "tst_kelconfigure.moc"
