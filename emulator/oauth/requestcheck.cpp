// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/oauth/requestcheck.h"

#include "emulator/common/log.h"
#include "emulator/oauth/authorization.h"
#include "emulator/oauth/signature.h"
#include "emulator/oauth/signaturediagnosis.h"

#include <charconv>
#include <openssl/crypto.h>

namespace KelEmulator {

bool NonceMemory::remember(const std::string& nonce, const std::string& timeStamp)
{
    std::string entry = timeStamp + ' ' + nonce;
    const std::lock_guard<std::mutex> lock(mMutex);
    if (!mSeen.insert(entry).second)
        return false;
    mOldestFirst.push_back(std::move(entry));
    if (mOldestFirst.size() > capacity) {
        mSeen.erase(mOldestFirst.front());
        mOldestFirst.pop_front();
    }
    return true;
}

RequestCheck::RequestCheck(const Clock& clock, std::string consumerKey, std::string consumerSecret,
                           std::string realm)
    : mClock(clock), mConsumerKey(std::move(consumerKey)),
      mConsumerSecret(std::move(consumerSecret)), mRealm(std::move(realm))
{
}

bool RequestCheck::acceptsTimeStamp(const std::string& timeStamp, std::string& problem) const
{
    std::int64_t seconds = 0;
    const char* const end = timeStamp.data() + timeStamp.size();
    const auto result = std::from_chars(timeStamp.data(), end, seconds);
    if (result.ec != std::errc() || result.ptr != end || timeStamp.front() == '-') {
        problem =
            "oauth_timestamp is not a whole number of seconds: \"" + timeStamp.substr(0, 32) + '"';
        return false;
    }
    const std::int64_t now = mClock.now();
    if (seconds < now - timeStampWindow || seconds > now + timeStampWindow) {
        const bool early = seconds < now;
        problem = "oauth_timestamp " + timeStamp + " lies " +
                  std::to_string(early ? now - seconds : seconds - now) + " s " +
                  (early ? "behind" : "ahead of") + " the service's clock (" + std::to_string(now) +
                  "); " + std::to_string(timeStampWindow) + " s are allowed";
        return false;
    }
    return true;
}

bool RequestCheck::acceptsItems(const Authorization& authorization, std::string& problem,
                                Trace& trace) const
{
    const auto differs = [&problem](const char* name, const std::string& got,
                                    const std::string& wanted) {
        if (got == wanted)
            return false;
        problem = std::string(name) + " is \"" + got.substr(0, 128) + "\"; the service wants \"" +
                  wanted + '"';
        return true;
    };
    if (differs("realm", authorization.realm, mRealm) ||
        differs("oauth_consumer_key", authorization.consumerKey, mConsumerKey) ||
        differs("oauth_signature_method", authorization.signatureMethod, "HMAC-SHA1") ||
        differs("oauth_version", authorization.version, "1.0"))
        return false;
    trace.passed("Realm, consumer key, signature method and version are the service's",
                 mRealm + ", " + mConsumerKey + ", HMAC-SHA1, 1.0");
    if (!acceptsTimeStamp(authorization.timeStamp, problem))
        return false;
    trace.passed("The time stamp is near the service's clock",
                 authorization.timeStamp + " beside " + std::to_string(mClock.now()) + "; " +
                     std::to_string(timeStampWindow) + " s are allowed");
    return true;
}

bool RequestCheck::accepts(const WireRequest& request, std::string_view document,
                           std::string& token, std::string& problem, Trace& trace)
{
    Authorization authorization;
    if (!readAuthorization(request.authorization, authorization, problem))
        return false;
    trace.passed("The Authorization header is as clients of the service write it");
    if (!acceptsItems(authorization, problem, trace))
        return false;

    const SignedRequest signedRequest{request, authorization, document};
    const std::string expected = expectedSignature(signedRequest, mConsumerSecret);
    const std::string& got = authorization.signature;
    if (expected.size() != got.size() ||
        CRYPTO_memcmp(expected.data(), got.data(), expected.size()) != 0) {
        problem =
            "oauth_signature does not fit: " + explainMismatch(signedRequest, mConsumerSecret);
        return false;
    }
    // An address that names a token is not shown.
    const bool isShown = printableTarget(request.target) == request.target;
    trace.passed("The signature fits: HMAC-SHA1 over the base string, with the consumer secret",
                 isShown ? "base string: " + baseString(signedRequest, Recipe(), true) : "");
    if (!mNonces.remember(authorization.nonce, authorization.timeStamp)) {
        problem = "oauth_nonce was used before with this time stamp";
        return false;
    }
    trace.passed("The nonce was not used before with this time stamp");
    token = authorization.token.value_or(std::string());
    return true;
}

} // namespace KelEmulator
