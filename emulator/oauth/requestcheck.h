// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/clock.h"
#include "emulator/common/trace.h"
#include "emulator/common/wirerequest.h"

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <unordered_set>

namespace KelEmulator {

struct Authorization;

/// Nonces seen with a good signature, the newest ones only: memory stays bounded.
class NonceMemory
{
public:
    /// False when this nonce was already used with this time stamp.
    bool remember(const std::string& nonce, const std::string& timeStamp);

private:
    static constexpr size_t capacity = 100000;
    std::mutex mMutex;
    std::unordered_set<std::string> mSeen;
    std::deque<std::string> mOldestFirst;
};

/// Decides whether a request is signed as the service wants it.
class RequestCheck
{
public:
    RequestCheck(const Clock& clock, std::string consumerKey, std::string consumerSecret,
                 std::string realm);

    /// False when the request is refused; `problem` then says in one line what differs.
    /// `token` receives the access token that the request carries, empty without one.
    /// `trace` receives the steps that went well.
    bool accepts(const WireRequest& request, std::string_view document, std::string& token,
                 std::string& problem, Trace& trace);

    /// How far a time stamp may lie from the service's clock.
    static constexpr std::int64_t timeStampWindow = 300;

private:
    bool acceptsItems(const Authorization& authorization, std::string& problem, Trace& trace) const;
    bool acceptsTimeStamp(const std::string& timeStamp, std::string& problem) const;

    const Clock& mClock;
    const std::string mConsumerKey;
    const std::string mConsumerSecret;
    const std::string mRealm;
    NonceMemory mNonces;
};

} // namespace KelEmulator
