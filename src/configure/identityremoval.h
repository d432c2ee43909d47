// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QTimer>

namespace SignOn {
class Error;
}

namespace KelAccount {

/// Takes an identity out of the sign-on daemon's store. It belongs to nobody and deletes itself
/// when it is over: credentials that are to go have to go, whoever is still there to see it.
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
    void removeFromStore(bool daemonRuns);
    void logFailure(const SignOn::Error& error);
    void endPatience();
    void finish();

    unsigned int mCredentialsId;
    QTimer mPatience;
};

} // namespace KelAccount
