// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

#include <functional>
#include <optional>

class QObject;

namespace KelAccount {

struct DeviceAccount
{
    quint32 id = 0; ///< in the accounts database; 0 for no account
    quint32 credentialsId = 0;
};

/// The device's accounts of the service. The accounts framework brings GLib, SQLite and libxml2
/// into a process, so it stands in a module that is loaded when an account is first asked for.
class DeviceAccounts
{
public:
    virtual ~DeviceAccounts() = default;

    /// Whether there is one, enabled or not; nothing when the database cannot be opened.
    virtual std::optional<bool> hasAccount() = 0;

    /// The credentials of the first enabled one, 0 without one; nothing when the database cannot be
    /// opened.
    virtual std::optional<unsigned int> activeCredentialsId() = 0;

    /// The first one, enabled or not; nothing when the database cannot be opened.
    virtual std::optional<DeviceAccount> firstAccount() = 0;

    /// Creates one and has it stored. 0 when the framework has it, -1 on failure. What storing
    /// takes belongs to `owner`.
    ///
    /// After 0 `stored` is called, from the event loop, with whether it is in the database; a
    /// database that another program has locked is waited for, but not longer than `timeoutMs`.
    virtual int createAccount(const QString& name, unsigned int credentialsId, QObject* owner,
                              int timeoutMs, const std::function<void(bool)>& stored) = 0;

    /// Removes the first one with the credentials, 0 for one without any. Then `removed` is called,
    /// at once when there is none, with whether it is out of the database; the rest is as above.
    virtual void removeAccount(unsigned int credentialsId, QObject* owner, int timeoutMs,
                               const std::function<void(bool)>& removed) = 0;
};

DeviceAccounts& deviceAccounts();

} // namespace KelAccount
