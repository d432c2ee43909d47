// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/picturesize.h"

#include <QtEndian>

namespace KelAccount {

namespace {

// Only called for what was found to be long enough.
template <class Number>
int big(const QByteArray& bytes, int at)
{
    return static_cast<int>(qFromBigEndian<Number>(bytes.constData() + at));
}

template <class Number>
int little(const QByteArray& bytes, int at)
{
    return static_cast<int>(qFromLittleEndian<Number>(bytes.constData() + at));
}

QSize sized(int width, int height)
{
    return width > 0 && height > 0 ? QSize(width, height) : QSize();
}

QSize pngSize(const QByteArray& bytes)
{
    constexpr int end = 24;
    return bytes.size() >= end ? sized(big<qint32>(bytes, 16), big<qint32>(bytes, 20)) : QSize();
}

QSize gifSize(const QByteArray& bytes)
{
    constexpr int end = 10;
    return bytes.size() >= end ? sized(little<quint16>(bytes, 6), little<quint16>(bytes, 8))
                               : QSize();
}

QSize bmpSize(const QByteArray& bytes)
{
    constexpr int end = 26;
    // A negative height stands for rows from top to bottom.
    if (bytes.size() < end)
        return {};
    const int height = little<qint32>(bytes, 22);
    return sized(little<qint32>(bytes, 18), height < 0 && height > -0x7FFFFFFF ? -height : height);
}

bool isStartOfFrame(uchar marker)
{
    // The other three of the row are tables and extensions.
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

// The size stands in one of the segments in front of the picture's data.
QSize jpegSize(const QByteArray& bytes)
{
    int at = 2;
    while (at + 9 <= bytes.size() && static_cast<uchar>(bytes[at]) == 0xFF) {
        const auto marker = static_cast<uchar>(bytes[at + 1]);
        if (isStartOfFrame(marker))
            return sized(big<quint16>(bytes, at + 7), big<quint16>(bytes, at + 5));
        const int length = big<quint16>(bytes, at + 2);
        if (length < 2)
            return {};
        at += 2 + length;
    }
    return {};
}

} // namespace

PictureHead pictureHead(const QByteArray& bytes)
{
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        return {QByteArrayLiteral("png"), pngSize(bytes)};
    if (bytes.startsWith("GIF8"))
        return {QByteArrayLiteral("gif"), gifSize(bytes)};
    if (bytes.startsWith("\xFF\xD8\xFF"))
        return {QByteArrayLiteral("jpeg"), jpegSize(bytes)};
    if (bytes.startsWith("BM"))
        return {QByteArrayLiteral("bmp"), bmpSize(bytes)};
    return {};
}

} // namespace KelAccount
