// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QVariantMap>

namespace ZorAuth {

/// Of a secret, by which the same one is known again. It is kept where the secret itself must not
/// be.
class Mark
{
public:
    /// What people choose can be guessed, so each guess is made to cost time.
    enum class Of { Password, Key };

    Mark() = default; ///< of nothing
    /// Another one each time, also of the same secret.
    Mark(Of kind, const QByteArray& secret);

    bool isEmpty() const { return mHash.isEmpty(); }
    bool isOf(Of kind, const QByteArray& secret) const;

    QVariantMap toMap() const;
    /// Empty when it cannot be read.
    static Mark fromMap(const QVariantMap& map);

private:
    QByteArray mSalt;
    QByteArray mHash;
};

} // namespace ZorAuth
