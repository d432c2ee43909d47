// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs scenarios of data/, each a row: credentials and accounts as the daemon's and the accounts
// framework's databases keep them. The README there says how they are written.
#include "common/unfinishedwork.h"
#include "configure/identitytask.h"
#include "configure/kelconfigure.h"
#include "configuresession.h"
#include "support/allaccounts.h"
#include "support/literals.h"
#include "support/sessionscenarios.h"

#include <SignOn/Identity>

#include <QPointer>
#include <QThread>

#include <memory>

using namespace KelTest;
using KelAccount::IdentityTask;
using KelAccount::KelConfigure;
using KelAccount::UnfinishedWork;

class TestConfigureScenarios : public QObject, private SessionScenarios
{
    Q_OBJECT

public:
    explicit TestConfigureScenarios(SessionSandbox& sandbox)
        : SessionScenarios(sandbox), mSandbox(sandbox)
    {
        addWordsForCredentials();
        addWordsForAccounts();
        word("patience", [this](const QString& text) {
            const QString with = text.section(QLatin1Char(' '), 0, 0);
            const int ms = text.section(QLatin1Char(' '), 1).toInt();
            if (with == "store"_s)
                mConfigure->setStoreTimeout(ms);
            else if (with == "removal"_s)
                mConfigure->setRemovalTimeout(ms);
            else
                mConfigure->setAccountTimeout(ms);
            return ms > 0;
        });
        word("object", [this](const QString& what) {
            if (what == "ends"_s)
                mConfigure.reset();
            return what == "ends"_s || (what == "anew"_s && makeObject());
        });
        word("nothing-else", [this](const QString&) {
            return waitUntil(
                [this] { return mConfigure->findChildren<QObject*>() == mOwnChildren; });
        });
    }

private Q_SLOTS:
    void init()
    {
        QVERIFY(mSandbox.startDaemon());
        QVERIFY(KelTest::removeAllAccounts());
        mValues = {{"service"_s, ownSync()}};
        QVERIFY(makeObject());
        QVERIFY(store("earlier"_s)); // so that the database is there
        mOutcomes.clear();
        mBefore = identities();
    }

    void everyScenario_data() { scenarioRows(); }
    void everyScenario()
    {
        QFETCH(QStringList, lines);
        const QString problem = problemOf(lines);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }

    void aScenarioThatDoesNotHoldFails()
    {
        QCOMPARE(whichHolds(R"(cannot-begin name password
            object anew; stores name password; outcomes nothing
            stores name password; outcomes failed
            begin name password; begin name password
            object anew; begin name password; in-outcome outcomes failed; outcomes stored
            identities 7
            remove 4711; logged C nothing
            remove-then 4711 pause 1
            present yes
            configure 1 name; reports false
            object sings
            patience store never
            think about it)"_s),
                 QString());
    }

private:
    bool makeObject()
    {
        mConfigure = std::make_unique<KelConfigure>();
        mOwnChildren = mConfigure->findChildren<QObject*>();
        mOutcomes.clear();
        mReports.clear();
        connect(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus, this,
                [this](bool stored, quint32 id) {
                    mOutcomes.append(stored ? "stored"_s : "failed"_s);
                    mValues["id"_s] = QString::number(id);
                    if (const auto steps = std::exchange(mInOutcome, nullptr))
                        steps();
                });
        connect(mConfigure.get(), &KelConfigure::identityRemovalCompleted, this,
                [this] { mOutcomes.append("removed"_s); });
        connect(mConfigure.get(), &KelConfigure::configureAccountStatus, this,
                [this](bool created) { mReports.append(created ? "true"_s : "false"_s); });
        return true;
    }

    int identities() const
    {
        return mSandbox.credentials("select count(*) from credentials"_s).value(0).value(0).toInt();
    }

