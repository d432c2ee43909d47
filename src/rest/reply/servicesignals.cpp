// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/servicesignals.h"

#include <QMetaMethod>

namespace KelRestHandler {

void ServiceSignals::relay(ServiceSignals* from, ServiceSignals* to)
{
    const QMetaObject& meta = staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        // By number, since both are the same: what compares and checks them takes longer than the
        // rest of making the objects.
        if (meta.method(i).methodType() == QMetaMethod::Signal)
            QMetaObject::connect(from, i, to, i, Qt::DirectConnection);
    }
}

} // namespace KelRestHandler
