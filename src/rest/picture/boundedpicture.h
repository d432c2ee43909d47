// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QImage>

class QByteArray;

namespace KelRestHandler {

/// The picture that the bytes hold in any format that Qt reads; null when they hold none.
///
/// Decoding takes memory by the size that the data claims, however few bytes there are: a picture
/// that is too large, or whose size is not known before, is not decoded.
QImage boundedPicture(const QByteArray& bytes);

} // namespace KelRestHandler
