// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QSize>

namespace KelAccount {

/// What the first bytes of an encoded picture say of it.
struct PictureHead
{
    QByteArray format; ///< "png", "jpeg", "gif" or "bmp"; empty for none of these
    QSize size;        ///< invalid when it cannot be read
};

/// Without decoding the picture, and so without anything that draws.
PictureHead pictureHead(const QByteArray& bytes);

} // namespace KelAccount
