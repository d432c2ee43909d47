// SPDX-License-Identifier: LGPL-2.1-or-later
// Several set-ups at once, in one process and in two: the device gets one account. And what an
// object does with its credentials when others change the account.
#include "account/accountfixture.h"
#include "configure/accountslock.h"
#include "configure/kelconfigure.h"
#include "support/allaccounts.h"
#include "support/literals.h"

#include <kelaccount/kelaccounts.h>

#include <SignOn/Identity>

#include <QDateTime>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>

#include <csignal>
#include <cstring>

using namespace KelTest;
using facadecalls::failure;
using KelAccount::AccountsLock;

namespace {

const QString ensured = "ensureTokenAvailableResponse(%1)"_s;

} // namespace

class TestSetUpsTogether : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(reset()); }
    void cleanup() { endFacade(); }

    void twoFacadesMakeOneAccount_data() { setUpRows(); }
    void twoFacadesMakeOneAccount()
    {
        const SetUp setUp = setUpOfTheRow();
        letThePluginTakeItsTime(setUp);
        makeFacade();
        const auto first = std::move(mAccounts);
        const auto firstRecorder = std::move(mRecorder);
        makeFacade();
        setUp.start(*first, true);
        setUp.start(*mAccounts, true);
        QVERIFY(waitUntil([&] { return lines().size() + firstRecorder->lines().size() == 2; }));
        expectOneAccount(setUp, firstRecorder->lines());
    }

    void twoProcessesMakeOneAccount_data() { setUpRows(); }
    void twoProcessesMakeOneAccount()
    {
        const SetUp setUp = setUpOfTheRow();
        letThePluginTakeItsTime(setUp);
        makeFacade();
        QProcess other;
        other.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        other.start(QCoreApplication::applicationFilePath(), {"set-up"_s, text(setUp.name)});
        QVERIFY(waitUntil([&] { return other.canReadLine(); })); // it is about to begin
        QCOMPARE(other.readLine(), "begins\n"_ba);
        setUp.start(*mAccounts, true);
        other.write("\n");
        QVERIFY(answersOnce());
        QVERIFY(waitUntil([&] { return other.state() == QProcess::NotRunning; }));
        expectOneAccount(setUp, {QString::fromUtf8(other.readAllStandardOutput()).trimmed()});
    }

    void aLockThatSomebodyHoldsIsWaitedFor()
    {
        const SetUp setUp = facadecalls::setUps()[0];
        makeFacade();
        AccountsLock lock;
        QCOMPARE(lock.tryTake(), AccountsLock::Taken);
        setUp.start(*mAccounts, true);
        QVERIFY(mSandbox.waitForRequests(2));
        letPass(200);
        QCOMPARE(lines(), QStringList());
        lock.release();
        COMPARE_ANSWER(success(setUp, identities().value(0)));
    }

    void anOldLockCountsAsLongAsSomebodyHoldsIt()
    {
        AccountsLock holder;
        QCOMPARE(holder.tryTake(), AccountsLock::Taken);
        QVERIFY(makeOld(lockFile()));
        AccountsLock lock;
        QCOMPARE(lock.tryTake(), AccountsLock::Busy);
        holder.release();
        QCOMPARE(lock.tryTake(), AccountsLock::Taken);
    }

    void aLockOfTheTimeBeforeTheDeviceWasStartedDoesNotCount()
    {
        // It names a process that runs, and by chance is this one, but nobody holds it.
        AccountsLock lock;
        QCOMPARE(lock.tryTake(), AccountsLock::Taken);
        QVERIFY(QFile::copy(lockFile(), lockFile() + QLatin1String(".copy")));
        lock.release();
        QVERIFY(QFile::rename(lockFile() + QLatin1String(".copy"), lockFile()));
        QVERIFY(makeOld(lockFile()));
        QCOMPARE(lock.tryTake(), AccountsLock::Taken);
    }

    void whatAKilledProcessLockedDoesNotCount()
    {
        const SetUp setUp = facadecalls::setUps()[0];
        makeFacade();
        QProcess other;
        other.start(QCoreApplication::applicationFilePath(), {"lock"_s});
        QVERIFY(waitUntil([&] { return other.canReadLine(); }));
        QCOMPARE(other.readLine(), "locked\n"_ba);
        AccountsLock lock;
        QCOMPARE(lock.tryTake(), AccountsLock::Busy);
        other.kill();
        QVERIFY(other.waitForFinished());
        setUp.start(*mAccounts, true);
        COMPARE_ANSWER(success(setUp, identities().value(0)));
    }

    void theAccountThatAnotherMadeAnewIsUsed()
    {
        makeFacade();
        QVERIFY(succeeds(facadecalls::setUps()[0]));
        const quint32 old = identities().at(0);
        // As the device's settings do when the user removes the account and signs in again.
        QVERIFY(KelTest::removeAllAccounts());
        QVERIFY(removeIdentity(old));
        QVERIFY(isGoneFor(0));
        const quint32 anew = storeIdentity();
        QVERIFY(createDeviceAccount(anew));
        mSandbox.script({});
        mAccounts->ensureTokenAvailable(0);
        QCOMPARE(nextLine(), ensured.arg(0));
        QCOMPARE(mSandbox.requests().constLast().data.value("UserName"_s).toString(), "earlier"_s);
        mAccounts->ensureTokenAvailable(anew);
        QCOMPARE(nextLine(), ensured.arg(0));
        mAccounts->ensureTokenAvailable(old); // valid, for a set-up returned it, but gone
        QCOMPARE(nextLine(), ensured.arg(806));
        mAccounts->ensureTokenAvailable(anew + 1);
        QCOMPARE(nextLine(), ensured.arg(1001));
    }

    void credentialsThatAreGoneAreNoSession_data() { setUpRows(); }
    void credentialsThatAreGoneAreNoSession()
    {
        const SetUp setUp = setUpWithFacade();
        setUp.start(*mAccounts, false);
        QVERIFY(answersOnce());
        const quint32 id = identities().value(0);
        QVERIFY(removeIdentity(id));
        QVERIFY(isGoneFor(id));
        for (const quint32 credentials : {id, 0U}) {
            mAccounts->ensureTokenAvailable(credentials);
            QCOMPARE(nextLine(), ensured.arg(806));
        }
    }

