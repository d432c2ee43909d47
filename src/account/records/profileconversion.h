// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/profileinfodata.h"

namespace KelAccount {

class ProfileInfo;

/// What applications see of a profile that the service sent.
void fillProfile(ProfileInfo* profile, const KelRestHandler::ProfileInfoData& data);

} // namespace KelAccount
