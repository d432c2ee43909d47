// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/oauth/signaturediagnosis.h"

#include <functional>
#include <vector>

namespace KelEmulator {

namespace {

/// One thing that a client may do differently.
struct Deviation
{
    std::string text;
    std::function<void(Recipe&)> apply;
};

void addDocumentDeviations(std::vector<Deviation>& deviations)
{
    using Document = Recipe::Document;
    const auto add = [&deviations](const char* text, Document document) {
        deviations.push_back({text, [document](Recipe& recipe) { recipe.document = document; }});
    };
    add("XMLContent is missing from the base string", Document::Missing);
    add("XMLContent is encoded once instead of twice", Document::Once);
    add("XMLContent is not encoded", Document::NotEncoded);
    add("XMLContent has \"+\" for a blank instead of \"%20\"", Document::PlusForBlank);
}

void addAddressDeviations(std::vector<Deviation>& deviations)
{
    using Address = Recipe::Address;
    const auto add = [&deviations](const char* text, Address address) {
        deviations.push_back({text, [address](Recipe& recipe) { recipe.address = address; }});
    };
    add("the port is left in the base address", Address::WithPort);
    add("the query is left in the base address", Address::WithQuery);
    add("the base address has the scheme http instead of https", Address::PlainHttp);
    add("the base address is not encoded", Address::NotEncoded);
    add("the base address has the path as it is percent-encoded on the wire; the service signs the "
        "decoded path",
        Address::AsOnTheWire);
}

void addOrderAndKeyDeviations(std::vector<Deviation>& deviations)
{
    deviations.push_back({"the verb is the REST verb instead of POST",
                          [](Recipe& recipe) { recipe.verb = Recipe::Verb::RestVerb; }});
    deviations.push_back({"the verb is in lower case",
                          [](Recipe& recipe) { recipe.verb = Recipe::Verb::LowerCase; }});
    deviations.push_back({"the parameters are not sorted by name but stand as in the header",
                          [](Recipe& recipe) { recipe.order = Recipe::Order::AsInHeader; }});
    deviations.push_back({"XMLContent stands last; it goes first",
                          [](Recipe& recipe) { recipe.order = Recipe::Order::DocumentLast; }});
    deviations.push_back({"XMLContent is sorted among the other names; it goes first",
                          [](Recipe& recipe) { recipe.order = Recipe::Order::AllByName; }});
    deviations.push_back({"the key has no trailing \"&\"",
                          [](Recipe& recipe) { recipe.key = Recipe::Key::NoAmpersand; }});
    deviations.push_back({"the consumer secret in the key is not percent-encoded",
                          [](Recipe& recipe) { recipe.key = Recipe::Key::SecretNotEncoded; }});
    deviations.push_back({"the token is appended to the key",
                          [](Recipe& recipe) { recipe.key = Recipe::Key::WithToken; }});
}

void addParameterDeviations(const SignedRequest& request, std::vector<Deviation>& deviations)
{
    deviations.push_back({"the joined parameters are not encoded as a whole",
                          [](Recipe& recipe) { recipe.parametersEncodedAsWhole = false; }});
    deviations.push_back({"percent-encoding has lower-case digits instead of upper-case",
                          [](Recipe& recipe) { recipe.upperCaseDigits = false; }});
    deviations.push_back({"the query's parameters are missing from the base string",
                          [](Recipe& recipe) { recipe.withQuery = false; }});
    deviations.push_back({"the query's values are not decoded before they are encoded",
                          [](Recipe& recipe) { recipe.queryDecoded = false; }});

    std::vector<std::string> names = {"oauth_consumer_key", "oauth_nonce", "oauth_timestamp",
                                      "oauth_signature_method", "oauth_version"};
    if (request.authorization.token)
        names.emplace_back("oauth_token");
    for (const auto& item : queryItems(request.wire.rawQuery()))
        names.push_back(item.first);
    for (const std::string& name : names) {
        deviations.push_back({"the parameter " + name + " is missing from the base string",
                              [name](Recipe& recipe) { recipe.omitted = name; }});
    }

    const auto addExtra = [&deviations](const std::string& name, const std::string& value) {
        deviations.push_back(
            {"the base string has the parameter " + name + ", which does not belong there",
             [name, value](Recipe& recipe) {
                 recipe.extra = {name, value};
             }});
    };
    addExtra("realm", request.authorization.realm);
    addExtra("oauth_signature", std::string());
    if (!request.authorization.token)
        addExtra("oauth_token", std::string());
}

std::vector<Deviation> deviationsOf(const SignedRequest& request)
{
    std::vector<Deviation> deviations;
    if (!request.document.empty())
        addDocumentDeviations(deviations);
    addAddressDeviations(deviations);
    addOrderAndKeyDeviations(deviations);
    addParameterDeviations(request, deviations);
    return deviations;
}

} // namespace

std::string explainMismatch(const SignedRequest& request, const std::string& consumerSecret)
{
    // A large document would make many pairs slow; its own row of deviations still is tried.
    constexpr size_t largeDocument = size_t{64} * 1024;
    const auto fits = [&](const Recipe& recipe) {
        return hmacSha1(baseString(request, recipe), hmacKey(request, recipe, consumerSecret)) ==
               request.authorization.signature;
    };
    const std::vector<Deviation> deviations = deviationsOf(request);
    for (const Deviation& deviation : deviations) {
        Recipe recipe;
        deviation.apply(recipe);
        if (fits(recipe))
            return deviation.text;
    }
    if (request.document.size() < largeDocument) {
        for (size_t first = 0; first < deviations.size(); ++first) {
            for (size_t second = first + 1; second < deviations.size(); ++second) {
                Recipe recipe;
                deviations[first].apply(recipe);
                deviations[second].apply(recipe);
                if (fits(recipe))
                    return deviations[first].text + "; and " + deviations[second].text;
            }
        }
    }
    return "no usual mistake explains it (is the consumer secret the same on both sides?); the "
           "base "
           "string expected is " +
           baseString(request, Recipe(), true);
}

} // namespace KelEmulator