private:
    // The plugin answers so late that both set-ups are there before.
    void letThePluginTakeItsTime(const SetUp& setUp)
    {
        mSandbox.script({{text(setUp.mechanism), PluginStep::Answer, userData(), 0, 300}});
    }

    void expectOneAccount(const SetUp& setUp, const QStringList& others)
    {
        QCOMPARE(identities().size(), 1);
        const quint32 id = identities().at(0);
        QCOMPARE(deviceAccounts(), QList<QVariantList>({{"the-user-id"_s, QString::number(id)}}));
        QStringList both = lines() + others;
        both.sort();
        QCOMPARE(both, QStringList({success(setUp, id), failure(setUp, 803)}));
    }

    static QString lockFile()
    {
        return qEnvironmentVariable("ACCOUNTS") + QLatin1String("/accounts.db.kelaccount");
    }

    static bool makeOld(const QString& file)
    {
        QFile opened(file);
        return opened.open(QIODevice::ReadWrite) &&
               opened.setFileTime(QDateTime::currentDateTime().addDays(-1),
                                  QFileDevice::FileModificationTime);
    }

    /// In another process, as the device's settings do.
    bool removeIdentity(quint32 credentials)
    {
        QProcess other;
        other.start(QCoreApplication::applicationFilePath(),
                    {"remove"_s, QString::number(credentials)});
        return waitUntil([&] { return other.state() == QProcess::NotRunning; }) &&
               other.readAllStandardOutput() == "removed\n" && !identities().contains(credentials);
    }

    /// The daemon tells this program in a message of its own, which may come after the other's.
    bool isGoneFor(quint32 credentials)
    {
        return waitUntil([this, credentials] {
            mAccounts->ensureTokenAvailable(credentials);
            return nextLine() == ensured.arg(806);
        });
    }

    QString nextLine()
    {
        const int before = lines().size();
        return answersOnce(before + 1) ? lines().last() : "not one answer"_s;
    }
};

namespace {

/// Another process of the same session: begins a set-up when it is told to, holds the lock, or
/// removes credentials.
int runBeside(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QString task = QCoreApplication::arguments().at(1);
    const auto say = [](const QString& line) {
        const QByteArray bytes = line.toUtf8() + '\n';
        std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
        std::fflush(stdout);
    };
    if (task == QLatin1String("lock")) {
        AccountsLock lock;
        say(lock.tryTake() == AccountsLock::Taken ? "locked"_s : "not locked"_s);
        return QCoreApplication::exec();
    }
    if (task == QLatin1String("remove")) {
        KelAccount::KelConfigure store;
        store.removeIdentity(QCoreApplication::arguments().at(2).toUInt(), [say] {
            say("removed"_s);
            QCoreApplication::exit();
        });
        return QCoreApplication::exec();
    }
    const auto all = facadecalls::setUps();
    const auto& setUp = all.at(QCoreApplication::arguments().at(2) == text(all[0].name) ? 0 : 1);
    KelAccount::KelAccounts accounts;
    accounts.initialize("the-consumer-key"_s, "the-consumer-secret"_s, 2, "the-service"_s, {});
    FacadeRecorder recorder(&accounts);
    say("begins"_s);
    std::getchar();
    setUp.start(accounts, true);
    recorder.waitFor(1, 20000);
    say(recorder.lines().join(QLatin1String("; ")));
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    for (const char* task : {"set-up", "lock", "remove"}) {
        if (argc > 1 && std::strcmp(argv[1], task) == 0)
            return runBeside(argc, argv);
    }
    return runInSession<TestSetUpsTogether>(argc, argv);
}

#include "tst_setupstogether.moc"
