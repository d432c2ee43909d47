// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDomDocument>
#include <QString>

namespace KelRestHandler {

/// A reply as a DOM, or an empty document if it is not well-formed.
///
/// QDomDocument puts no bound to what a reply may cost: its nodes are destroyed recursively, every
/// node takes some hundred bytes however short its text, and the attributes of one element are
/// searched one after the other. So a reply beyond the following bounds, all of them far above what
/// the service sends, is not loaded and gives an empty document as well.
struct ReplyBounds
{
    static constexpr int characters = 8 * 1024 * 1024;
    static constexpr int depth = 256;       ///< elements within elements
    static constexpr int markups = 100'000; ///< tags, comments and the like, attributes
    static constexpr int attributesOfOneTag = 64;
};

/// A document type declaration is refused, too: it is what entity expansion needs, and no reply of
/// the service has one.
QDomDocument loadReply(const QString& xml);

/// Whether the text stays within the bounds. It may be malformed all the same.
bool isWithinReplyBounds(const QString& xml);

} // namespace KelRestHandler
