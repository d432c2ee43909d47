// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/registrationinfodata.h"

#include <kelaccount/registrationinfo.h>

namespace KelAccount {

/// What a filled-in registration sends. `lastCaptchaId` stands in for a captcha identifier that the
/// application did not give. Gender stays behind: a registration never sends it.
KelRestHandler::RegistrationInfoData toRegistrationInfoData(const RegistrationInfo& info,
                                                            const QString& lastCaptchaId,
                                                            const QByteArray& serviceTag);

/// The name to sign in with: the e-mail address, or else the user name.
QString signInName(const RegistrationInfo& info);

/// Whether a registration can be made of it. A user name alone does not reach anybody: it needs a
/// mobile number beside it.
bool isComplete(const RegistrationInfo& info);

} // namespace KelAccount
