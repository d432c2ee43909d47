// SPDX-License-Identifier: LGPL-2.1-or-later
// Pieces that several replies have.
#pragma once

#include "emulator/service/accounts.h"
#include "emulator/service/contacts.h"
#include "emulator/service/reply.h"
#include "emulator/service/tokens.h"

#include <optional>

namespace KelEmulator {

Reply success(const char* root, std::string_view content);
/// Of an operation that has nothing to say.
Reply successWithoutDocument();

/// The element, or nothing for an empty text.
std::string elementIfAny(const char* name, const std::string& text);
std::string booleanElement(const char* name, bool value);
/// Markup inside an element.
std::string enclosed(const char* name, std::string_view content);

std::string tokenInfo(const Token& token);
std::string userInfo(const Account& account);
std::string termsFlags(const Account& account);
/// What a profile says; the name of the element differs by operation.
std::string profileElement(const char* name, const Account& account);

/// A failure with the finer code that clients look at after the coarse one.
Reply detailedError(int status, const char* code, const char* detail, std::string_view text);
/// A failure of one operation's own: `area` is "registrationError" or another of its kind, `cause`
/// the element in it.
Reply operationError(int status, const char* area, const char* cause, std::string_view text);
/// The same with markup of its own inside.
Reply operationErrorWith(int status, const char* area, std::string_view content,
                         std::string_view text);

Reply noSuchUser();
Reply accountLocked();

Reply contactsReply(const Account& account, const std::vector<Contact>& contacts);

/// Terms are asked for by the account's number or by the name of a service, whose terms are the
/// account's all the same. Refuses another account's number.
std::optional<Reply> refuseTermsOfOthers(const std::string& identifier, const Account& account);

} // namespace KelEmulator
