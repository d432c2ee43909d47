// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/accountsuisetupcontext.h"

namespace AccountsUI {

AbstractAccountSetupContext::AbstractAccountSetupContext(Accounts::Account* account,
                                                         SetupType setupType, QObject* parent)
    : QObject(parent), mAccount(account), mSetupType(setupType)
{
}

AbstractAccountSetupContext::~AbstractAccountSetupContext() = default;

} // namespace AccountsUI
