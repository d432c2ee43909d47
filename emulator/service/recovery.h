// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/database.h"

#include <cstdint>
#include <string>
#include <vector>

namespace KelEmulator {

/// A message as its receiver sees it.
struct Message
{
    std::string user;      ///< name of the account, or its identifier
    std::string recipient; ///< e-mail address or mobile number
    std::string text;
    std::string token; ///< which is in the text as well
    std::int64_t sent = 0;
};

/// Tokens to recover an account with, and the inbox in which messages with them land.
class Recovery
{
public:
    static constexpr std::int64_t secondsToLive = std::int64_t{60} * 60;

    explicit Recovery(Database& database);

    std::string createToken(std::int64_t account, std::int64_t now);
    bool isValid(const std::string& token, std::int64_t account, std::int64_t now);
    void remove(const std::string& token);

    void deliver(const Message& message);
    /// Oldest first; with a name or a recipient, only the messages to it.
    std::vector<Message> inbox(const std::string& receiver);

private:
    Statement mInsert;
    Statement mIsValid;
    Statement mRemove;
    Statement mDeliver;
    Statement mInbox;
};

} // namespace KelEmulator
