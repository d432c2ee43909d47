// SPDX-License-Identifier: LGPL-2.1-or-later
// The emulator checks what the library signs, so it shares no code with it: this encoder is its
// own.
#include "emulator/common/percentencoding.h"

namespace KelEmulator {

namespace {

bool isUnreserved(unsigned char byte)
{
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_' || byte == '~';
}

int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return -1;
}

} // namespace

std::string percentEncode(std::string_view text)
{
    constexpr char digits[] = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size() + text.size() / 2);
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (isUnreserved(byte)) {
            encoded += character;
        } else {
            encoded += '%';
            encoded += digits[byte >> 4];
            encoded += digits[byte & 15];
        }
    }
    return encoded;
}

std::string percentDecode(std::string_view text)
{
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        const int high = text[at] == '%' && at + 2 < text.size() ? hexValue(text[at + 1]) : -1;
        const int low = high >= 0 ? hexValue(text[at + 2]) : -1;
        if (low < 0) {
            decoded += text[at];
            continue;
        }
        decoded += static_cast<char>(high * 16 + low);
        at += 2;
    }
    return decoded;
}

} // namespace KelEmulator
