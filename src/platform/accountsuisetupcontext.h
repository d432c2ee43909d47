// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>

class QGraphicsItem;

namespace Accounts {
class Account;
}

namespace AccountsUI {

enum SetupType {
    CreateNew = 0, ///< the account is being made
    EditExisting = 1,
};

/// Stands in for the account-plugin framework's set-up context: one account while it is set up, and
/// the steps through which the framework's user interface would take it.
class AbstractAccountSetupContext : public QObject
{
    Q_OBJECT

public:
    AbstractAccountSetupContext(Accounts::Account* account, SetupType setupType,
                                QObject* parent = nullptr);
    ~AbstractAccountSetupContext() override;

    Accounts::Account* account() const { return mAccount; }
    SetupType setupType() const { return mSetupType; }

    virtual QGraphicsItem* widget(QGraphicsItem* parent) = 0; ///< the settings page, or null
    virtual void store() = 0;
    virtual void validate() = 0;
    virtual void abort() = 0;

Q_SIGNALS:
    /// The account holds all its settings; writing it to the database is what remains.
    void stored();

private:
    Accounts::Account* mAccount; // whoever made it owns it
    SetupType mSetupType;
};

} // namespace AccountsUI
