// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDateTime>
#include <QString>
#include <QVariantMap>

namespace ZorAuth {

/// What the plugin knows of one user of one application on one server: the token and whose it is.
///
/// The daemon keeps it with the identity and hands it in with every request, so the plugin process
/// may end between any two requests.
struct StoredSession
{
    QString token;        ///< a secret; empty when there is none
    QString tokenSecret;  ///< a secret that no request needs
    QDateTime validUntil; ///< on the device's clock, UTC; invalid when the service did not say
    QString userId;       ///< the user name; empty while the user has none
    QString loginId;      ///< what the user signed in with
    QString accountId;
    QString emailAddress;
    QString zorService;

    bool hasExpired() const;
    QVariantMap toMap() const; ///< empty when nothing is known
    /// As much as can be read; without a token unless both it and its account can.
    static StoredSession fromMap(const QVariantMap& map);

    /// Under which name the daemon keeps it: tokens belong to one application and one server, while
    /// the daemon knows only the identity and the method.
    static QString key(int server, const QString& consumerKey);
};

/// The password after a change. The daemon lets no plugin change an identity's secret, so the
/// plugin keeps the new one beside it, with the one that it takes the place of: an identity that is
/// given another secret later is believed.
struct ChangedPassword
{
    QString oldSecret; ///< as the identity still has it
    QString newSecret;

    static QString key();
    QVariantMap toMap() const; ///< empty when there was no change
    /// Both, or neither.
    static ChangedPassword fromMap(const QVariantMap& map);
    /// The password that is good now, for an identity with this secret.
    QString secretFor(const QString& identitySecret) const;
};

/// All that the daemon is to keep, when `own` changed: it replaces everything at once. `data` is
/// what came with the request, with what other applications have stored among it; of that as much
/// as the daemon carries well.
QVariantMap everythingToStore(const QVariantMap& own, const QVariantMap& data);

} // namespace ZorAuth
