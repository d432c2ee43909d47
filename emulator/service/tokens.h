// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/database.h"

#include <cstdint>
#include <optional>
#include <string>

namespace KelEmulator {

/// An access token.
struct Token
{
    std::string token;
    std::string secret;
    std::int64_t account = 0;
    std::int64_t created = 0;
    std::int64_t expires = 0;

    std::int64_t secondsToLive() const { return expires - created; }
};

/// The access tokens given out.
class Tokens
{
public:
    static constexpr std::int64_t secondsToLive = std::int64_t{24} * 60 * 60;

    explicit Tokens(Database& database);

    Token create(std::int64_t account, std::int64_t now);
    /// Nothing for a token that is unknown or has expired.
    std::optional<Token> find(const std::string& token, std::int64_t now);
    void remove(const std::string& token);
    /// Lets every token expire.
    void expireAll(std::int64_t now);

private:
    Statement mInsert;
    Statement mFind;
    Statement mRemove;
    Statement mExpire;
};

} // namespace KelEmulator
