// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/picture/captchapicture.h"

#include "common/logging.h"

#include <QGuiApplication>
#include <QPixmap>

namespace KelRestHandler {

void withCaptchaPicture(const QByteArray& bytes, const std::function<void(const QPixmap&)>& use)
{
    QPixmap picture;
    // Without a QGuiApplication, filling a QPixmap ends the process.
    if (!bytes.isEmpty()) {
        if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
            picture.loadFromData(bytes);
        else
            qCWarning(logRest,
                      "A captcha picture needs a QGuiApplication; a null picture is delivered");
    }
    use(picture);
}

} // namespace KelRestHandler
