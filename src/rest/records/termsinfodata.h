// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/recordobject.h"

namespace KelRestHandler {

struct TermsInfoFields
{
    bool hasAcceptedTos = false;
    bool hasAcceptedPrivacyPolicy = false;
    bool hasAcceptedServiceSpecificTos = false;
    bool present = false; ///< whether the reply said anything about terms
};

/// Which texts a user has accepted, as the service reports it.
class TermsInfoData : public RecordObject<TermsInfoFields>
{
    Q_OBJECT

public:
    using RecordObject::RecordObject;
    TermsInfoData(const TermsInfoData& other, QObject* parent) : RecordObject(other, parent) {}
};

} // namespace KelRestHandler
