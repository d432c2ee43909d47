// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/server/answers.h"

#include <zlib.h>

#include <cstdint>
#include <cstdio>

namespace Matrix {

namespace {

const char* const declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

std::string document(const std::string& root, const std::string& content)
{
    return declaration + ("<" + root) + " xmlns=\"https://account.example/schemas/rest/v1_0\">" +
           content + "</" + root + ">";
}

std::string reply(const std::string& body, const std::string& headers = {})
{
    return "HTTP/1.1 200 OK\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

bool contains(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

const char* const tokenAndUser =
    "<tokenInfo><token>b3b4a1d2e6</token><tokenSecret>planted</tokenSecret></tokenInfo>"
    "<userInfo><accountId>1000042</accountId>"
    "<email>bob@mail.example</email></userInfo>";

// Three by two pixels.
const char* const picture =
    "iVBORw0KGgoAAAANSUhEUgAAAAMAAAACCAIAAAASFvFNAAAAEElEQVR4nGP438AAQQxwFgBf0gj7joAK"
    "VQAAAABJRU5ErkJggg==";

std::string captcha(const std::string& data)
{
    return document("captchaCreationResponse",
                    "<captchaId>captcha-9</captchaId><imageType>image/png</imageType>"
                    "<imageData>" +
                        data + "</imageData>");
}

std::string profile(const std::string& content = {})
{
    return document("profileQueryResponse",
                    "<profile><username>bob</username><accountId>1000042</accountId>" + content +
                        "</profile>");
}

std::string base64(const std::string& bytes)
{
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t at = 0; at < bytes.size(); at += 3) {
        uint32_t group = 0;
        for (size_t i = 0; i < 3; ++i)
            group = group << 8 |
                    (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        for (size_t i = 0; i < 4; ++i)
            text += at + i > bytes.size() ? '=' : digits[group >> (18 - 6 * i) & 63U];
    }
    return text;
}

void appendNumber(std::string& bytes, uint32_t number)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift & 255U);
}

std::string pngChunk(const std::string& type, const std::string& content)
{
    std::string bytes;
    appendNumber(bytes, static_cast<uint32_t>(content.size()));
    const std::string body = type + content;
    bytes += body;
    appendNumber(bytes, static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(body.data()),
                                                    static_cast<uInt>(body.size()))));
    return bytes;
}

// So many of them, squeezed. 31 for gzip, 15 for deflate.
std::string squeezed(const std::string& piece, int times, int window)
{
    z_stream stream = {};
    deflateInit2(&stream, 1, Z_DEFLATED, window, 8, Z_DEFAULT_STRATEGY);
    std::string result;
    std::string room(1 << 16, '\0');
    for (int i = 0; i < times; ++i) {
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data()));
        stream.avail_in = static_cast<uInt>(piece.size());
        const int flush = i + 1 == times ? Z_FINISH : Z_NO_FLUSH;
        do {
            stream.next_out = reinterpret_cast<Bytef*>(&room[0]);
            stream.avail_out = static_cast<uInt>(room.size());
            deflate(&stream, flush);
            result.append(room, 0, room.size() - stream.avail_out);
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    return result;
}

// 30,000 by 30,000 pixels of one bit, all of them there.
std::string pictureBomb()
{
    constexpr uint32_t side = 30000;
    std::string head;
    appendNumber(head, side);
    appendNumber(head, side);
    head += std::string("\1\0\0\0\0", 5);
    const std::string row(1 + (side + 7) / 8, '\0');
    return "\x89PNG\r\n\x1a\n" + pngChunk("IHDR", head) +
           pngChunk("IDAT", squeezed(row, side, 15)) + pngChunk("IEND", {});
}

std::string repeated(const std::string& text, int times)
{
    std::string all;
    all.reserve(text.size() * static_cast<size_t>(times));
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

std::string nested(int depth)
{
    return repeated("<a>", depth) + repeated("</a>", depth);
}

std::string entityBomb()
{
    std::string text = std::string(declaration) + "<!DOCTYPE a [<!ENTITY e0 \"bang\">";
    for (int i = 1; i < 12; ++i) {
        const std::string before = "&e" + std::to_string(i - 1) + ";";
        text += "<!ENTITY e" + std::to_string(i) + " \"" + repeated(before, 10) + "\">";
    }
    return text + "]><a>&e11;</a>";
}

// With that inside the document of the success, at its end.
std::string enlarged(const Request& request, const std::string& content)
{
    std::string body = wellBody(request);
    if (body.empty())
        body = document("anything", "");
    body.insert(body.rfind("</"), content);
    return body;
}

} // namespace

