// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QNetworkRequest>
#include <QString>

/// What a program does at least that asks for a profile without this library: a request signed with
/// OpenSSL, and a reply read with QDomDocument into a record. Nothing is checked that need not be,
/// nothing is kept apart, and no other operation is thought of.
namespace HandWritten {

/// What signs.
struct Credentials
{
    QByteArray realm; ///< as the "Authorization" header begins
    QByteArray consumerKey;
    QByteArray secret; ///< of the consumer, with the "&" behind it
    QByteArray token;
};

/// Value of the "Authorization" header, with a nonce of its own and the time of this moment.
QByteArray authorization(const QByteArray& address, const Credentials& credentials);

/// Whether it is a profile, whose fields have been taken into a record.
bool readProfile(const QByteArray& document);

} // namespace HandWritten
