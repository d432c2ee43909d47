// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

/// Hashes that the service's protocol asks for. Stateless. A hash is empty where the cryptographic
/// library refuses SHA-1, as a system's policy may have it do.
class CryptographicUtils
{
public:
    /// Whether there is SHA-1. Without it no request can be signed.
    static bool isAvailable();

    /// A fresh random UUID in its 38-character text form, braces included.
    static QString getNOnce();

    /// Base64 of SHA-1 over the UTF-8 bytes of `a` followed by those of `b`.
    static QString getValidator(QString const& a, QString const& b);

    /// Base64 of SHA-1 over the UTF-8 bytes of `c`, then `b`, then `a`: the service hashes nonce,
    /// creation time and password in that order, and callers name them the other way round.
    static QString getDigest(QString const& a, QString const& b, QString const& c);

    /// Base64 of HMAC-SHA1 (RFC 2104). Key and message are taken as Latin-1; both are
    /// percent-encoded ASCII in a signature.
    static QString HMACSHA1(QString const& message, QString const& key);
};
