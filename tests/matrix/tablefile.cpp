// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/tablefile.h"

#include "support/literals.h"

#include <QFile>

using namespace KelTest;

namespace Matrix {

QStringList linesOfTable(const QString& file, const QString& header, QStringList& problems)
{
    QFile input(file);
    if (!input.open(QIODevice::ReadOnly)) {
        problems.append("%1: %2"_s.arg(file, input.errorString()));
        return {};
    }
    QStringList lines =
        QString::fromUtf8(input.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (lines.isEmpty() || lines.takeFirst() != header)
        problems.append("%1 does not begin with %2"_s.arg(file, header));
    return lines;
}

} // namespace Matrix
