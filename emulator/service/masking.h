// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

namespace KelEmulator {

/// A document as people may see it: the values of elements that hold a password, a token, an answer
/// and the like are replaced. A text that cannot be read as a document is not shown at all, since
/// nobody knows what is secret in it.
std::string masked(const std::string& document);

/// The same for what the service answers, whose values are escaped.
std::string maskedReply(const std::string& document);

} // namespace KelEmulator
