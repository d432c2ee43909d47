// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QMetaType>

namespace KelAccount {

/// Registers a type under a name, as qRegisterMetaType() does, unless the name is taken: names are
/// the whole process's, and an application may have given it to a type of its own before. Nothing
/// here relies on having the name; with the other type's size, Qt would end the process, or values
/// would be taken for that type.
template <class Type>
void registerTypeName(const char* name)
{
    if (QMetaType::type(name) == QMetaType::UnknownType)
        qRegisterMetaType<Type>(name);
}

} // namespace KelAccount
