// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace KelRestHandler {

/// The `oauth_signature` of a base string: HMAC-SHA1 under the consumer secret alone (RFC 5849
/// section 3.4.2 with an empty token secret). A token takes part through the base string.
QString consumerSignature(QString const& baseString, QString const& consumerSecret);

} // namespace KelRestHandler
