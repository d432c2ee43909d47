// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/servicesignals.h"

#include <QMetaMethod>

namespace KelRestHandler {

void ServiceSignals::relay(ServiceSignals* from, ServiceSignals* to)
{
    const QMetaObject& meta = staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() == QMetaMethod::Signal)
            connect(from, method, to, method, Qt::DirectConnection);
    }
}

} // namespace KelRestHandler
