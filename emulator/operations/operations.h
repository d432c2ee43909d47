// SPDX-License-Identifier: LGPL-2.1-or-later
// The functions that answer the service's operations, one source file each; 5 has two of them.
#pragma once

#include "emulator/service/operation.h"

namespace KelEmulator {

Reply tokenCreation(const Call& call);
Reply tokenRefresh(const Call& call);
Reply userNameAvailability(const Call& call);
Reply captchaCreation(const Call& call);
Reply registration(const Call& call);
Reply phoneActivation(const Call& call);
Reply securityQuestions(const Call& call);
Reply autoDetection(const Call& call);
Reply serviceQuery(const Call& call);
Reply tokenDeletion(const Call& call);
Reply recoveryMessage(const Call& call);
Reply emailAvailability(const Call& call);
Reply consentVariant(const Call& call);
Reply passwordReset(const Call& call);
Reply userSecurityQuestion(const Call& call);
Reply passwordChange(const Call& call);
Reply marketingConsentQuery(const Call& call);
Reply marketingConsentUpdate(const Call& call);
Reply contactsQuery(const Call& call);
Reply contactsUpdate(const Call& call);
Reply termsQuery(const Call& call);
Reply termsUpdate(const Call& call);
Reply profileQuery(const Call& call);
Reply profileUpdate(const Call& call);
Reply securityQuestionUpdate(const Call& call);
Reply userNameUpdate(const Call& call);
Reply devicesUpdate(const Call& call);

} // namespace KelEmulator
