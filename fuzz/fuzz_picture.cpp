// SPDX-License-Identifier: LGPL-2.1-or-later
// The bytes of a captcha's picture. Decoding them is Qt's matter; which are decoded is ours.
#include "fuzztarget.h"

#include "client/picturesize.h"
#include "rest/picture/boundedpicture.h"

#include <QImage>

namespace KelFuzz::Picture {

namespace {

void run(const uint8_t* data, size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    const KelAccount::PictureHead head = KelAccount::pictureHead(bytes);
    require(head.size.isNull() || !head.size.isEmpty() || !head.size.isValid());
    require(!head.size.isValid() || !head.format.isEmpty());
    const QImage picture = KelRestHandler::boundedPicture(bytes);
    require(qint64(picture.width()) * picture.height() <= 16'000'000);
    // Whoever is told a size before the picture is decoded gets one of that size.
    if (!picture.isNull() && head.format == "png")
        require(head.size == picture.size());
}

} // namespace

} // namespace KelFuzz::Picture

KEL_FUZZ_TARGET(picture, KelFuzz::Picture::run)
