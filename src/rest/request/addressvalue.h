// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QStringView>

namespace KelRestHandler {

// Values of users and applications stand in addresses as they are. A name like "a/../b" or "a?b"
// would make another address of them, which is answered for somebody else.

/// Whether the value, as a segment of a path, stays that one segment: it has no "/", "?", "#" or
/// "%" and no control character, and is neither "." nor "..". An empty one is whole, too.
bool isWholeInPath(QStringView value);

/// Whether the value also stays one value in a query: without "&" and "=" besides.
bool isWholeInQuery(QStringView value);

/// The same of a value that must not be missing: one that is not whole counts as if it were.
bool isGivenInPath(QStringView value);
bool isGivenInQuery(QStringView value);

} // namespace KelRestHandler
