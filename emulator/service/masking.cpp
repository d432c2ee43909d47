// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/masking.h"

#include "emulator/service/xmlelement.h"

#include <algorithm>
#include <string_view>

namespace KelEmulator {

namespace {

constexpr size_t longestShown = 16384;
constexpr std::string_view mask = "[masked]";

bool isSecret(std::string_view name)
{
    static constexpr std::string_view pieces[] = {"password", "secret", "token", "answer",
                                                  "digest",   "nonce",  "tag"};
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    // A request, a reply and a group are named for what they hold.
    for (const std::string_view group : {"request", "response", "info", "auth"}) {
        if (lower.size() > group.size() && lower.substr(lower.size() - group.size()) == group)
            return false;
    }
    return std::any_of(std::begin(pieces), std::end(pieces), [&](std::string_view piece) {
        return lower.find(piece) != std::string::npos;
    });
}

/// Of a document without comments, attributes and CDATA: a "<" begins a tag.
std::string withoutSecrets(const std::string& document)
{
    std::string shown;
    int depth = 0; // below an element that is secret, and with it
    for (size_t at = 0; at < document.size();) {
        const size_t tag = document.find('<', at);
        const size_t end = document.find('>', tag);
        if (tag == std::string::npos || end == std::string::npos) {
            shown.append(document, at, std::string::npos);
            break;
        }
        shown.append(document, at, end + 1 - at);
        at = end + 1;
        const std::string_view whole(document.data() + tag + 1, end - tag - 1);
        const bool closes = !whole.empty() && whole.front() == '/';
        const bool opens = !closes && !whole.empty() && whole.back() != '/' && whole.front() != '?';
        const std::string_view name = whole.substr(0, whole.find_first_of(" \t\r\n"));
        const size_t next = std::min(document.find('<', at), document.size());
        // What stands in an element of a secret's, where none belongs, is secret, too.
        if (opens && (depth > 0 || isSecret(name)))
            ++depth;
        else if (closes && depth > 0)
            --depth;
        if (depth > 0 && next > at) {
            shown += mask;
            at = next;
        }
    }
    if (shown.size() > longestShown)
        shown = shown.substr(0, longestShown) + "… (" + std::to_string(shown.size()) + " bytes)";
    return shown;
}

} // namespace

std::string masked(const std::string& document)
{
    XmlElement root;
    std::string problem;
    if (document.empty() || readXml(document, root, problem))
        return withoutSecrets(document);
    return "(not shown: no document of the service's, " + std::to_string(document.size()) +
           " bytes)";
}

std::string maskedReply(const std::string& document)
{
    return withoutSecrets(document);
}

} // namespace KelEmulator
