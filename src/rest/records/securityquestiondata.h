// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/recordobject.h"

#include <QString>

namespace KelRestHandler {

struct SecurityQuestionFields
{
    QString username;
    QString passwordQuestionId;
    QString passwordQuestionText;
};

/// The question that a user has to answer to get a new password.
class SecurityQuestionData : public RecordObject<SecurityQuestionFields>
{
    Q_OBJECT

public:
    using RecordObject::RecordObject;
    SecurityQuestionData(const SecurityQuestionData& other, QObject* parent)
        : RecordObject(other, parent)
    {
    }
};

struct SetSecurityQuestionFields
{
    QString question;
    QString answer; ///< a secret
};

/// A user's new security question and answer.
class SetSecurityQuestionInput : public RecordObject<SetSecurityQuestionFields>
{
    Q_OBJECT

public:
    using RecordObject::RecordObject;
    SetSecurityQuestionInput(const SetSecurityQuestionInput& other, QObject* parent)
        : RecordObject(other, parent)
    {
    }
};

} // namespace KelRestHandler
