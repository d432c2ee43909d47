// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/oauthoracle.h"
#include "support/literals.h"

#include <QOAuth1Signature>
#include <QUrl>

#include <oauth.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace OAuthOracle {

namespace {

struct Free
{
    void operator()(char* text) const { free(text); }
};
using Text = std::unique_ptr<char, Free>;

// liboauth's growing array of "name=value"; the address is its first element.
class Array
{
public:
    Array() = default;
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
    ~Array() { oauth_free_array(&count, &values); }

    void add(const QByteArray& text)
    {
        oauth_add_param_to_array(&count, &values, text.constData());
    }
    void add(const QString& name, const QString& value)
    {
        add(name.toUtf8() + '=' + value.toUtf8());
    }
    void add(const Parameters& parameters)
    {
        for (const auto& parameter : parameters)
            add(parameter.first, parameter.second);
    }

    int count = 0;
    char** values = nullptr;
};

} // namespace

QByteArray encodeWithLiboauth(const QString& text)
{
    const Text encoded(oauth_url_escape(text.toUtf8().constData()));
    return encoded.get();
}

QByteArray baseStringWithLiboauth(const QString& address, const Parameters& parameters)
{
    Array array;
    array.add(address.toUtf8());
    array.add(parameters);
    const Text joined(oauth_serialize_url_parameters(array.count, array.values));
    const Text base(oauth_catenc(3, "POST", address.toUtf8().constData(), joined.get()));
    return base.get();
}

QByteArray signWithLiboauth(const QByteArray& baseString, const QByteArray& key)
{
    const Text signature(oauth_sign_hmac_sha1(baseString.constData(), key.constData()));
    return signature.get();
}

QByteArray signatureWithLiboauth(const Call& call)
{
    Array array;
    array.add(call.address.toUtf8());
    array.add(call.parameters);
    array.add("oauth_nonce"_s, call.nonce);
    array.add("oauth_timestamp"_s, call.timeStamp);
    const QByteArray token = call.token.toUtf8();
    oauth_sign_array2_process(&array.count, &array.values, nullptr, OA_HMAC, "POST",
                              call.consumerKey.toUtf8().constData(),
                              call.secret.toUtf8().constData(),
                              call.token.isNull() ? nullptr : token.constData(), nullptr);

    constexpr char name[] = "oauth_signature=";
    for (int i = 0; i < array.count; ++i) {
        if (strncmp(array.values[i], name, strlen(name)) == 0)
            return array.values[i] + strlen(name);
    }
    return {};
}

QByteArray signatureWithQt(const Call& call)
{
    QOAuth1Signature signature(QUrl(call.address), call.secret, QString(),
                               QOAuth1Signature::HttpRequestMethod::Post);
    for (const auto& parameter : call.parameters)
        signature.insert(parameter.first, parameter.second);
    signature.insert("oauth_consumer_key"_s, call.consumerKey);
    signature.insert("oauth_nonce"_s, call.nonce);
    signature.insert("oauth_timestamp"_s, call.timeStamp);
    signature.insert("oauth_signature_method"_s, "HMAC-SHA1"_s);
    signature.insert("oauth_version"_s, "1.0"_s);
    if (!call.token.isNull())
        signature.insert("oauth_token"_s, call.token);
    return signature.hmacSha1().toBase64();
}

QVector<QByteArray> headerPiecesWithLiboauth(const Parameters& parameters)
{
    QVector<QByteArray> pieces;
    for (const auto& parameter : parameters) {
        Array array;
        array.add("address"_ba);
        array.add(parameter.first, parameter.second);
        // 4: values stand in double quotes
        char separator[] = ", ";
        const Text piece(oauth_serialize_url_sep(array.count, 1, array.values, separator, 4));
        pieces.append(piece.get());
    }
    return pieces;
}

} // namespace OAuthOracle
