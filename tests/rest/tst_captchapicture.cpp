// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/picture/captchapicture.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QBuffer>
#include <QImage>
#include <QPixmap>
#include <QtEndian>
#include <QTest>

#include <limits>

using namespace KelRestHandler;

namespace {

constexpr const char* tooLarge = "A captcha picture of more than 16 megapixels is not decoded";

QByteArray encoded(const char* format, int width, int height)
{
    QImage image(width, height, QImage::Format_Mono);
    image.fill(0);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return image.save(&buffer, format) ? bytes : QByteArray();
}

QByteArray number16(int value)
{
    QByteArray bytes(2, 0);
    qToLittleEndian<quint16>(static_cast<quint16>(value), bytes.data());
    return bytes;
}

QByteArray number32(int value)
{
    QByteArray bytes(4, 0);
    qToLittleEndian<qint32>(value, bytes.data());
    return bytes;
}

// An icon that claims 16 x 16 pixels and holds the picture, said to be so long.
QByteArray iconWith(const QByteArray& picture, int length)
{
    constexpr int headerLength = 22;
    return number16(0) + number16(1) + number16(1) + QByteArray("\x10\x10\0\0", 4) + number16(1) +
           number16(32) + number32(length) + number32(headerLength) + picture;
}

QByteArray iconWith(const QByteArray& picture)
{
    return iconWith(picture, picture.size());
}

// One frame of 10 x 10 pixels on a screen of the given size.
QByteArray gifOn(int width, int height)
{
    return "GIF89a" + number16(width) + number16(height) + QByteArray("\x80\0\0", 3) +
           QByteArray("\0\0\0\xff\xff\xff", 6) + "," + number16(0) + number16(0) + number16(10) +
           number16(10) + QByteArray("\0\x02\x02\x4c\x01\0;", 7);
}

// The same bitmap, said to be of another size.
QByteArray bitmapOf(int width, int height)
{
    QByteArray bytes = encoded("bmp", 64, 32);
    constexpr int widthOffset = 18;
    constexpr int heightOffset = 22;
    bytes.replace(widthOffset, 4, number32(width));
    bytes.replace(heightOffset, 4, number32(height));
    return bytes;
}

QSize sizeOf(const QByteArray& bytes)
{
    QSize size;
    int calls = 0;
    withCaptchaPicture(bytes, [&](const QPixmap& picture) {
        size = picture.size();
        ++calls;
    });
    return calls == 1 ? size : QSize(-1, -1);
}

} // namespace

class TestCaptchaPicture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPictureIsDecodedByItsContent_data()
    {
        columns<QByteArray, QSize>("bytes", "size");
        for (const char* format : {"png", "bmp", "jpg", "ppm", "pgm", "pbm", "xbm", "xpm", "ico"})
            QTest::newRow(format) << encoded(format, 64, 32) << QSize(64, 32);
        QTest::newRow("gif") << gifOn(20, 12) << QSize(20, 12);
        QTest::newRow("icon of a png") << iconWith(encoded("png", 64, 32)) << QSize(64, 32);
        QTest::newRow("bitmap from the top") << bitmapOf(64, -32) << QSize(64, 32);
        QTest::newRow("16 megapixels") << encoded("png", 4000, 4000) << QSize(4000, 4000);
    }
    void aPictureIsDecodedByItsContent()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        const MessageLog log;
        QTEST(sizeOf(bytes), "size");
        QCOMPARE(log.all(), QStringList());
    }

    void aPictureBeyondSixteenMegapixelsIsNone_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("png") << encoded("png", 4001, 4000);
        QTest::newRow("jpg") << encoded("jpg", 4000, 4001);
        QTest::newRow("icon of a png") << iconWith(encoded("png", 4001, 4000));
        row("icon of a png, and the beginning of a larger one",
            iconWith(encoded("png", 64, 32)) + encoded("png", 4001, 4000).left(24));
        constexpr int sidesOffset = 16;
        row("icon of a png that claims sides of 32 bits",
            iconWith(encoded("png", 64, 32).replace(sidesOffset, 8, QByteArray(8, '\xC0'))));
        QTest::newRow("gif with a large screen") << gifOn(4001, 4000);
        QTest::newRow("bitmap") << bitmapOf(8000, 8000);
        QTest::newRow("bitmap from the top") << bitmapOf(8000, -8000);
        row("a few letters", QByteArray("#define a_width 30000\n#define a_height 30000\n"
                                        "static char a_bits[] = { 0x00"));
    }
    void aPictureBeyondSixteenMegapixelsIsNone()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        const MessageLog log;
        QCOMPARE(sizeOf(bytes), QSize(0, 0));
        // Qt 6 has a limit of its own, which one of the formats meets first.
        const bool qtRefused =
            QT_VERSION_MAJOR > 5 && log.all().value(0).startsWith("W QImageIOHandler: Rejecting"_s);
        QCOMPARE(log.all().size(), 1);
        if (!qtRefused)
            QCOMPARE(log.all(), QStringList("W "_s + QLatin1String(tooLarge)));
    }

    // Room for what it claims would be taken first: two gigabytes for fifty bytes, or none, which
    // ends an application.
    void anIconThatClaimsMoreThanItHasIsNone_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray png = encoded("png", 64, 32);
        row("two gigabytes", iconWith(png, std::numeric_limits<int>::max()));
        row("four", iconWith(png, -1));
        row("a cursor", iconWith(png, 1'000'000).replace(2, 2, number16(2)));
        // The second of two.
        const QByteArray icon = iconWith(png);
        row("the second", icon.left(4) + number16(2) + icon.mid(6, 16) +
                              iconWith(png, 1'000'000).mid(6, 16) + png);
    }
    void anIconThatClaimsMoreThanItHasIsNone()
    {
        QFETCH(QByteArray, bytes);
        const MessageLog log;
        QCOMPARE(sizeOf(bytes), QSize(0, 0));
        QCOMPARE(
            log.all(),
            QStringList("W A captcha picture that claims more bytes than it has is not decoded"_s));
    }

    void whatIsNoPictureIsNone_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray png = encoded("png", 64, 32);
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("text") << "captcha"_ba;
        for (const int length : {8, 16, 23, 24, 33})
            QTest::addRow("%d bytes of a png", length) << png.left(length);
        QTest::newRow("the beginning of a gif") << gifOn(20, 12).left(9);
    }
    void whatIsNoPictureIsNone()
    {
        QFETCH(QByteArray, bytes);
        QCOMPARE(sizeOf(bytes), QSize(0, 0));
    }
};

QTEST_MAIN(TestCaptchaPicture)
#include "tst_captchapicture.moc"
