// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDomDocument>
#include <QStringView>

namespace KelRestHandler {

/// Reads a document as the service usually writes one: an XML declaration, elements, their
/// attributes and text, in characters that stand for themselves. The nodes are those that
/// QDomDocument::setContent() makes of it without namespaces, but for their lines and columns, in a
/// third of the time.
///
/// Null for every other text, which may be a document all the same: with a reference, a comment, a
/// carriage return, say, or beyond ReplyBounds.
QDomDocument plainDocument(QStringView xml);

} // namespace KelRestHandler
