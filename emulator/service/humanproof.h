// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/operation.h"

namespace KelEmulator {

/// Whether a request comes from a person or from a device that the service trusts.
enum class HumanProof { Good, None, WrongCaptcha, WrongServiceTag };

/// Looks at the captcha or the service tag of a document. A captcha is used up by that.
HumanProof humanProof(const Call& call);

/// A service tag is the base64 text of the bytes that the device's tag server issues. Any bytes are
/// taken for issued but those that begin with "revoked".
bool isServiceTag(const std::string& text);

} // namespace KelEmulator
