// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QLatin1String>

namespace KelAccount {

namespace Detail {

// QLatin1String counts with strlen(), which clang takes for no constant, nor gcc with -fno-builtin.
template <int size>
constexpr QLatin1String keyOf(const char (&text)[size])
{
    return QLatin1String(text, size - 1);
}

} // namespace Detail

/// The keys of the maps that the signals of KelAccounts carry, with the types of their values.
/// QString is built from one of these, so `map.value(ResultKey::identityId).toUInt()` works.
///
/// securityQuestionListResponse() has no keys of ours: each is the id of a question.
struct ResultKey
{
    // Of registerAccountResponse() and signInAndConfigureResponse(). All are there after success;
    // what the service did not tell is empty.

    /// quint32: the credentials in the sign-on daemon's store, for ensureTokenAvailable().
    static constexpr QLatin1String identityId = Detail::keyOf("IdentityId");
    /// QString: the account's number at the service.
    static constexpr QLatin1String accountId = Detail::keyOf("AccountId");
    /// QString: what the user signs in with.
    static constexpr QLatin1String loginId = Detail::keyOf("LoginId");
    /// QString: the user name.
    static constexpr QLatin1String userId = Detail::keyOf("UserId");
    /// QString: the user's e-mail address.
    static constexpr QLatin1String emailAddress = Detail::keyOf("EmailAddress");

    // Of termsOfServiceResponse(). Only what the service told is there.

    /// QString: address of the service that the terms are about.
    static constexpr QLatin1String serviceUrl = Detail::keyOf("serviceUrl");
    /// QString: address of the common terms.
    static constexpr QLatin1String tosUrl = Detail::keyOf("tosUrl");
    /// QString: address of the privacy policy.
    static constexpr QLatin1String privacyPolicyUrl = Detail::keyOf("privacyPolicyUrl");
    /// QString: address of that service's own terms.
    static constexpr QLatin1String serviceSpecificTosUrl = Detail::keyOf("serviceSpecificTosUrl");
    /// bool: whether that service wants the user's e-mail address to be verified.
    static constexpr QLatin1String emailVerified = Detail::keyOf("emailVerified");
    /// QVariantMap: whatever else the service told, name to text.
    static constexpr QLatin1String extensions = Detail::keyOf("extensions");

    // Of retrievePasswordResetSecQuestionResponse(). All are there; without a question all are
    // empty.

    /// QString: the user that was asked about.
    static constexpr QLatin1String recoveryUserId = Detail::keyOf("userId");
    /// QString: the question's id.
    static constexpr QLatin1String securityQuestionId = Detail::keyOf("securityQuestionId");
    /// QString: the question.
    static constexpr QLatin1String securityQuestionText = Detail::keyOf("securityQuestionText");
};

} // namespace KelAccount
