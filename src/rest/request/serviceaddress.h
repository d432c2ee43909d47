// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace KelRestHandler {

/// Base address of the server that an application chose by index: "https://" + host + "/rest/1.0/".
///
/// 0 and 1 are test servers A and B, 2 is the production server, 3 the staging server, 4 and 5 are
/// test servers C and D. Every other index, negative ones included, is the production server.
/// The hosts are build settings (KELACCOUNT_HOST_*).
QString serverBaseAddress(int serverIndex);

/// XML namespace on the root element of every request body.
extern const char RestSchemaNamespace[];

/// First piece of every "Authorization" header: the realm with both its quotes.
extern const char OAuthRealm[];

} // namespace KelRestHandler
