// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <string_view>

namespace KelEmulator {

/// What the service answers.
struct Reply
{
    int status = 200;
    std::string contentType = "text/xml; charset=UTF-8";
    std::string body;
    std::string outcome; ///< one or two words for the log
    int operation = 0;   ///< number of the operation that answered, 0 when none was reached
};

/// Text with the five XML characters escaped; characters that XML forbids become "?", and the word
/// that clients know error replies by is written so that they do not see it.
std::string xmlEscaped(std::string_view text);

/// "<name>text</name>", the text escaped.
std::string xmlElement(const char* name, std::string_view text);

/// A document: XML declaration and `root` in the service's namespace around `content`, which is
/// markup already.
std::string xmlDocument(const char* root, std::string_view content);

/// The service's error document. `code` is one of the service's error codes.
Reply errorReply(int status, const char* code, std::string_view text);

} // namespace KelEmulator
