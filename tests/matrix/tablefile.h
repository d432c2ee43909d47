// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QStringList>

namespace Matrix {

/// The lines of a table's file behind its header. Says what is wrong when it cannot be read, or
/// begins otherwise.
QStringList linesOfTable(const QString& file, const QString& header, QStringList& problems);

} // namespace Matrix
