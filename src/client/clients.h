// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace KelAccount {

class ClientPrivate;

/// The clients of the process, which end with its QCoreApplication.
namespace Clients {

void add(ClientPrivate* client);
void remove(ClientPrivate* client);

} // namespace Clients

} // namespace KelAccount
