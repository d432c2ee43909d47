// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/unfinishedwork.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <optional>

namespace SignOn {
class Error;
class Identity;
} // namespace SignOn

namespace KelAccount {

/// One thing that the sign-on daemon is to do with an identity of its store. It belongs to nobody
/// and deletes itself when it is over: credentials that are to go have to go, whoever is still
/// there to see it. It does not outlive its thread.
///
/// A daemon that ends meanwhile is started again and asked again, and so is one that fails, while
/// the patience lasts.
class IdentityTask : public QObject
{
    Q_OBJECT

public:
    enum Kind {
        Look,   ///< whether it is there
        Forget, ///< what plugins have stored with it
        Remove, ///< all of it
    };
    enum Outcome {
        Done,
        None, ///< the daemon has no such identity
        Failed,
    };

    /// @param patienceMs  how long to let others wait for `ended()`; a removal itself goes on
    IdentityTask(Kind kind, unsigned int credentialsId, int patienceMs);
    ~IdentityTask() override;

    void start();

Q_SIGNALS:
    /// Also with Failed when the patience is at its end. Once, and from the event loop.
    void ended(KelAccount::IdentityTask::Outcome outcome);

private:
    void attempt();
    void ask();
    void connectIdentity();
    void tryAgain();
    void processError(const SignOn::Error& error);
    void dropIdentity();
    void endPatience();
    void finish(Outcome outcome);

    Kind mKind;
    std::optional<UnfinishedWork> mUnfinished; // of a removal
    unsigned int mCredentialsId;
    QPointer<SignOn::Identity> mIdentity; // of the attempt under way
    int mFailedStarts = 0;
    int mLastError = 0; // of those that have been logged
    QTimer mPatience;
    QTimer mRetry;
};

} // namespace KelAccount
