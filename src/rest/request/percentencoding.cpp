// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/percentencoding.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace KelRestHandler {

namespace {

constexpr bool isUnreserved(int byte)
{
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_' || byte == '~';
}

// What one byte becomes, and how long that is. Writing the whole row and advancing by its length
// needs no branch on the byte's kind.
struct Row
{
    char text[7];
    unsigned char length;
};

constexpr std::array<Row, 256> makeTable(bool twice)
{
    constexpr char digits[] = "0123456789ABCDEF";
    std::array<Row, 256> table{};
    for (int byte = 0; byte < 256; ++byte) {
        Row& row = table[static_cast<size_t>(byte)];
        if (isUnreserved(byte)) {
            row.text[0] = static_cast<char>(byte);
            row.length = 1;
            continue;
        }
        row.text[row.length++] = '%';
        if (twice) {
            // "%" itself is encoded the second time.
            row.text[row.length++] = '2';
            row.text[row.length++] = '5';
        }
        row.text[row.length++] = digits[byte >> 4];
        row.text[row.length++] = digits[byte & 15];
    }
    return table;
}

constexpr std::array<Row, 256> encodedOnce = makeTable(false);
constexpr std::array<Row, 256> encodedTwice = makeTable(true);
constexpr std::ptrdiff_t longestRow = 5;

// Encodes bytes or ASCII characters. They go through bytes on the stack: widening many at once is
// cheap, writing every row in text's double width is not.
template <typename Character>
void appendRows(QString& out, const Character* begin, const Character* end,
                const std::array<Row, 256>& table)
{
    constexpr std::ptrdiff_t portion = 1024;
    std::array<char, portion * longestRow + sizeof(Row)> encoded;
    while (begin != end) {
        const Character* const stop = begin + std::min(portion, end - begin);
        char* to = encoded.data();
        for (; begin != stop; ++begin) {
            const Row& row = table[*begin];
            memcpy(to, &row, sizeof row);
            to += row.length;
        }
        out += QLatin1String(encoded.data(), static_cast<int>(to - encoded.data()));
    }
}

bool isAscii(const QString& text)
{
    // No way out of the loop: so it is done on many characters at once.
    ushort bits = 0;
    for (const QChar character : text)
        bits |= character.unicode();
    return bits <= 0x7F;
}

void append(QString& out, const QString& text, const std::array<Row, 256>& table)
{
    // ASCII, which most texts are, needs no UTF-8 to be made of it first.
    if (isAscii(text)) {
        const ushort* const characters = text.utf16();
        appendRows(out, characters, characters + text.size(), table);
        return;
    }
    const QByteArray utf8 = text.toUtf8();
    const auto* const bytes = reinterpret_cast<const uchar*>(utf8.constData());
    appendRows(out, bytes, bytes + utf8.size(), table);
}

} // namespace

void appendPercentEncoded(QString& out, const QString& text)
{
    append(out, text, encodedOnce);
}

void appendDoublyPercentEncoded(QString& out, const QString& text)
{
    append(out, text, encodedTwice);
}

} // namespace KelRestHandler
