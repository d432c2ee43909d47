// SPDX-License-Identifier: LGPL-2.1-or-later
// What the first bytes of a captcha's picture say: as an encoder writes them, and as the formats
// are laid out.
#include "client/picturesize.h"
#include "support/literals.h"

#include <QBuffer>
#include <QImage>
#include <QTest>

using KelAccount::PictureHead;
using KelAccount::pictureHead;

class TestPictureSize : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anEncodedPictureIsMeasured_data();
    void anEncodedPictureIsMeasured();
    void aHeadIsRead_data();
    void aHeadIsRead();
    void aHeadThatIsCutHasNoSize_data();
    void aHeadThatIsCutHasNoSize();

private:
    static QByteArray hex(const char* digits) { return QByteArray::fromHex(digits); }
};

namespace {

const char pngHead[] = "89504e470d0a1a0a 0000000d 49484452 00010203 00000405";
const char gifHead[] = "474946383961 0201 0403";
const char bmpHead[] = "424d 00000000 00000000 36000000 28000000 03020100 05040000";
const char jpegHead[] = "ffd8 ffe0 0004 4a46 ffc0 0011 08 0102 0304 03";

} // namespace

void TestPictureSize::anEncodedPictureIsMeasured_data()
{
    QTest::addColumn<QByteArray>("format");
    for (const char* format : {"png", "jpeg", "bmp"})
        QTest::newRow(format) << QByteArray(format);
}

void TestPictureSize::anEncodedPictureIsMeasured()
{
    QFETCH(QByteArray, format);
    const QSize size(300, 7);
    QImage image(size, QImage::Format_RGB32);
    image.fill(0x336699);
    QBuffer file;
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(image.save(&file, format.constData()));
    const PictureHead head = pictureHead(file.data());
    QCOMPARE(head.format, format);
    QCOMPARE(head.size, size);
}

void TestPictureSize::aHeadIsRead_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<QSize>("size");
    const QSize none;
    QTest::newRow("nothing") << QByteArray() << QByteArray() << none;
    QTest::newRow("a text") << "<html>"_ba << QByteArray() << none;

    QTest::newRow("png") << hex(pngHead) << "png"_ba << QSize(0x010203, 0x0405);
    QTest::newRow("png, one by one")
        << hex("89504e470d0a1a0a 0000000d 49484452 00000001 00000001") << "png"_ba << QSize(1, 1);
    QTest::newRow("png without width")
        << hex("89504e470d0a1a0a 0000000d 49484452 00000000 00000001") << "png"_ba << none;
    QTest::newRow("png without height")
        << hex("89504e470d0a1a0a 0000000d 49484452 00000001 00000000") << "png"_ba << none;
    QTest::newRow("png of a negative width")
        << hex("89504e470d0a1a0a 0000000d 49484452 ffffffff 00000001") << "png"_ba << none;

    QTest::newRow("gif") << hex(gifHead) << "gif"_ba << QSize(0x0102, 0x0304);
    QTest::newRow("gif without height") << hex("474946383761 0201 0000") << "gif"_ba << none;
    QTest::newRow("gif as wide as can be")
        << hex("474946383761 ffff 0100") << "gif"_ba << QSize(0xFFFF, 1);

    const QByteArray bmp = hex("424d 00000000 00000000 36000000 28000000 03020100");
    QTest::newRow("bmp") << hex(bmpHead) << "bmp"_ba << QSize(0x010203, 0x0405);
    QTest::newRow("bmp from top to bottom")
        << bmp + hex("feffffff") << "bmp"_ba << QSize(0x010203, 2);
    QTest::newRow("bmp without rows") << bmp + hex("00000000") << "bmp"_ba << none;
    QTest::newRow("bmp whose height has no opposite") << bmp + hex("00000080") << "bmp"_ba << none;

    const QSize inFrame(0x0304, 0x0102);
    QTest::newRow("jpeg") << hex(jpegHead) << "jpeg"_ba << inFrame;
    // What looks like a frame inside another segment is none.
    for (const char* marker : {"c4", "c8", "cc", "db", "e1", "fe"}) {
        QTest::newRow(QByteArray("jpeg with a segment ") + marker)
            << hex("ffd8 ff") + hex(marker) + hex("000b 08 1111 2222 03 ffff 00") +
                   hex("ffc0 0011 08 0102 0304 03")
            << "jpeg"_ba << inFrame;
    }
    for (const char* marker : {"c0", "c1", "c2", "c3", "c5", "cb", "cd", "cf"}) {
        QTest::newRow(QByteArray("jpeg with a frame ") + marker)
            << hex("ffd8 ff") + hex(marker) + hex("0011 08 0102 0304 03") << "jpeg"_ba << inFrame;
    }
    QTest::newRow("jpeg with an empty segment")
        << hex("ffd8 ffe0 0002 ffc0 0011 08 0102 0304 03") << "jpeg"_ba << inFrame;
    QTest::newRow("jpeg with a segment of more than 255 bytes")
        << hex("ffd8 ffe0 0102") + QByteArray(0x100, '\xFF') + hex("ffc0 0011 08 0102 0304 03")
        << "jpeg"_ba << inFrame;
    QTest::newRow("jpeg with a segment that has no length")
        << hex("ffd8 ffe0 0001 ffc0 0011 08 0102 0304 03") << "jpeg"_ba << none;
    QTest::newRow("jpeg with a segment that goes nowhere")
        << hex("ffd8 ffe0 0000 ffc0 0011 08 0102 0304 03") << "jpeg"_ba << none;
    QTest::newRow("jpeg with something between its segments")
        << hex("ffd8 ffe0 0002 00c0 0011 08 0102 0304 03") << "jpeg"_ba << none;
}

void TestPictureSize::aHeadIsRead()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, format);
    QFETCH(QSize, size);
    const PictureHead head = pictureHead(bytes);
    QCOMPARE(head.format, format);
    QCOMPARE(head.size, size);
    // What follows is the picture's data, and says nothing of its size.
    QCOMPARE(pictureHead(bytes + QByteArray(1000, 'x')).size, size);
}

void TestPictureSize::aHeadThatIsCutHasNoSize_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("needed");
    const auto row = [](const char* name, const char* digits, int behindTheSize) {
        const QByteArray bytes = hex(digits);
        QTest::newRow(name) << bytes << bytes.size() - behindTheSize;
    };
    row("png", pngHead, 0);
    row("gif", gifHead, 0);
    row("bmp", bmpHead, 0);
    row("jpeg", jpegHead, 1);
}

void TestPictureSize::aHeadThatIsCutHasNoSize()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, needed);
    for (int length = 0; length < needed; ++length)
        QVERIFY2(!pictureHead(bytes.left(length)).size.isValid(),
                 qPrintable(QString::number(length)));
    QVERIFY(pictureHead(bytes.left(needed)).size.isValid());
}

QTEST_GUILESS_MAIN(TestPictureSize)
#include "tst_picturesize.moc"
