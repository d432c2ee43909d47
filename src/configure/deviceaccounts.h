// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

#include <optional>

class QObject;

namespace KelAccount {

/// The device's accounts of the service. The accounts framework brings GLib, SQLite and libxml2 into
/// a process, so it stands in a module that is loaded when an account is first asked for.
class DeviceAccounts
{
public:
    virtual ~DeviceAccounts() = default;

    /// Whether there is one, enabled or not; nothing when the database cannot be opened.
    virtual std::optional<bool> hasAccount() = 0;

    /// The credentials of the first enabled one, 0 without one; nothing when the database cannot be
    /// opened.
    virtual std::optional<unsigned int> activeCredentialsId() = 0;

    /// Creates one and has it stored. 0 when the framework has it, -1 on failure. What storing takes
    /// belongs to `owner`.
    virtual int createAccount(const QString& name, unsigned int credentialsId, QObject* owner) = 0;
};

DeviceAccounts& deviceAccounts();

} // namespace KelAccount
