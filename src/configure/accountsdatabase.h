// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QLatin1String>

#include <memory>

class QObject;

namespace Accounts {
class Manager;
}

namespace KelAccount {

/// The provider of the service's accounts on the device.
constexpr QLatin1String accountProvider("zor");

/// For reading, and so without a connection to the bus. Null when the database cannot be opened:
/// the framework's manager would exist all the same.
std::unique_ptr<Accounts::Manager> openAccounts(QObject* parent);

} // namespace KelAccount
