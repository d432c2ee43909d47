// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "platform/accountsuisetupcontext.h"

#include <QString>

namespace Accounts {
class Service;
}

namespace KelAccount {

/// Fills in a device account that was just created, and has it stored.
///
/// All of it happens in the constructor. The account tells when it is stored: `synced()` or
/// `error()`.
class KelConfigureAccount : public AccountsUI::AbstractAccountSetupContext
{
    Q_OBJECT

public:
    KelConfigureAccount(Accounts::Account* account, AccountsUI::SetupType setupType,
                        const QString& displayName, unsigned int credentialsId, QObject* parent);

    /// Whether a service of the account is to be enabled: each but the account service's own
    /// synchronisation.
    bool enableService(const Accounts::Service* service) const;

    // There is no user interface to drive these.
    QGraphicsItem* widget(QGraphicsItem* parent) override;
    void store() override {}
    void validate() override {}
    void abort() override {}

private:
    void chooseServices();
    void writeSettings(unsigned int credentialsId);
};

} // namespace KelAccount
