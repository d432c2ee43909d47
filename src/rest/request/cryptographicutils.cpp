// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/cryptographicutils.h"

#include "common/wipe.h"

#include <QByteArray>
#include <QUuid>

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <array>
#include <initializer_list>
#include <memory>
#include <optional>

namespace {

constexpr int blockLength = 64;
constexpr int digestLength = 20;

using Digest = std::array<unsigned char, digestLength>;

struct View
{
    const void* data;
    size_t length;
};

View view(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<size_t>(bytes.size())};
}

// Looking the algorithm up costs as much as hashing a few hundred bytes: done once.
const EVP_MD* algorithm()
{
    static const EVP_MD* const found = EVP_MD_fetch(nullptr, "SHA1", nullptr);
    return found;
}

// libcrypto's SHA-1 uses the processor's instructions for it; Qt 5's portable one takes more than
// twice as long, and hashing is most of the cost of signing a request.
std::optional<Digest> sha1(std::initializer_list<View> pieces)
{
    thread_local const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(
        EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!algorithm() || !context || EVP_DigestInit_ex(context.get(), algorithm(), nullptr) != 1)
        return {};
    for (const View& piece : pieces)
        EVP_DigestUpdate(context.get(), piece.data, piece.length);
    Digest digest{};
    EVP_DigestFinal_ex(context.get(), digest.data(), nullptr);
    return digest;
}

QString base64(const std::optional<Digest>& digest)
{
    if (!digest)
        return {};
    return QString::fromLatin1(
        QByteArray::fromRawData(reinterpret_cast<const char*>(digest->data()), digestLength)
            .toBase64());
}

} // namespace

bool CryptographicUtils::isAvailable()
{
    return algorithm() != nullptr;
}

QString CryptographicUtils::getNOnce()
{
    return QUuid::createUuid().toString();
}

QString CryptographicUtils::getValidator(QString const& a, QString const& b)
{
    QByteArray first = a.toUtf8();
    QByteArray second = b.toUtf8();
    const auto digest = sha1({view(first), view(second)});
    KelAccount::wipe(first);
    KelAccount::wipe(second);
    return base64(digest);
}

QString CryptographicUtils::getDigest(QString const& a, QString const& b, QString const& c)
{
    QByteArray password = a.toUtf8();
    const auto digest = sha1({view(c.toUtf8()), view(b.toUtf8()), view(password)});
    KelAccount::wipe(password);
    return base64(digest);
}

QString CryptographicUtils::HMACSHA1(QString const& message, QString const& key)
{
    QByteArray keyBytes = key.toLatin1();
    std::array<unsigned char, blockLength> innerPad{};
    if (keyBytes.size() > blockLength) {
        const auto shortened = sha1({view(keyBytes)});
        if (!shortened)
            return {};
        std::copy(shortened->begin(), shortened->end(), innerPad.begin());
    } else {
        std::copy(keyBytes.begin(), keyBytes.end(), innerPad.begin());
    }
    KelAccount::wipe(keyBytes);
    std::array<unsigned char, blockLength> outerPad = innerPad;
    for (auto& byte : innerPad)
        byte ^= 0x36;
    for (auto& byte : outerPad)
        byte ^= 0x5C;

    // The document is part of the message, with the passwords that are in it.
    QByteArray messageBytes = message.toLatin1();
    const auto inner = sha1({{innerPad.data(), blockLength}, view(messageBytes)});
    KelAccount::wipe(messageBytes);
    OPENSSL_cleanse(innerPad.data(), innerPad.size());
    if (!inner)
        return {};
    const auto outer = sha1({{outerPad.data(), blockLength}, {inner->data(), inner->size()}});
    OPENSSL_cleanse(outerPad.data(), outerPad.size());
    return base64(outer);
}
