// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/platformroot.h"

namespace QtMobility {

QString platformRoot()
{
    return QStringLiteral("/");
}

} // namespace QtMobility
