// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/picture/captchapicture.h"

#include "common/logging.h"
#include "rest/picture/boundedpicture.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>

namespace KelRestHandler {

void withCaptchaPicture(const QByteArray& bytes, const std::function<void(const QPixmap&)>& use)
{
    if (UnseenPictures::isAny()) {
        use(UnseenPictures::placeholder());
        return;
    }
    // Without a QGuiApplication, filling a QPixmap ends the process.
    const bool mayFill = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (!mayFill && !bytes.isEmpty())
        qCWarning(logRest,
                  "A captcha picture needs a QGuiApplication; a null picture is delivered");
    if (!mayHavePictures()) {
        // The one constructor that does not ask for the platform first.
        use(QPixmap(static_cast<QPlatformPixmap*>(nullptr)));
        return;
    }
    QPixmap picture;
    if (mayFill && !bytes.isEmpty())
        picture = QPixmap::fromImage(boundedPicture(bytes));
    use(picture);
}

bool canHoldCaptchaPictures()
{
    return true;
}

} // namespace KelRestHandler
