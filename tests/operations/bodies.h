// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "operations/values.h"

namespace operations {

/// A document whose written form stands in data/, made of the values that this has.
struct Body
{
    const char* name;
    QString xml; ///< a sign-in's has a nonce of its own each time
};

QVector<Body> bodies();

QByteArray tag();

} // namespace operations
