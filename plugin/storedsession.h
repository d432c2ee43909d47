// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "mark.h"

#include <QDateTime>
#include <QString>
#include <QVariantMap>

namespace ZorAuth {

/// What a session is bound to: the address of the server is the one that gave the token.
/// Whoever gets it wipes it.
QByteArray consumerIdentity(const QString& key, const QString& secret, const QString& server);

/// What the plugin knows of the user of one consumer: the token and whose it is.
///
/// It belongs to the consumer that made it, which knows the secret besides the key, and to the
/// server that gave the token.
class StoredSession
{
public:
    QString token;        ///< a secret; empty when there is none
    QString tokenSecret;  ///< a secret that no request needs
    QDateTime validUntil; ///< on the device's clock, UTC; invalid when the service did not say
    QString userId;       ///< the user name; empty while the user has none
    QString loginId;      ///< what the user signed in with
    QString accountId;
    QString emailAddress;

    bool hasExpired() const;

    /// As much as can be read; without a token unless both it and its account can. `consumer` is
    /// what it has to be bound to: empty when it is bound to nothing or to something else.
    static StoredSession fromMap(const QVariantMap& map, const QByteArray& consumer);
    QVariantMap toMap() const; ///< empty when nothing is known

    /// There is one, and it is bound to something else.
    bool isOfOther() const { return mIsOfOther; }
    /// From now on it is this consumer's.
    void bindTo(const QByteArray& consumer);
    /// No longer signed in.
    void forgetToken();
    /// Takes the secrets with it.
    void wipe();

private:
    Mark mConsumer;
    bool mIsOfOther = false;
};

} // namespace ZorAuth
