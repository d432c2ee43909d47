// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QVariant>

namespace ZorAuth {

/// Whether the daemon says of a client that it is one of those that this build serves. `tokens` is
/// what it found the client to have of the identity's access control list.
///
/// Without an access-control extension the daemon finds every client to have all of it.
bool isTrustedClient(const QVariant& tokens);

} // namespace ZorAuth