    /// "name password": each may have blanks in it but the name.
    int begin(const QString& text)
    {
        return mConfigure->storeUserCredentials(text.section(QLatin1Char(' '), 0, 0),
                                                text.section(QLatin1Char(' '), 1));
    }

    bool store(const QString& text)
    {
        mOutcomes.clear();
        return begin(text) == 0 && mOutcomes.isEmpty() &&
               waitUntil([this] { return !mOutcomes.isEmpty(); }) &&
               mOutcomes == QStringList("stored"_s) && mValues["id"_s].toUInt() > 0;
    }

    void addWordsForCredentials()
    {
        word("stores", [this](const QString& text) { return store(text); });
        word("begin", [this](const QString& text) { return begin(text) == 0; });
        word("cannot-begin", [this](const QString& text) { return begin(text) == -1; });
        word("outcomes", [this](const QString& text) {
            const QStringList expected = text.split(QLatin1Char(' '));
            if (text != "nothing"_s)
                waitUntil([&] { return mOutcomes.size() >= expected.size(); }, 8000);
            if (text == "any"_s)
                return expect(mOutcomes.size() == 1);
            return same(mOutcomes.isEmpty() ? "nothing"_s : mOutcomes.join(QLatin1Char(' ')), text);
        });
        word("in-outcome", [this](const QString& steps) {
            mInOutcome = prepared(steps);
            return true;
        });
        word("keep", [this](const QString& name) {
            mValues[name] = mValues.value("id"_s);
            return true;
        });
        // More than there were, when it comes to that and as it is.
        word("identities", [this](const QString& more) {
            return same(QString::number(identities() - mBefore), more);
        });
        word("become", [this](const QString& more) {
            return waitUntil([&] { return identities() - mBefore == more.toInt(); });
        });
        word("remove", [this](const QString& id) {
            mConfigure->removeIdentity(id.toUInt());
            return true;
        });
        word("remove-then", [this](const QString& text) {
            mConfigure->removeIdentity(text.section(QLatin1Char(' '), 0, 0).toUInt(),
                                       prepared(text.section(QLatin1Char(' '), 1)));
            return true;
        });
        word("remove-for-nobody", [this](const QString& id) {
            mConfigure->removeIdentity(id.toUInt(), [this] { mOutcomes.append("went on"_s); });
            return true;
        });
        // "look" or "forget", and whose.
        word("ask", [this](const QString& text) {
            const bool looks = text.startsWith("look "_s);
            mConfigure->askOfIdentity(
                looks ? IdentityTask::Look : IdentityTask::Forget,
                text.section(QLatin1Char(' '), 1).toUInt(), [this](IdentityTask::Outcome outcome) {
                    mOutcomes.append(outcome == IdentityTask::Done   ? "done"_s
                                     : outcome == IdentityTask::None ? "none"_s
                                                                     : "failed"_s);
                });
            return looks || text.startsWith("forget "_s);
        });
        // The daemon stores that, and another application's of the same name before it, and is
        // heard to have failed.
        word("stores-and-fails", [this](const QString& name) {
            mConfigure->setIdentitySource([this, name] {
                storeAsAnother(name);
                auto* const own = SignOn::Identity::newIdentity(SignOn::IdentityInfo());
                connect(own, &SignOn::Identity::credentialsStored, own, [own] {
                    Q_EMIT own->error(SignOn::Error(SignOn::Error::StoreFailed, "planted"_s));
                });
                return own;
            });
            return begin(name + " the-password"_s) == 0;
        });
        // In the outcome: the identity that tells of it is still doing so.
        word("gives-identity", [this](const QString&) {
            mConfigure->setIdentitySource([this] {
                mGiven = SignOn::Identity::newIdentity(SignOn::IdentityInfo());
                return mGiven;
            });
            return true;
        });
        // One that tells nothing of what becomes of it.
        word("gives-silent-identity", [this](const QString&) {
            mConfigure->setIdentitySource([this] {
                mGiven = SignOn::Identity::newIdentity(SignOn::IdentityInfo());
                mGiven->blockSignals(true);
                return mGiven;
            });
            return true;
        });
        word("given",
             [this](const QString&) { return waitUntil([this] { return !mGiven.isNull(); }); });
        word("ends-before-its-identity", [this](const QString&) {
            mConfigure.reset();
            return !mGiven.isNull();
        });
        // What a thread that ends would wait for.
        word("unfinished", [](const QString& expected) {
            return waitUntil([&] { return UnfinishedWork::isUnderWay() == (expected == "yes"_s); });
        });
        word("remove-as-others", [this](const QString& id) {
            const QPointer<SignOn::Identity> identity =
                SignOn::Identity::existingIdentity(id.toUInt());
            connect(identity, &SignOn::Identity::removed, mConfigure.get(),
                    &KelConfigure::onRemovalComplete);
            identity->remove();
            return waitUntil([&] { return identity.isNull(); });
        });
        // Storing was quicker than what was to disturb it.
        word("remove-if-stored", [this](const QString&) {
            const unsigned id = mValues["id"_s].toUInt();
            const bool isStored = mOutcomes == QStringList("stored"_s);
            if (isStored)
                mConfigure->removeIdentity(id);
            return !isStored || id > 0;
        });
        word("forget", [this](const QString&) {
            mOutcomes.clear();
            return true;
        });
        // While the others work.
        word("turns", [this](const QString& count) {
            for (int i = 0; i < count.toInt() && mOutcomes.isEmpty(); ++i) {
                QCoreApplication::processEvents();
                QThread::msleep(3);
            }
            return true;
        });
    }

