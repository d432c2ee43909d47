// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/oauth/signature.h"

#include "emulator/common/log.h"
#include "emulator/common/percentencoding.h"

#include <algorithm>
#include <openssl/evp.h>
#include <openssl/hmac.h>

namespace KelEmulator {

namespace {

constexpr const char* documentName = "XMLContent";

std::string lowerCaseDigits(std::string text)
{
    for (size_t at = 0; at + 2 < text.size(); ++at) {
        if (text[at] != '%')
            continue;
        for (size_t digit = at + 1; digit <= at + 2; ++digit) {
            if (text[digit] >= 'A' && text[digit] <= 'F')
                text[digit] = static_cast<char>(text[digit] - 'A' + 'a');
        }
    }
    return text;
}

std::string encode(std::string_view text, const Recipe& recipe)
{
    std::string encoded = percentEncode(text);
    return recipe.upperCaseDigits ? encoded : lowerCaseDigits(std::move(encoded));
}

std::string verb(const SignedRequest& request, const Recipe& recipe)
{
    switch (recipe.verb) {
    case Recipe::Verb::Post:
        break;
    case Recipe::Verb::RestVerb:
        return request.wire.restVerb;
    case Recipe::Verb::LowerCase:
        return "post";
    }
    return "POST";
}

std::string address(const SignedRequest& request, const Recipe& recipe, bool hideValues)
{
    std::string host = request.wire.host.substr(0, request.wire.host.find(':'));
    std::transform(host.begin(), host.end(), host.begin(), [](unsigned char letter) {
        return static_cast<char>(letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter);
    });
    std::string path = percentDecode(request.wire.rawPath());
    if (hideValues)
        path = printableTarget(path);
    switch (recipe.address) {
    case Recipe::Address::Decoded:
        break;
    case Recipe::Address::AsOnTheWire:
        return encode("https://" + host + std::string(request.wire.rawPath()), recipe);
    case Recipe::Address::WithPort:
        return encode("https://" + host + ":443" + path, recipe);
    case Recipe::Address::WithQuery:
        return encode("https://" + host + percentDecode(request.wire.target), recipe);
    case Recipe::Address::PlainHttp:
        return encode("http://" + host + path, recipe);
    case Recipe::Address::NotEncoded:
        return "https://" + host + path;
    }
    return encode("https://" + host + path, recipe);
}

struct Parameter
{
    std::string name;
    std::string value;
    bool isDocument = false;
};

/// Parameters in the order in which they are joined, the document apart.
std::vector<Parameter> namedParameters(const SignedRequest& request, const Recipe& recipe,
                                       bool hideValues)
{
    const Authorization& header = request.authorization;
    std::vector<Parameter> parameters = {
        {"oauth_consumer_key", header.consumerKey},
        {"oauth_nonce", header.nonce},
        {"oauth_timestamp", header.timeStamp},
        {"oauth_signature_method", header.signatureMethod},
        {"oauth_version", header.version},
    };
    if (header.token) {
        const std::string length = "<token of " + std::to_string(header.token->size()) + " bytes>";
        parameters.push_back({"oauth_token", hideValues ? length : *header.token});
    }

    // A name that occurs twice keeps the last value; the service's own names win over the query's.
    const auto put = [&parameters](const std::string& name, const std::string& value) {
        const auto known = std::find_if(parameters.begin(), parameters.end(),
                                        [&](const Parameter& item) { return item.name == name; });
        if (known == parameters.end())
            parameters.push_back({name, value});
        else if (name.rfind("oauth_", 0) != 0)
            known->value = value;
    };
    if (recipe.withQuery) {
        for (const auto& [name, value] : queryItems(request.wire.rawQuery()))
            put(name, recipe.queryDecoded ? value : percentEncode(value));
    }
    if (!recipe.extra.first.empty())
        put(recipe.extra.first, recipe.extra.second);
    parameters.erase(
        std::remove_if(parameters.begin(), parameters.end(),
                       [&](const Parameter& item) { return item.name == recipe.omitted; }),
        parameters.end());
    return parameters;
}

std::vector<Parameter> orderedParameters(const SignedRequest& request, const Recipe& recipe,
                                         bool hideValues)
{
    std::vector<Parameter> parameters = namedParameters(request, recipe, hideValues);
    const auto byName = [](const Parameter& left, const Parameter& right) {
        return left.name < right.name;
    };
    if (recipe.order != Recipe::Order::AsInHeader)
        std::stable_sort(parameters.begin(), parameters.end(), byName);

    if (request.document.empty() || recipe.document == Recipe::Document::Missing)
        return parameters;
    Parameter document{documentName, {}, true};
    document.value = hideValues
                         ? "<document of " + std::to_string(request.document.size()) + " bytes>"
                         : std::string(request.document);
    if (recipe.order == Recipe::Order::DocumentLast) {
        parameters.push_back(std::move(document));
    } else {
        parameters.insert(parameters.begin(), std::move(document));
        if (recipe.order == Recipe::Order::AllByName)
            std::stable_sort(parameters.begin(), parameters.end(), byName);
    }
    return parameters;
}

/// A value as it stands in the finished base string.
std::string encodedValue(const Parameter& parameter, const Recipe& recipe)
{
    const auto whole = [&recipe](std::string text) {
        return recipe.parametersEncodedAsWhole ? encode(text, recipe) : text;
    };
    if (parameter.isDocument) {
        switch (recipe.document) {
        case Recipe::Document::Twice:
        case Recipe::Document::Missing:
            break;
        case Recipe::Document::Once:
            return whole(parameter.value);
        case Recipe::Document::NotEncoded:
            return parameter.value;
        case Recipe::Document::PlusForBlank: {
            std::string form = encode(parameter.value, recipe);
            for (size_t at = form.find("%20"); at != std::string::npos; at = form.find("%20", at))
                form.replace(at, 3, "+");
            return whole(form);
        }
        }
    }
    return whole(encode(parameter.value, recipe));
}

} // namespace

std::string baseString(const SignedRequest& request, const Recipe& recipe, bool hideValues)
{
    const bool whole = recipe.parametersEncodedAsWhole;
    const std::string equals = whole ? encode("=", recipe) : "=";
    const std::string ampersand = whole ? encode("&", recipe) : "&";

    std::string base = verb(request, recipe);
    base += '&';
    base += address(request, recipe, hideValues);
    base += '&';
    bool first = true;
    for (const Parameter& parameter : orderedParameters(request, recipe, hideValues)) {
        if (!first)
            base += ampersand;
        first = false;
        const std::string name = encode(parameter.name, recipe);
        base += whole ? encode(name, recipe) : name;
        base += equals;
        base += encodedValue(parameter, recipe);
    }
    return base;
}

std::string hmacKey(const SignedRequest& request, const Recipe& recipe,
                    const std::string& consumerSecret)
{
    switch (recipe.key) {
    case Recipe::Key::SecretAndAmpersand:
        break;
    case Recipe::Key::NoAmpersand:
        return percentEncode(consumerSecret);
    case Recipe::Key::SecretNotEncoded:
        return consumerSecret + '&';
    case Recipe::Key::WithToken:
        return percentEncode(consumerSecret) + '&' +
               percentEncode(request.authorization.token.value_or(std::string()));
    }
    return percentEncode(consumerSecret) + '&';
}

std::string hmacSha1(std::string_view message, std::string_view key)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (!HMAC(EVP_sha1(), key.data(), static_cast<int>(key.size()),
              reinterpret_cast<const unsigned char*>(message.data()), message.size(), digest,
              &length))
        return {};
    unsigned char text[2 * EVP_MAX_MD_SIZE];
    const int written = EVP_EncodeBlock(text, digest, static_cast<int>(length));
    return {reinterpret_cast<const char*>(text), static_cast<size_t>(written)};
}

std::string expectedSignature(const SignedRequest& request, const std::string& consumerSecret)
{
    const Recipe recipe;
    return hmacSha1(baseString(request, recipe), hmacKey(request, recipe, consumerSecret));
}

} // namespace KelEmulator
