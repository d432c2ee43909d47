// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"
#include "emulator/service/values.h"

#include <openssl/crypto.h>

namespace KelEmulator {

namespace {

bool isSame(const std::string& one, const std::string& other)
{
    return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

} // namespace

Reply tokenCreation(const Call& call)
{
    const XmlElement& digestAuth = call.document.children.front();
    const auto account =
        call.tables.accounts.findUser(withAsciiDomain(digestAuth.textOf("username")));
    const Reply refusal =
        errorReply(401, "notAuthorized", "There is no such user, or the password is another one");
    if (!account)
        return refusal;
    if (account->isLocked())
        return accountLocked();

    const std::string digest = base64Encoded(
        sha1(digestAuth.textOf("nonce") + digestAuth.textOf("created") + account->password));
    Account changed = *account;
    if (!isSame(digest, digestAuth.textOf("digest"))) {
        ++changed.failures;
        call.tables.accounts.save(changed);
        return refusal;
    }
    changed.failures = 0;
    call.tables.accounts.save(changed);
    const Token token = call.tables.tokens.create(changed.key, call.now);
    return success("tokenCreationResponse", tokenInfo(token) + userInfo(changed) +
                                                enclosed("termsInfo", termsFlags(changed)));
}

} // namespace KelEmulator