std::string wellBody(const Request& request)
{
    const std::string& target = request.target;
    const auto asks = [&](const char* beginning) { return target.rfind(beginning, 0) == 0; };
    if (asks("tokens"))
        return request.verb == "DELETE" ? std::string()
               : request.verb == "PUT"
                   ? document("tokenRefreshResponse",
                              "<tokenInfo><token>b3b4a1d2e6</token><tokenSecret>planted</"
                              "tokenSecret></tokenInfo>")
                   : document("tokenCreationResponse", tokenAndUser);
    if (asks("availability/"))
        return document("userNameAvailabilityResponse", "");
    if (asks("captchas"))
        return captcha(picture);
    if (asks("securityquestions"))
        return document("securityQuestionsResponse",
                        "<passwordQuestion><passwordQuestionId>1</passwordQuestionId>"
                        "<passwordQuestionText>?</passwordQuestionText>"
                        "</passwordQuestion>");
    if (asks("autodetection"))
        return document("autoDetectionResponse",
                        "<preAccountId>pre-17</preAccountId><username>somebody</username>");
    if (asks("services/"))
        return document("serviceQueryResponse", "<tosUrl>https://terms.example/</tosUrl>");
    if (asks("consentqueryvariant"))
        return document("consentQueryVariantResponse",
                        "<consentQueryVariant>pre-ticked</consentQueryVariant>");
    if (asks("simplifiedpasswordrecovery/") && contains(target, "/question"))
        return document("simplifiedPasswordQuestionResponse",
                        "<username>bob</username><passwordQuestionId>3</passwordQuestionId>"
                        "<passwordQuestionText>?</passwordQuestionText>");
    if (target == "accounts")
        return document("registrationResponse", tokenAndUser);
    if (target == "phoneactivationregistration")
        return document("phoneActivationRegistrationResponse", tokenAndUser);
    if (contains(target, "/profile") && request.verb == "GET")
        return profile();
    if (contains(target, "/profile"))
        return document("profileUpdateResponse", "<profile><username>bob</username></profile>");
    return {};
}

std::string wellReply(const Request& request)
{
    return reply(wellBody(request));
}

std::string madeReply(const std::string& name, const Request& request)
{
    constexpr int megabyte = 1000 * 1000;
    if (name == "9 MB")
        return reply(enlarged(request, std::string(9 * megabyte, 'x')));
    if (name == "chunked") {
        char size[16];
        std::string body = wellBody(request);
        std::string pieces;
        for (size_t at = 0; at < body.size(); at += 50) {
            const std::string piece = body.substr(at, 50);
            std::snprintf(size, sizeof size, "%zx\r\n", piece.size());
            pieces += size + piece + "\r\n";
        }
        return "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + pieces + "0\r\n\r\n";
    }
    const std::string gzip = "Content-Encoding: gzip\r\n";
    if (name == "gzip")
        return reply(squeezed(wellBody(request) + " ", 1, 31), gzip);
    static const std::string zeros(1 << 20, ' ');
    if (name == "gzip bomb") {
        static const std::string bomb = squeezed(zeros, 256, 31);
        return reply(bomb, gzip);
    }
    if (name == "deflate bomb") {
        static const std::string bomb = squeezed(zeros, 256, 15);
        return reply(bomb, "Content-Encoding: deflate\r\n");
    }
    if (name == "entity bomb")
        return reply(entityBomb());
    if (name == "characters")
        return reply(enlarged(request, std::string((2 << 20) + 1, 'x')));
    if (name == "markups")
        return reply(enlarged(request, repeated("<a/>", 10001)));
    if (name == "attributes") {
        std::string tag = "<a";
        for (int i = 0; i < 65; ++i)
            tag += " a" + std::to_string(i) + "=\"\"";
        return reply(enlarged(request, tag + "/>"));
    }
    if (name == "depth")
        return reply(enlarged(request, nested(257)));
    if (name == "great depth")
        return reply(enlarged(request, nested(100000)));
    if (name == "long value")
        return reply(enlarged(request, "<username>" + std::string(megabyte, 'x') + "</username>"));
    if (name == "dates")
        return reply(enlarged(
            request, "<dateOfBirth>9999-99-99</dateOfBirth><time>0000-00-00T99:99:99Z</time>"));
    if (name == "picture bomb") {
        static const std::string bomb = base64(pictureBomb());
        return reply(captcha(bomb));
    }
    if (name == "picture garbage")
        return reply(captcha(base64(std::string(1000, '\x17'))));
    return reply({});
}

} // namespace Matrix
