// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace KelRestHandler {

/// Whether the service answers some operation with such an element. A document with another root is
/// not read. The operations say which there are.
bool isResponseRoot(const QString& tag);

} // namespace KelRestHandler
