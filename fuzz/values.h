// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "bytesource.h"

#include <QVariantMap>

#include <initializer_list>

namespace KelFuzz {

using Names = std::initializer_list<const char*>;

/// A value of one of the types that come over a bus, under names of which some are known.
QVariant valueFrom(ByteSource& source, Names names, int depth = 0);
QVariantMap mapFrom(ByteSource& source, Names names, int depth = 0);
/// One of the names, or another text.
QString nameFrom(ByteSource& source, Names names);

} // namespace KelFuzz
