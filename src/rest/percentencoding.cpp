// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/percentencoding.h"

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
    char16_t text[7];
    char16_t length;
};

constexpr std::array<Row, 256> makeTable(bool twice)
{
    constexpr char16_t digits[] = u"0123456789ABCDEF";
    std::array<Row, 256> table{};
    for (int byte = 0; byte < 256; ++byte) {
        Row& row = table[static_cast<size_t>(byte)];
        if (isUnreserved(byte)) {
            row.text[0] = static_cast<char16_t>(byte);
            row.length = 1;
            continue;
        }
        row.text[row.length++] = u'%';
        if (twice) {
            // "%" itself is encoded the second time.
            row.text[row.length++] = u'2';
            row.text[row.length++] = u'5';
        }
        row.text[row.length++] = digits[byte >> 4];
        row.text[row.length++] = digits[byte & 15];
    }
    return table;
}

constexpr std::array<Row, 256> encodedOnce = makeTable(false);
constexpr std::array<Row, 256> encodedTwice = makeTable(true);
constexpr int longestRow = 5;
constexpr int rowWidth = sizeof(Row) / sizeof(char16_t);

// Encodes bytes or ASCII characters: one row each.
template <typename Character>
void appendRows(QString& out, const Character* begin, const Character* end,
                const std::array<Row, 256>& table)
{
    // Room is made for the longest rows there can be, so a long text goes in portions.
    constexpr std::ptrdiff_t portion = 4096;
    while (begin != end) {
        const Character* const stop = begin + std::min(portion, end - begin);
        const int start = out.size();
        out.resize(start + static_cast<int>(stop - begin) * longestRow + rowWidth);
        auto* const first = reinterpret_cast<char16_t*>(out.data());
        char16_t* to = first + start;
        for (; begin != stop; ++begin) {
            const Row& row = table[*begin];
            memcpy(to, &row, sizeof row);
            to += row.length;
        }
        out.resize(static_cast<int>(to - first));
    }
}

void append(QString& out, const QString& text, const std::array<Row, 256>& table)
{
    const ushort* const begin = text.utf16();
    const ushort* const end = begin + text.size();
    // ASCII, which most of every text is, needs no UTF-8 to be made of it first.
    const ushort* const firstOther =
        std::find_if(begin, end, [](ushort character) { return character > 0x7F; });
    appendRows(out, begin, firstOther, table);
    if (firstOther == end)
        return;
    const QByteArray bytes = QStringView(firstOther, end - firstOther).toUtf8();
    const auto* const firstByte = reinterpret_cast<const uchar*>(bytes.constData());
    appendRows(out, firstByte, firstByte + bytes.size(), table);
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
