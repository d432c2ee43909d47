// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/reply.h"

#include "rest/request/servicehosts.h"

namespace KelEmulator {

namespace {

void replaceAll(std::string& text, std::string_view from, std::string_view to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

} // namespace

std::string xmlEscaped(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size());
    for (const char character : text) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&apos;";
            break;
        default: {
            const auto byte = static_cast<unsigned char>(character);
            const bool blank = byte == '\t' || byte == '\n' || byte == '\r';
            escaped += byte < 0x20 && !blank ? '?' : character;
        }
        }
    }
    // Clients take every reply with "error" in its text for an error reply. A character reference
    // keeps the value and hides the word.
    replaceAll(escaped, "error", "&#101;rror");
    replaceAll(escaped, "Error", "&#69;rror");
    return escaped;
}

std::string xmlElement(const char* name, std::string_view text)
{
    return '<' + std::string(name) + '>' + xmlEscaped(text) + "</" + name + '>';
}

std::string xmlDocument(const char* root, std::string_view content)
{
    std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<";
    document.append(root).append(" xmlns=\"https://" KELACCOUNT_HOST_PRODUCTION
                                 "/schemas/rest/v1_0\">");
    document.append(content).append("</").append(root).append(">\n");
    return document;
}

Reply errorReply(int status, const char* code, std::string_view text)
{
    Reply reply;
    reply.status = status;
    reply.body =
        xmlDocument("errorResponse", xmlElement("errorCode", code) + xmlElement("errorText", text));
    reply.outcome = code;
    return reply;
}

} // namespace KelEmulator
