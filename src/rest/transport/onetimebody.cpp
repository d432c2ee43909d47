// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/onetimebody.h"

#include "common/wipe.h"

#include <cstring>

namespace KelRestHandler {

// Unbuffered, so that pos() is where the next byte of mBytes is read.
OneTimeBody::OneTimeBody(const QByteArray& bytes, QObject* parent)
    : QIODevice(parent), mBytes(bytes)
{
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

OneTimeBody::~OneTimeBody()
{
    KelAccount::wipe(mBytes);
}

qint64 OneTimeBody::readData(char* data, qint64 maximum)
{
    const qint64 count = qMin(maximum, size() - pos());
    if (count <= 0)
        return 0;
    std::memcpy(data, mBytes.constData() + pos(), static_cast<size_t>(count));
    return count;
}

qint64 OneTimeBody::writeData(const char* /*data*/, qint64 /*length*/)
{
    return -1;
}

} // namespace KelRestHandler
