// SPDX-License-Identifier: LGPL-2.1-or-later
// The documents that the service takes.
#pragma once

#include "emulator/service/layout.h"

namespace KelEmulator::Layouts {

extern const Layout tokenCreation;
extern const Layout captchaCreation;
extern const Layout registration;
extern const Layout phoneActivation;
extern const Layout autoDetection;
extern const Layout recoveryMessage;
extern const Layout emailAvailability;
extern const Layout consentVariant;
extern const Layout passwordReset;
extern const Layout passwordChange;
extern const Layout marketingConsent;
extern const Layout contactsUpdate;
extern const Layout termsUpdate;
extern const Layout profileUpdate;
extern const Layout securityQuestionUpdate;
extern const Layout userNameUpdate;
extern const Layout devicesUpdate;

} // namespace KelEmulator::Layouts
