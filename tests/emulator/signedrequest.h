// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QPair>
#include <QVector>

/// A request to the account service, put together by hand and signed with liboauth. Every member
/// may be changed to make a request that is wrong in one place.
class SignedRequest
{
public:
    using Pairs = QVector<QPair<QByteArray, QByteArray>>;

    explicit SignedRequest(const QByteArray& path = "/rest/1.0/availability/bob");

    // What goes over the wire.
    QByteArray httpMethod = "POST";
    QByteArray host;
    QByteArray path; ///< decoded
    Pairs query;     ///< decoded
    QByteArray restVerb = "GET";
    QByteArray document;
    QByteArray contentType = "application/x-www-form-urlencoded";
    QByteArray language = "en";

    // What is signed with.
    QByteArray consumerKey = "demo-key";
    QByteArray secret = "demo-secret";
    QByteArray nonce;
    QByteArray timeStamp;
    QByteArray signatureMethod = "HMAC-SHA1";
    QByteArray version = "1.0";
    QByteArray token; ///< null: none

    /// liboauth's percent-encoding.
    static QByteArray encoded(const QByteArray& text);
    /// liboauth's HMAC-SHA1, in base64.
    static QByteArray hmac(const QByteArray& message, const QByteArray& key);

    /// Names and values that are signed, decoded, in the order in which they are joined.
    Pairs parameters() const;
    QByteArray address() const;
    static QByteArray joined(const Pairs& parameters);
    QByteArray baseString() const;
    QByteArray key() const { return encoded(secret) + '&'; }

    /// The header with a given signature; with none, with the right one.
    QByteArray authorization(const QByteArray& signature = {}) const;
    QByteArray target() const;
    QByteArray body() const;
    /// The whole request as bytes; with an empty argument the right header.
    QByteArray bytes(const QByteArray& authorizationHeader = {}) const;
};
