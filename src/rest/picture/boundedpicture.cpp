// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/picture/boundedpicture.h"

#include "common/logging.h"

#include <QBuffer>
#include <QImageReader>
#include <QtEndian>

#include <algorithm>

namespace KelRestHandler {

namespace {

constexpr qint64 mostPixels = 16'000'000;

// A bitmap written from the top has a negative height. Of two sides as long as 32 bits let them be,
// the product has no room in 64.
qint64 pixels(qint64 width, qint64 height)
{
    const qint64 longer = std::max(qAbs(width), qAbs(height));
    const qint64 shorter = std::min(qAbs(width), qAbs(height));
    return shorter > 0 && longer > mostPixels ? longer : longer * shorter;
}

// An icon may hold a whole PNG picture, and is said to be as large as its list of pictures claims.
qint64 pixelsOfInnerPictures(const QByteArray& bytes)
{
    const QByteArray signature = QByteArrayLiteral("\x89PNG\r\n\x1a\n");
    constexpr int sizeOffset = 16;
    constexpr int headerLength = 24;
    qint64 most = 0;
    for (int at = bytes.indexOf(signature); at >= 0; at = bytes.indexOf(signature, at + 1)) {
        if (bytes.size() - at < headerLength)
            break;
        const char* const size = bytes.constData() + at + sizeOffset;
        most = std::max(most, pixels(qFromBigEndian<quint32>(size),
                                     qFromBigEndian<quint32>(size + sizeof(quint32))));
    }
    return most;
}

// A GIF is said to be as large as its first frame, and decoded as large as its screen.
qint64 pixelsOfScreen(const QByteArray& bytes)
{
    constexpr int sizeOffset = 6;
    constexpr int headerLength = 10;
    if (!bytes.startsWith("GIF8") || bytes.size() < headerLength)
        return 0;
    const char* const size = bytes.constData() + sizeOffset;
    return pixels(qFromLittleEndian<quint16>(size),
                  qFromLittleEndian<quint16>(size + sizeof(quint16)));
}

// An icon, or a cursor, lists its pictures, and room for one is taken before any of it is read.
bool listsMoreThanThereIs(const QByteArray& bytes)
{
    constexpr int headerLength = 6;
    constexpr int countOffset = 4;
    constexpr int entryLength = 16;
    constexpr int lengthOffset = 8;
    const bool isList = bytes.startsWith(QByteArray::fromRawData("\0\0\1\0", countOffset)) ||
                        bytes.startsWith(QByteArray::fromRawData("\0\0\2\0", countOffset));
    if (!isList || bytes.size() < headerLength)
        return false;
    const int count = qFromLittleEndian<quint16>(bytes.constData() + countOffset);
    for (int i = 0; i < count; ++i) {
        const qint64 entry = headerLength + qint64{i} * entryLength;
        if (entry + entryLength > bytes.size())
            return false;
        const auto length = qFromLittleEndian<quint32>(bytes.constData() + entry + lengthOffset);
        if (length > static_cast<quint64>(bytes.size()))
            return true;
    }
    return false;
}

} // namespace

QImage boundedPicture(const QByteArray& bytes)
{
    if (listsMoreThanThereIs(bytes)) {
        qCWarning(logRest, "A captcha picture that claims more bytes than it has is not decoded");
        return {};
    }
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    const qint64 claimed = size == QSize() ? 0 : pixels(size.width(), size.height());
    if (claimed == 0)
        return {};
    if (std::max({claimed, pixelsOfScreen(bytes), pixelsOfInnerPictures(bytes)}) > mostPixels) {
        qCWarning(logRest, "A captcha picture of more than 16 megapixels is not decoded");
        return {};
    }
    return reader.read();
}

} // namespace KelRestHandler
