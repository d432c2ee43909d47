// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "operations/values.h"

namespace operations {

/// A document whose written form stands in data/, with the values that it is made of.
struct Body
{
    const char* name;
    QString (*make)();
};

const QVector<Body>& bodies();

QByteArray tag();

} // namespace operations
