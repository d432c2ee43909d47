// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/percentencoding.h"

#include <array>

namespace KelRestHandler {

namespace {

constexpr bool isUnreserved(int byte)
{
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z')
           || (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_'
           || byte == '~';
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
constexpr int rowWidth = sizeof(Row::text);

void append(QByteArray& out, const QString& text, const std::array<Row, 256>& table,
            int longestRow)
{
    const QByteArray bytes = text.toUtf8();
    const int start = out.size();
    out.resize(start + bytes.size() * longestRow + rowWidth);
    char* const begin = out.data();
    char* end = begin + start;
    for (const char byte : bytes) {
        const Row& row = table[static_cast<unsigned char>(byte)];
        memcpy(end, row.text, rowWidth);
        end += row.length;
    }
    out.resize(static_cast<int>(end - begin));
}

} // namespace

void appendPercentEncoded(QByteArray& out, const QString& text)
{
    append(out, text, encodedOnce, 3);
}

void appendDoublyPercentEncoded(QByteArray& out, const QString& text)
{
    append(out, text, encodedTwice, 5);
}

} // namespace KelRestHandler
