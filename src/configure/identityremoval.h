// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>

namespace SignOn {
class Error;
class Identity;
} // namespace SignOn

namespace KelAccount {

/// Takes an identity out of the sign-on daemon's store. It belongs to nobody and deletes itself
/// when it is over: credentials that are to go have to go, whoever is still there to see it.
///
/// A daemon that ends meanwhile is started again and asked again, and so is one that fails, while
/// the patience lasts.
class IdentityRemoval : public QObject
{
    Q_OBJECT

public:
    /// @param patienceMs  how long to let others wait for `ended()`; the removal itself goes on
    IdentityRemoval(unsigned int credentialsId, int patienceMs);

    void start();

Q_SIGNALS:
    /// The identity is gone, or could not be removed, which was logged, or is still there when the
    /// patience is at its end. Once, and from the event loop.
    void ended();

private:
    void attempt();
    void removeFromStore();
    void tryAgain();
    void processError(const SignOn::Error& error);
    void dropIdentity();
    void endPatience();
    void finish();

    unsigned int mCredentialsId;
    QPointer<SignOn::Identity> mIdentity; // of the attempt under way
    int mFailedStarts = 0;
    QTimer mPatience;
    QTimer mRetry;
};

} // namespace KelAccount
