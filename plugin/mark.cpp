// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mark.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <QRandomGenerator>

namespace ZorAuth {

namespace {

constexpr int saltSize = 16;
constexpr int hashSize = 32;
constexpr int passwordRounds = 20000; // some 10 ms of a desktop's processor

const auto saltName = QLatin1String("Salt");
const auto hashName = QLatin1String("Hash");

QByteArray hashOf(Mark::Of kind, const QByteArray& secret, const QByteArray& salt)
{
    QByteArray hash(hashSize, '\0');
    const bool made =
        PKCS5_PBKDF2_HMAC(secret.constData(), secret.size(),
                          reinterpret_cast<const unsigned char*>(salt.constData()), salt.size(),
                          kind == Mark::Of::Password ? passwordRounds : 1, EVP_sha256(), hashSize,
                          reinterpret_cast<unsigned char*>(hash.data())) == 1;
    return made ? hash : QByteArray();
}

} // namespace

Mark::Mark(Of kind, const QByteArray& secret) : mSalt(saltSize, Qt::Uninitialized)
{
    QRandomGenerator::system()->generate(mSalt.begin(), mSalt.end());
    mHash = hashOf(kind, secret, mSalt);
}

bool Mark::isOf(Of kind, const QByteArray& secret) const
{
    const QByteArray hash = isEmpty() ? QByteArray() : hashOf(kind, secret, mSalt);
    return hash.size() == hashSize &&
           CRYPTO_memcmp(hash.constData(), mHash.constData(), hashSize) == 0;
}

QVariantMap Mark::toMap() const
{
    return isEmpty() ? QVariantMap() : QVariantMap{{saltName, mSalt}, {hashName, mHash}};
}

Mark Mark::fromMap(const QVariantMap& map)
{
    Mark mark;
    mark.mSalt = map.value(saltName).toByteArray();
    mark.mHash = map.value(hashName).toByteArray();
    return mark.mSalt.size() == saltSize && mark.mHash.size() == hashSize ? mark : Mark();
}

} // namespace ZorAuth
