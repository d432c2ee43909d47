// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QSet>
#include <QString>

#include <functional>
#include <optional>

namespace KelAccount {

/// The owner of the identities that this library stores.
extern const QLatin1String ownerToken;

using IdentityNumbers = std::optional<QSet<quint32>>;

/// Asks the sign-on daemon, which has to run, for the identities that this library stored for a
/// user. `next` gets nothing when the daemon does not say, or not in time. Never before this has
/// returned, and not at all once `context` is gone.
void findOwnIdentities(QObject* context, const QString& userName, int timeoutMs,
                       const std::function<void(const IdentityNumbers&)>& next);

} // namespace KelAccount
