// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/oauth/signature.h"

#include <string>

namespace KelEmulator {

/// Says in one line why a signature does not fit: tries what clients get wrong, one thing and then
/// two at a time, until the signature fits. When nothing explains it, the line holds the base
/// string that was expected, with document and token replaced by their lengths.
std::string explainMismatch(const SignedRequest& request, const std::string& consumerSecret);

} // namespace KelEmulator
