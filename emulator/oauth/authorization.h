// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace KelEmulator {

/// The items of an "Authorization" header, percent-decoded.
struct Authorization
{
    std::string realm;
    std::string consumerKey;
    std::string nonce;
    std::string timeStamp;
    std::string signature; ///< base64 as sent
    std::string signatureMethod;
    std::string version;
    std::optional<std::string> token; ///< only with operations that an access token signs
};

/// Reads the header as clients of this service write it: two quotes after the realm, the signature
/// as plain base64, no quote after the token. Returns false, and what is wrong in `problem`.
bool readAuthorization(std::string_view header, Authorization& authorization, std::string& problem);

} // namespace KelEmulator
