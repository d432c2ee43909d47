// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/recovery.h"

#include "emulator/service/values.h"

namespace KelEmulator {

Recovery::Recovery(Database& database)
    : mInsert(database.prepare(
          "INSERT INTO recovery_tokens (token, account, expires) VALUES (?1, ?2, ?3)")),
      mIsValid(database.prepare("SELECT 1 FROM recovery_tokens"
                                " WHERE token = ?1 AND account = ?2 AND expires > ?3")),
      mRemove(database.prepare("DELETE FROM recovery_tokens WHERE token = ?1")),
      mDeliver(database.prepare("INSERT INTO inbox (user, recipient, text, token, sent)"
                                " VALUES (?1, ?2, ?3, ?4, ?5)")),
      mInbox(database.prepare("SELECT user, recipient, text, token, sent FROM inbox"
                              " WHERE ?1 = '' OR user = ?1 COLLATE NOCASE OR recipient = ?1"
                              " ORDER BY number LIMIT 1000"))
{
}

std::string Recovery::createToken(std::int64_t account, std::int64_t now)
{
    constexpr size_t bytes = 8;
    std::string token = randomHex(bytes);
    Query(mInsert).bind(1, token).bind(2, account).bind(3, now + secondsToLive).run();
    return token;
}

bool Recovery::isValid(const std::string& token, std::int64_t account, std::int64_t now)
{
    return Query(mIsValid).bind(1, token).bind(2, account).bind(3, now).next();
}

void Recovery::remove(const std::string& token)
{
    Query(mRemove).bind(1, token).run();
}

void Recovery::deliver(const Message& message)
{
    Query(mDeliver)
        .bind(1, message.user)
        .bind(2, message.recipient)
        .bind(3, message.text)
        .bind(4, message.token)
        .bind(5, message.sent)
        .run();
}

std::vector<Message> Recovery::inbox(const std::string& receiver)
{
    std::vector<Message> messages;
    Query query(mInbox);
    query.bind(1, receiver);
    while (query.next()) {
        messages.push_back(
            {query.text(0), query.text(1), query.text(2), query.text(3), query.number(4)});
    }
    return messages;
}

} // namespace KelEmulator
