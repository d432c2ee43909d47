// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QtGlobal>

#include <memory>

class QLockFile;

namespace KelAccount {

/// Who has it is the only one, of all objects in all processes of the user's, that looks for an
/// account of the service and makes one. A file beside the accounts database; one that a process
/// left when it died does not count.
class AccountsLock
{
public:
    enum Outcome {
        Taken,
        Busy,
        Impossible ///< the file cannot be made
    };

    AccountsLock();
    ~AccountsLock();
    Q_DISABLE_COPY(AccountsLock)

    /// Never waits. Taken also when this object has it already.
    Outcome tryTake();
    void release();

private:
    std::unique_ptr<QLockFile> mFile;
};

} // namespace KelAccount
