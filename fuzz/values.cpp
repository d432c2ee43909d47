// SPDX-License-Identifier: LGPL-2.1-or-later
#include "values.h"

#include <QStringList>

namespace KelFuzz {

namespace {

constexpr int deepest = 3;
constexpr int mostEntries = 8;

// As a bus has them: without a null character, and whole.
QString textFrom(ByteSource& source)
{
    const QString text = QString::fromUtf8(source.block());
    return QString(text).remove(QChar::Null);
}

} // namespace

QString nameFrom(ByteSource& source, Names names)
{
    const auto index = static_cast<size_t>(source.byte());
    return index < names.size() ? QLatin1String(names.begin()[index]) : textFrom(source);
}

QVariantMap mapFrom(ByteSource& source, Names names, int depth)
{
    QVariantMap map;
    for (int i = source.below(mostEntries + 1); i > 0 && !source.isEmpty(); --i) {
        const QString name = nameFrom(source, names);
        map.insert(name, valueFrom(source, names, depth + 1));
    }
    return map;
}

QVariant valueFrom(ByteSource& source, Names names, int depth)
{
    switch (source.below(12)) {
    case 0:
        return source.below(2) == 1;
    case 1:
        return static_cast<int>(source.number());
    case 2:
        return static_cast<uint>(source.number());
    case 3:
        return qlonglong(source.number());
    case 4:
        return static_cast<double>(source.number()) / 3;
    case 5:
        return source.block();
    case 6: {
        QStringList list;
        for (int i = source.below(4); i > 0; --i)
            list.append(nameFrom(source, names));
        return list;
    }
    case 7:
        return depth < deepest ? QVariant(mapFrom(source, names, depth)) : QVariant(true);
    case 8:
        return source.byte(); // a small number, as an int
    default:
        return textFrom(source);
    }
}

} // namespace KelFuzz
