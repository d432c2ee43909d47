// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDomDocument>
#include <QString>
#include <QStringView>

namespace KelRestHandler {

/// What one reply's document may cost.
///
/// QDomDocument puts no bound to that: its nodes are destroyed recursively, every node takes some
/// hundred bytes however short its text, and the attributes of one element are searched one after
/// the other. Meanwhile the caller's event loop stands still, so the most expensive document within
/// these bounds is read in less than 50 ms (bench_reply measures it). The longest answer of the
/// service, a captcha, has some ten thousand characters and ten elements.
struct ReplyBounds
{
    static constexpr int characters = 2 * 1024 * 1024;
    static constexpr int depth = 256;      ///< elements within elements
    static constexpr int markups = 10'000; ///< tags, comments and the like, attributes
    static constexpr int attributesOfOneTag = 64;
};

/// The document within what came back for a request, from its XML declaration to the end of the
/// text; a null view when there is none. Header lines may stand before it.
QStringView documentIn(QStringView text);

/// Whether the document stays within the bounds. It may be malformed all the same. A document type
/// declaration goes beyond them, too: it is what entity expansion needs, and no reply of the
/// service has one.
bool isWithinReplyBounds(QStringView xml);

/// The document as a DOM; empty when it is not well-formed or not within the bounds.
QDomDocument loadReply(const QString& xml);

} // namespace KelRestHandler
