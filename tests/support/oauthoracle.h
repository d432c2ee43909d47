// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QPair>
#include <QString>
#include <QVector>

/// What other OAuth 1.0 implementations make of the same request.
///
/// liboauth encodes, joins and hashes with code of its own (and NSS below it); Qt Network
/// Authorization builds the base string with QUrl and hashes with Qt. Neither shares a line with
/// the library under test.
namespace OAuthOracle {

/// Decoded names and values.
using Parameters = QVector<QPair<QString, QString>>;

struct Call
{
    QString address; ///< scheme, host and path, decoded
    Parameters parameters;
    QString consumerKey;
    QString secret;
    QString nonce;
    QString timeStamp;
    QString token; ///< null: no token takes part
};

QByteArray encodeWithLiboauth(const QString& text);

/// The base string of a POST whose parameters stand in the order given here. For the service's own
/// order, which no OAuth library knows; "oauth_" parameters are among `parameters`.
QByteArray baseStringWithLiboauth(const QString& address, const Parameters& parameters);

/// Base64 HMAC-SHA1 of a finished base string.
QByteArray signWithLiboauth(const QByteArray& baseString, const QByteArray& key);

/// The signature of a POST from beginning to end: both add the "oauth_" parameters themselves and
/// put everything into the order of RFC 5849.
QByteArray signatureWithLiboauth(const Call& call);
QByteArray signatureWithQt(const Call& call);

/// The parameters of an "Authorization" header as liboauth writes them: name="value", encoded.
QVector<QByteArray> headerPiecesWithLiboauth(const Parameters& parameters);

} // namespace OAuthOracle
