// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/records/profileinfo.h"

namespace KelRestHandler {

QByteArray ProfileInfo::serialize() const
{
    QByteArray bytes;
    mData.serialize(bytes);
    return bytes;
}

} // namespace KelRestHandler
