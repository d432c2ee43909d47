// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/accountslock.h"

#include "common/logging.h"

#include <QFile>
#include <QLockFile>
#include <QStandardPaths>

namespace KelAccount {

namespace {

constexpr int staleMs = 10000;

// Where the accounts framework has its database.
QString accountsFolder()
{
    const QString chosen = QFile::decodeName(qgetenv("ACCOUNTS"));
    return chosen.isEmpty()
               ? QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                     QLatin1String("/libaccounts-glib")
               : chosen;
}

} // namespace

AccountsLock::AccountsLock() = default;
AccountsLock::~AccountsLock() = default;

AccountsLock::Outcome AccountsLock::tryTake()
{
    if (mFile && mFile->isLocked())
        return Taken;
    mFile =
        std::make_unique<QLockFile>(accountsFolder() + QLatin1String("/accounts.db.kelaccount"));
    // A file of that age counts for nothing unless somebody holds it open: the process that it
    // names may be of the time before the device was started anew, and its number be another's now.
    mFile->setStaleLockTime(staleMs);
    if (mFile->tryLock(0))
        return Taken;
    if (mFile->error() == QLockFile::LockFailedError)
        return Busy;
    qCWarning(logConfigure, "The accounts cannot be locked: error %d", int(mFile->error()));
    return Impossible;
}

void AccountsLock::release()
{
    mFile.reset();
}

} // namespace KelAccount
