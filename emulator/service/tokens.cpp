// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/tokens.h"

#include "emulator/service/values.h"

namespace KelEmulator {

Tokens::Tokens(Database& database)
    : mInsert(database.prepare("INSERT INTO tokens (token, secret, account, created, expires)"
                               " VALUES (?1, ?2, ?3, ?4, ?5)")),
      mFind(database.prepare("SELECT token, secret, account, created, expires FROM tokens"
                             " WHERE token = ?1 AND expires > ?2")),
      mRemove(database.prepare("DELETE FROM tokens WHERE token = ?1")),
      mExpire(database.prepare("UPDATE tokens SET expires = ?1 WHERE expires > ?1"))
{
}

Token Tokens::create(std::int64_t account, std::int64_t now)
{
    constexpr size_t bytes = 20;
    Token token{randomHex(bytes), randomHex(bytes), account, now, now + secondsToLive};
    Query(mInsert)
        .bind(1, token.token)
        .bind(2, token.secret)
        .bind(3, token.account)
        .bind(4, token.created)
        .bind(5, token.expires)
        .run();
    return token;
}

std::optional<Token> Tokens::find(const std::string& token, std::int64_t now)
{
    Query query(mFind);
    if (!query.bind(1, token).bind(2, now).next())
        return std::nullopt;
    return Token{query.text(0), query.text(1), query.number(2), query.number(3), query.number(4)};
}

void Tokens::remove(const std::string& token)
{
    Query(mRemove).bind(1, token).run();
}

void Tokens::expireAll(std::int64_t now)
{
    Query(mExpire).bind(1, now).run();
}

} // namespace KelEmulator
