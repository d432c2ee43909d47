// SPDX-License-Identifier: LGPL-2.1-or-later
// The shortest way to SHA-1 there is, which OpenSSL 3 keeps but does not like.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "handwritten.h"

#include <QDate>
#include <QDateTime>
#include <QDomDocument>
#include <QStringList>

#include <openssl/sha.h>
#include <sys/random.h>

#include <array>
#include <cstdlib>

namespace HandWritten {

namespace {

constexpr int blockLength = 64;

// HMAC-SHA1 with a key that is no longer than a block.
QByteArray hmac(const QByteArray& message, const QByteArray& key)
{
    std::array<unsigned char, blockLength> pad{};
    std::array<unsigned char, SHA_DIGEST_LENGTH> digest;
    const auto hash = [&](unsigned char with, const void* data, int length) {
        pad.fill(with);
        for (int i = 0; i < key.size(); ++i)
            pad[static_cast<size_t>(i)] = static_cast<unsigned char>(with ^ key[i]);
        SHA_CTX context;
        SHA1_Init(&context);
        SHA1_Update(&context, pad.data(), pad.size());
        SHA1_Update(&context, data, static_cast<size_t>(length));
        SHA1_Final(digest.data(), &context);
    };
    hash(0x36, message.constData(), message.size());
    const auto inner = digest;
    hash(0x5C, inner.data(), static_cast<int>(inner.size()));
    return {reinterpret_cast<const char*>(digest.data()), static_cast<int>(digest.size())};
}

QByteArray nonce()
{
    std::array<char, 16> bits;
    if (getrandom(bits.data(), bits.size(), 0) != static_cast<ssize_t>(bits.size()))
        abort();
    return QByteArray::fromRawData(bits.data(), static_cast<int>(bits.size())).toHex();
}

struct Profile
{
    QString userName;
    QString accountId;
    QString mobile;
    QString email;
    QString isMobileVerified;
    QString isEmailVerified;
    QString question;
    QString language;
    QString country;
    QString dateOfBirth;
    QString firstName;
    QString lastName;
    QString gender;
    QDate birthday;
    QStringList services;
};

struct Field
{
    QLatin1String name;
    QString Profile::*value;
};

constexpr Field fields[] = {
    {QLatin1String("username"), &Profile::userName},
    {QLatin1String("accountId"), &Profile::accountId},
    {QLatin1String("mobile"), &Profile::mobile},
    {QLatin1String("email"), &Profile::email},
    {QLatin1String("mobileVerified"), &Profile::isMobileVerified},
    {QLatin1String("emailVerified"), &Profile::isEmailVerified},
    {QLatin1String("passwordQuestion"), &Profile::question},
    {QLatin1String("language"), &Profile::language},
    {QLatin1String("country"), &Profile::country},
    {QLatin1String("dateOfBirth"), &Profile::dateOfBirth},
    {QLatin1String("firstName"), &Profile::firstName},
    {QLatin1String("lastName"), &Profile::lastName},
    {QLatin1String("gender"), &Profile::gender},
};

void readFields(Profile& profile, const QDomElement& element)
{
    for (QDomElement child = element.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        const QString tag = child.tagName();
        for (const Field& field : fields) {
            if (tag == field.name) {
                profile.*field.value = child.text();
                break;
            }
        }
    }
    profile.birthday = QDate::fromString(profile.dateOfBirth.left(10), Qt::ISODate);
}

} // namespace

QByteArray authorization(const QByteArray& address, const Credentials& credentials)
{
    const QByteArray fresh = nonce();
    const QByteArray time = QByteArray::number(QDateTime::currentSecsSinceEpoch());
    const QByteArray key = credentials.consumerKey.toPercentEncoding();
    const QByteArray token = credentials.token.toPercentEncoding();

    QByteArray base;
    base.reserve(512);
    base += "POST&" + address.toPercentEncoding() + "&oauth_consumer_key%3D" +
            key.toPercentEncoding() + "%26oauth_nonce%3D" + fresh +
            "%26oauth_signature_method%3DHMAC-SHA1%26oauth_timestamp%3D" + time +
            "%26oauth_token%3D" + token.toPercentEncoding() + "%26oauth_version%3D1.0";
    QByteArray header;
    header.reserve(512);
    header += credentials.realm + "\", oauth_consumer_key=\"" + key + "\", oauth_nonce=\"" + fresh +
              "\", oauth_timestamp=\"" + time + "\", oauth_signature=\"" +
              hmac(base, credentials.secret).toBase64() +
              "\", oauth_signature_method=\"HMAC-SHA1\", oauth_version=\"1.0\", oauth_token=\"" +
              token;
    return header;
}

bool readProfile(const QByteArray& document)
{
    QDomDocument dom;
    if (!dom.setContent(QString::fromUtf8(document)))
        return false;
    const QDomElement root = dom.documentElement();
    Profile profile;
    readFields(profile, root.firstChildElement(QStringLiteral("profile")));
    const QDomElement services = root.firstChildElement(QStringLiteral("services"));
    for (QDomElement one = services.firstChildElement(); !one.isNull();
         one = one.nextSiblingElement())
        profile.services.append(one.text());
    return root.tagName() == QLatin1String("profileQueryResponse") && !profile.email.isEmpty() &&
           profile.birthday.isValid() && !profile.services.isEmpty();
}

} // namespace HandWritten
