// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>

/// What Qt 6 has under the same names: "a"_s is a QString, of UTF-8, and "a"_ba a QByteArray.
namespace KelTest::Literals {

inline QString operator""_s(const char* text, std::size_t size)
{
    return QString::fromUtf8(text, int(size));
}

inline QByteArray operator""_ba(const char* text, std::size_t size)
{
    return QByteArray(text, int(size));
}

inline QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace KelTest::Literals

using namespace KelTest::Literals;
