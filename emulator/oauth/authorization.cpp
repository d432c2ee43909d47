// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/oauth/authorization.h"

#include "emulator/common/percentencoding.h"

#include <algorithm>

namespace KelEmulator {

namespace {

constexpr std::string_view separator = "\", ";

std::string quoted(std::string_view text)
{
    return '"' + std::string(text) + '"';
}

bool isBase64(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](unsigned char byte) {
        return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
               (byte >= '0' && byte <= '9') || byte == '+' || byte == '/' || byte == '=';
    });
}

/// Walks over the header from item to item.
class Reader
{
public:
    explicit Reader(std::string_view header) : mHeader(header), mRest(header) {}

    bool realm(std::string& realm);
    bool item(std::string_view name, std::string& value, bool last = false);
    bool signature(std::string& value);
    bool token(std::optional<std::string>& value);

    std::string problem;

private:
    bool fail(std::string text)
    {
        problem = std::move(text);
        return false;
    }
    bool rawItem(std::string_view name, std::string_view& value, bool last);
    bool decode(std::string_view name, std::string_view raw, std::string& value);
    bool missing(std::string_view name);

    std::string_view mHeader;
    std::string_view mRest;
};

bool Reader::realm(std::string& realm)
{
    constexpr std::string_view prefix = "OAuth realm=\"";
    if (mRest.substr(0, prefix.size()) != prefix)
        return fail("the header does not begin with OAuth realm=\"");
    mRest.remove_prefix(prefix.size());
    const size_t end = mRest.find('"');
    if (end == std::string_view::npos)
        return fail("the realm is not closed by a quote");
    realm = std::string(mRest.substr(0, end));
    mRest.remove_prefix(end + 1);
    if (mRest.substr(0, separator.size()) != separator)
        return fail("the realm must be followed by a second quote, a comma and a blank (two quotes "
                    "in a row)");
    mRest.remove_prefix(separator.size());
    return true;
}

bool Reader::missing(std::string_view name)
{
    if (mHeader.find(std::string(name) + "=\"") == std::string_view::npos)
        return fail(std::string(name) + " is missing from the header");
    const size_t end = mRest.find('=');
    return fail(quoted(mRest.substr(0, std::min<size_t>(end, 32))) + " stands where " +
                std::string(name) + " belongs");
}

bool Reader::rawItem(std::string_view name, std::string_view& value, bool last)
{
    const std::string opening = std::string(name) + "=\"";
    if (mRest.substr(0, opening.size()) != opening)
        return missing(name);
    mRest.remove_prefix(opening.size());
    const size_t end = mRest.find('"');
    if (end == std::string_view::npos)
        return fail(std::string(name) + " is not closed by a quote");
    value = mRest.substr(0, end);
    if (last) {
        mRest.remove_prefix(end + 1);
        return true;
    }
    mRest.remove_prefix(end);
    if (mRest.substr(0, separator.size()) != separator) {
        return mRest.size() == 1
                   ? fail("the header ends after " + std::string(name))
                   : fail(std::string(name) + " must be followed by a quote, a comma and a blank");
    }
    mRest.remove_prefix(separator.size());
    return true;
}

bool Reader::decode(std::string_view name, std::string_view raw, std::string& value)
{
    value = percentDecode(raw);
    if (percentEncode(value) != raw) {
        return fail(std::string(name) +
                    " is not percent-encoded as the service wants it (every byte "
                    "but letters, digits and -._~ as \"%\" and two upper-case "
                    "digits)");
    }
    return true;
}

bool Reader::item(std::string_view name, std::string& value, bool last)
{
    std::string_view raw;
    return rawItem(name, raw, last) && decode(name, raw, value);
}

bool Reader::signature(std::string& value)
{
    constexpr std::string_view name = "oauth_signature";
    std::string_view raw;
    if (!rawItem(name, raw, false))
        return false;
    if (raw.find('%') != std::string_view::npos)
        return fail("oauth_signature is percent-encoded; it travels as plain base64");
    if (!isBase64(raw))
        return fail("oauth_signature is not base64");
    value = std::string(raw);
    return true;
}

bool Reader::token(std::optional<std::string>& value)
{
    constexpr std::string_view opening = ", oauth_token=\"";
    if (mRest.empty())
        return true;
    if (mRest.substr(0, opening.size()) != opening)
        return fail(
            "after oauth_version the header ends, or a comma, a blank and oauth_token=\" follow");
    mRest.remove_prefix(opening.size());
    if (mRest.find('"') != std::string_view::npos)
        return fail("no quote closes oauth_token: the header ends with the token");
    return decode("oauth_token", mRest, value.emplace());
}

} // namespace

bool readAuthorization(std::string_view header, Authorization& authorization, std::string& problem)
{
    if (header.empty()) {
        problem = "the Authorization header is missing";
        return false;
    }
    Reader reader(header);
    const bool good = reader.realm(authorization.realm) &&
                      reader.item("oauth_consumer_key", authorization.consumerKey) &&
                      reader.item("oauth_nonce", authorization.nonce) &&
                      reader.item("oauth_timestamp", authorization.timeStamp) &&
                      reader.signature(authorization.signature) &&
                      reader.item("oauth_signature_method", authorization.signatureMethod) &&
                      reader.item("oauth_version", authorization.version, true) &&
                      reader.token(authorization.token);
    problem = std::move(reader.problem);
    return good;
}

} // namespace KelEmulator
