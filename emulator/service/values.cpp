// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/values.h"

#include <QDateTime>
#include <QLocale>
#include <QUrl>

#include <algorithm>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <stdexcept>

namespace KelEmulator {

namespace {

constexpr std::string_view upperCase = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view lowerCase = "abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view digits = "0123456789";

bool consistsOf(std::string_view text, std::string_view characters)
{
    return text.find_first_not_of(characters) == std::string_view::npos;
}

QDate dateOf(const std::string& text)
{
    return QLocale::c().toDate(QString::fromStdString(text), QStringLiteral("yyyy-MM-dd"));
}

QDateTime timeOf(std::int64_t seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

void fillRandom(unsigned char* bytes, size_t count)
{
    if (RAND_bytes(bytes, static_cast<int>(count)) != 1)
        throw std::runtime_error("the cryptographic library gives no random numbers");
}

} // namespace

bool isBase64(std::string_view text)
{
    static const std::string alphabet =
        std::string(upperCase) + std::string(lowerCase) + std::string(digits) + "+/";
    if (text.size() % 4 != 0)
        return false;
    for (int padding = 0; padding < 2 && !text.empty() && text.back() == '='; ++padding)
        text.remove_suffix(1);
    return consistsOf(text, alphabet);
}

std::string base64Encoded(std::string_view bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                       reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    text.resize(static_cast<size_t>(length));
    return text;
}

std::optional<std::string> base64Decoded(std::string_view text)
{
    if (!isBase64(text))
        return std::nullopt;
    std::string bytes(text.size() / 4 * 3, '\0');
    EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                    reinterpret_cast<const unsigned char*>(text.data()),
                    static_cast<int>(text.size()));
    // The library counts the padding as bytes.
    bytes.resize(bytes.size() - static_cast<size_t>(std::count(text.begin(), text.end(), '=')));
    return bytes;
}

std::string sha1(std::string_view bytes)
{
    std::string digest(20, '\0');
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), reinterpret_cast<unsigned char*>(digest.data()),
                   &length, EVP_sha1(), nullptr) != 1)
        throw std::runtime_error("the cryptographic library offers no SHA-1");
    return digest;
}

std::string randomHex(size_t bytes)
{
    static constexpr char hexadecimal[] = "0123456789abcdef";
    std::string random(bytes, '\0');
    fillRandom(reinterpret_cast<unsigned char*>(random.data()), bytes);
    std::string text;
    for (const char character : random) {
        const auto byte = static_cast<unsigned char>(character);
        text += hexadecimal[byte >> 4];
        text += hexadecimal[byte & 15];
    }
    return text;
}

std::uint32_t randomBelow(std::uint32_t limit)
{
    std::uint32_t number = 0;
    fillRandom(reinterpret_cast<unsigned char*>(&number), sizeof number);
    return number % limit;
}

bool isDate(const std::string& text)
{
    // The reader itself takes shorter forms as well.
    return text.size() == 10 && dateOf(text).isValid();
}

int yearsBetween(const std::string& birthday, std::int64_t secondsSinceEpoch)
{
    const QDate birth = dateOf(birthday);
    const QDate day = timeOf(secondsSinceEpoch).date();
    const bool hadBirthday =
        std::make_pair(day.month(), day.day()) >= std::make_pair(birth.month(), birth.day());
    return day.year() - birth.year() - (hadBirthday ? 0 : 1);
}

std::string timeText(std::int64_t secondsSinceEpoch)
{
    return QLocale::c()
        .toString(timeOf(secondsSinceEpoch), QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzzZ"))
        .toStdString();
}

std::string withAsciiDomain(const std::string& address)
{
    const size_t at = address.rfind('@');
    if (at == std::string::npos)
        return address;
    const QByteArray domain = QUrl::toAce(QString::fromStdString(address.substr(at + 1)));
    return domain.isEmpty() ? address : address.substr(0, at + 1) + domain.toStdString();
}

bool isEmailAddress(const std::string& text)
{
    constexpr size_t longest = 254;
    const size_t at = text.find('@');
    if (text.size() > longest || at == 0 || at == std::string::npos)
        return false;
    const std::string_view local = std::string_view(text).substr(0, at);
    const std::string_view domain = std::string_view(text).substr(at + 1);
    const bool plainLocal = std::all_of(local.begin(), local.end(), [](unsigned char byte) {
        return byte > ' ' && byte != 0x7f &&
               std::string_view("<>()[],;:\\\"").find(static_cast<char>(byte)) ==
                   std::string_view::npos;
    });
    const std::string allowed =
        std::string(upperCase) + std::string(lowerCase) + std::string(digits) + ".-";
    return plainLocal && !domain.empty() && domain.front() != '.' && domain.back() != '.' &&
           domain.find("..") == std::string_view::npos && consistsOf(domain, allowed);
}

bool isMobileNumber(const std::string& text)
{
    return text.size() >= 7 && text.size() <= 16 && text.front() == '+' &&
           consistsOf(std::string_view(text).substr(1), digits);
}

bool isPassword(const std::string& text)
{
    constexpr size_t shortest = 4;
    constexpr size_t longest = 128;
    return text.size() >= shortest && text.size() <= longest &&
           std::none_of(text.begin(), text.end(),
                        [](unsigned char byte) { return byte < ' ' || byte == 0x7f; });
}

bool isCountry(const std::string& text)
{
    return text.size() == 2 && consistsOf(text, upperCase);
}

bool isLanguage(const std::string& text)
{
    const std::string_view language = std::string_view(text).substr(0, text.find_first_of("_-"));
    const bool hasCountry = language.size() < text.size();
    return language.size() >= 2 && language.size() <= 3 && consistsOf(language, lowerCase) &&
           (!hasCountry || isCountry(text.substr(language.size() + 1)));
}

} // namespace KelEmulator
