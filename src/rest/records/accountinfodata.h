// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/recordobject.h"

#include <QString>

namespace KelRestHandler {

struct AccountInfoFields
{
    QString accountId;
    QString mobile;
    QString email;
    bool emailVerified = false;
    bool mobileVerified = false;
};

/// What the service says about an account when it issues a token.
class AccountInfoData : public RecordObject<AccountInfoFields>
{
    Q_OBJECT

public:
    using RecordObject::RecordObject;
    AccountInfoData(const AccountInfoData& other, QObject* parent) : RecordObject(other, parent) {}
};

} // namespace KelRestHandler
