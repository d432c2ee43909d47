// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "mark.h"
#include "storedsession.h"

#include <QVariantMap>

#include <optional>

namespace ZorAuth {

/// All that the plugin has the daemon keep with one identity.
///
/// The daemon hands it in with every request, so the plugin process may end between any two. But it
/// lets a client's own data take the place of what is kept under the same name: each time the name
/// is another one that nobody can foresee, and where there are two of them, one is not ours.
class Kept
{
public:
    /// For requests of this consumer, whose session is bound to `consumer`. None when there are
    /// two.
    static std::optional<Kept> fromData(const QVariantMap& data, const QString& consumerKey,
                                        const QByteArray& consumer);
    /// Under its new name: replaces everything that the daemon keeps.
    QVariantMap toData() const;
    /// Without the name, for comparing.
    QVariantMap toMap() const;

    /// The password that is good now, for an identity with this secret.
    QString passwordFor(const QString& identitySecret) const;
    /// The identity has this secret, and the service took the password that belongs to it.
    void accepted(int atServer, const QString& identitySecret);
    /// Whether that happened.
    bool hasAccepted(const QString& identitySecret) const;
    /// The service has this password now, while the identity still has that secret.
    void changed(const QString& identitySecret, const QString& newPassword);

    /// Takes the secrets with it.
    void wipe();

    std::optional<int> server; ///< where the user signed in
    int wrongPasswords = 0;    ///< told since the last right one
    StoredSession session;     ///< of the consumer

private:
    QString mConsumerKey;
    QVariantMap mSessions; // all consumers', as they were read
    Mark mSecret;          // the identity's
    KelAccount::SecretText
        mNewPassword; // takes that secret's place; empty when there was no change
};

} // namespace ZorAuth
