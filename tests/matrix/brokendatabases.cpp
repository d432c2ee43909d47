// SPDX-License-Identifier: LGPL-2.1-or-later
// Files, the databases among them, and what others do to those meanwhile.
#include "matrix/breakages.h"
#include "matrix/sessionprocesses.h"
#include "matrix/state.h"
#include "support/allaccounts.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"
#include "support/sqlitechange.h"

#include <Accounts/Account>
#include <Accounts/Manager>

#include <QDir>
#include <QFile>
#include <QMap>

#include <functional>
#include <sys/mount.h>
#include <thread>

using namespace KelTest;

namespace Matrix {

namespace {

/// In the place of a file.
const QByteArray folderThere = QByteArrayLiteral("\0a folder");

/// A file that is away, or has something else in it.
class Replaced : public Breakage
{
public:
    /// Null: nothing is in its place.
    Replaced(QString file, QByteArray contents, std::function<int()> counter)
        : mFile(std::move(file)), mContents(std::move(contents)), mCounter(std::move(counter))
    {
    }
    bool begin() override
    {
        endMadeDaemon();
        mIsThere = QFile::exists(mFile);
        if (mIsThere && !QFile::rename(mFile, mFile + ".away"_s))
            return false;
        mBefore = mCounter();
        if (mContents == folderThere)
            return QDir().mkdir(mFile);
        QFile file(mFile);
        return mContents.isNull() ||
               (file.open(QIODevice::WriteOnly) && file.write(mContents) == mContents.size());
    }
    bool end() override
    {
        endDaemon();
        if (mContents == folderThere)
            QDir().rmdir(mFile);
        else
            QFile::remove(mFile);
        QFile::remove(mFile + "-journal"_s);
        const bool isBack = !mIsThere || QFile::rename(mFile + ".away"_s, mFile);
        DaemonControl::letThisProgramHear();
        return isBack;
    }
    int met() const override { return mCounter() - mBefore; }

private:
    const QString mFile;
    const QByteArray mContents;
    const std::function<int()> mCounter;
    bool mIsThere = false;
    int mBefore = 0;
};

class Locked : public Breakage
{
public:
    Locked(QString file, std::function<int()> counter)
        : mFile(std::move(file)), mCounter(std::move(counter))
    {
    }
    bool begin() override
    {
        // Nobody has made what nobody has used.
        DaemonControl::start();
        const Accounts::Manager maker;
        mBefore = mCounter();
        mLock = std::make_unique<SqliteLock>(mFile);
        // For longer than anybody would think of, but not than anybody would wait.
        mRelease = std::thread([this] {
            std::this_thread::sleep_for(std::chrono::milliseconds(stillMs));
            mLock.reset();
        });
        return true;
    }
    bool end() override
    {
        mRelease.join();
        return true;
    }
    int met() const override { return mCounter() - mBefore; }

private:
    const QString mFile;
    const std::function<int()> mCounter;
    std::unique_ptr<SqliteLock> mLock;
    std::thread mRelease;
    int mBefore = 0;
};

/// A folder that cannot be written to, or on a disk without room.
class OtherDisk : public Breakage
{
public:
    OtherDisk(QString folder, bool isFull, std::function<int()> counter)
        : mFolder(std::move(folder)), mIsFull(isFull), mCounter(std::move(counter))
    {
    }
    bool begin() override
    {
        // Who has a file open would go on writing to it.
        endMadeDaemon();
        const QByteArray folder = QFile::encodeName(mFolder);
        mBefore = mCounter();
        if (!mIsFull)
            return ::mount(folder, folder, nullptr, MS_BIND, nullptr) == 0 &&
                   ::mount(nullptr, folder, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) ==
                       0;
        QMap<QString, QByteArray> contents;
        const QStringList names = QDir(mFolder).entryList(QDir::Files);
        for (const QString& name : names) {
            QFile file(mFolder + QLatin1Char('/') + name);
            if (!file.open(QIODevice::ReadOnly))
                return false;
            contents.insert(name, file.readAll());
        }
        if (::mount("small", folder, "tmpfs", 0, "size=1m,mode=0700") != 0)
            return false;
        for (auto it = contents.cbegin(); it != contents.cend(); ++it) {
            QFile file(mFolder + QLatin1Char('/') + it.key());
            if (!file.open(QIODevice::WriteOnly) || file.write(*it) != it->size())
                return false;
        }
        QFile filler(mFolder + "/filler"_s);
        if (!filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            return false;
        while (filler.write(QByteArray(4096, 'x')) > 0) {
        }
        return true;
    }
    bool end() override
    {
        endDaemon();
        const bool isBack = ::umount2(QFile::encodeName(mFolder), MNT_DETACH) == 0;
        DaemonControl::letThisProgramHear();
        return isBack;
    }
    int met() const override { return mCounter() - mBefore; }

private:
    const QString mFolder;
    const bool mIsFull;
    const std::function<int()> mCounter;
    int mBefore = 0;
};

int accountsOpened()
{
    return sharedState()->accountsOpened;
}

/// The device's settings take the account away while the service is asked.
class RemovedMeanwhile : public Breakage
{
public:
    bool begin() override { return true; }
    void onAsked() override
    {
        if (mMet > 0)
            return;
        ++mMet;
        KelTest::removeAllAccounts();
    }
    int met() const override { return mMet; }

private:
    int mMet = 0;
};

/// Another application sets an account up while the service is asked.
class MadeMeanwhile : public Breakage
{
public:
    bool begin() override { return true; }
    void onAsked() override
    {
        if (mMet > 0)
            return;
        ++mMet;
        Accounts::Manager manager;
        const std::unique_ptr<Accounts::Account> account(manager.createAccount("zor"_s));
        account->setEnabled(true);
        account->syncAndBlock();
        mId = account->id();
    }
    bool end() override
    {
        if (mId == 0)
            return true;
        Accounts::Manager manager;
        Accounts::Account* const account = manager.account(mId);
        if (!account)
            return true;
        account->remove();
        return account->syncAndBlock();
    }
    int met() const override { return mMet; }

private:
    int mMet = 0;
    Accounts::AccountId mId = 0;
};

} // namespace

std::unique_ptr<Breakage> replacedFile(const QString& file, const QByteArray& contents,
                                       const std::function<int()>& counter)
{
    return std::make_unique<Replaced>(file, contents, counter);
}

std::unique_ptr<Breakage> brokenDatabase(const std::string& name)
{
    const QString accounts = variable("ACCOUNTS");
    const QString secrets = variable("SSO_STORAGE_PATH");
    const QByteArray nonsense(8192, 'x');
    if (name == "accounts-absent")
        return std::make_unique<Replaced>(accounts + "/accounts.db"_s, QByteArray(),
                                          accountsOpened);
    if (name == "accounts-unreadable")
        return std::make_unique<Replaced>(accounts + "/accounts.db"_s, folderThere, accountsOpened);
    if (name == "accounts-nonsense")
        return std::make_unique<Replaced>(accounts + "/accounts.db"_s, nonsense, accountsOpened);
    if (name == "accounts-locked")
        return std::make_unique<Locked>(accounts + "/accounts.db"_s, accountsOpened);
    if (name == "accounts-read-only")
        return std::make_unique<OtherDisk>(accounts, false, accountsOpened);
    if (name == "accounts-full")
        return std::make_unique<OtherDisk>(accounts, true, accountsOpened);
    if (name == "identities-nonsense")
        return std::make_unique<Replaced>(secrets + "/signon.db"_s, nonsense, talks);
    if (name == "secrets-nonsense")
        return std::make_unique<Replaced>(secrets + "/signon-secrets.db"_s, nonsense, talks);
    if (name == "identities-locked")
        return std::make_unique<Locked>(secrets + "/signon.db"_s, talks);
    if (name == "secrets-locked")
        return std::make_unique<Locked>(secrets + "/signon-secrets.db"_s, talks);
    if (name == "secrets-read-only")
        return std::make_unique<OtherDisk>(secrets, false, talks);
    if (name == "secrets-full")
        return std::make_unique<OtherDisk>(secrets, true, talks);
    if (name == "removed-meanwhile")
        return std::make_unique<RemovedMeanwhile>();
    if (name == "made-meanwhile")
        return std::make_unique<MadeMeanwhile>();
    return nullptr;
}

} // namespace Matrix