    void storeAsAnother(const QString& name)
    {
        SignOn::IdentityInfo record;
        record.setUserName(name);
        record.setOwner("another::application"_s);
        record.setMethod("zorauth"_s, {"signIn"_s});
        record.setAccessControlList({"another::application"_s});
        record.setSecret("secret"_s, true);
        SignOn::Identity::newIdentity(record, mConfigure.get())->storeCredentials(record);
    }

    void addWordsForAccounts()
    {
        word("configure", [this](const QString& text) {
            return mConfigure->configureAccount(text.section(QLatin1Char(' '), 1),
                                                text.section(QLatin1Char(' '), 0, 0).toUInt()) == 0;
        });
        word("cannot-configure",
             [this](const QString& text) { return mConfigure->configureAccount(text, 1) == -1; });
        word("reports", [this](const QString& text) {
            const QStringList expected = text.split(QLatin1Char(' '));
            if (text != "nothing"_s)
                waitUntil([&] { return mReports.size() >= expected.size(); });
            return same(mReports.isEmpty() ? "nothing"_s : mReports.join(QLatin1Char(' ')), text);
        });
        word("remove-account", [this](const QString& id) {
            mConfigure->removeAccount(id.toUInt(), [this] { mReports.append("went-on"_s); });
            return true;
        });
        word("present", [this](const QString& expected) {
            return mConfigure->isKelAccountPresent() == (expected == "yes"_s);
        });
        word("accounts-become", [this](const QString& count) {
            return waitUntil([&] {
                return textOf(mSandbox.accounts("select count(*) from accounts"_s)) == count;
            });
        });
    }

    void passTime(int milliseconds) override
    {
        waitUntil([] { return false; }, milliseconds);
    }

    SessionSandbox& mSandbox;
    std::unique_ptr<KelConfigure> mConfigure;
    QObjectList mOwnChildren; // before anything was asked of it
    QPointer<SignOn::Identity> mGiven;
    QStringList mOutcomes;
    QStringList mReports;
    std::function<void()> mInOutcome;
    int mBefore = 0;
};

namespace {

int runScenarios(int argc, char** argv)
{
    return runInSession<TestConfigureScenarios>(argc, argv, installAccountFiles);
}

} // namespace

KEL_TEST_MAIN(runScenarios)

#include "tst_configure_scenarios.moc"
