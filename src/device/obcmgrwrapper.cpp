// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/obcmgrwrapper.h"

#include "device/interruption.h"
#include "device/obcservicetag.h"
#include "rest/request/timestampmanager.h"

#include <array>
#include <utility>

namespace KelRestHandler {

bool ObcMgrWrapper::serviceTag(QByteArray& tag, const QString& key)
{
    tag.clear();
    std::array<char, 3000> bytes = {};
    unsigned length = 0;
    unsigned error = 0;
    // One byte for each character: what is not Latin-1 becomes a question mark.
    const QByteArray keyBytes = key.toLatin1();
    const bool succeeded =
        ObC_ServiceTag(keyBytes.constData(), static_cast<unsigned>(keyBytes.size()), bytes.data(),
                       &length, static_cast<int>(bytes.size()), &error) == 1;
    if (succeeded)
        tag = QByteArray::fromRawData(bytes.data(), static_cast<int>(length)).toBase64();
    return succeeded;
}

void ObcMgrWrapper::loadServiceTag(QByteArray& tag, const QString& operation)
{
    const qint32 before = std::exchange(state, LoadFailed);
    const QString key =
        operation + QLatin1Char(':') + TimeStampManager::getTimeStampManager()->timeStamp();
    if (serviceTag(tag, key))
        state = Loaded;
    else if (Interruption::isRequested())
        state = before; // nobody has failed
}

bool ObcMgrWrapper::isServiceTagAvailable()
{
    if (state == NeverLoaded) {
        QByteArray tag;
        loadServiceTag(tag, ServiceTagOperation::registration);
    }
    return state == Loaded;
}

} // namespace KelRestHandler
