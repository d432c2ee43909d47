// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/picture/captchapicture.h"

#include <QFile>
#include <QFileInfo>

#include <dlfcn.h>

namespace KelRestHandler {

namespace {

using WithPicture = void (*)(const QByteArray&, const std::function<void(const QPixmap&)>&);

// The module is installed in a folder beside the library that this code is part of.
QByteArray modulePath()
{
    Dl_info self{};
    if (::dladdr(reinterpret_cast<const void*>(&withCaptchaPicture), &self) == 0)
        return {};
    const QFileInfo library(QFile::decodeName(self.dli_fname));
    return QFile::encodeName(library.canonicalPath()
                             + QLatin1String("/" KELACCOUNT_PICTURE_MODULE));
}

WithPicture load()
{
    void* const module = ::dlopen(modulePath().constData(), RTLD_NOW | RTLD_LOCAL);
    if (!module)
        return nullptr;
    return reinterpret_cast<WithPicture>(::dlsym(module, "kelaccount_with_captcha_picture"));
}

} // namespace

void withCaptchaPicture(const QByteArray& bytes, const std::function<void(const QPixmap&)>& use)
{
    static const WithPicture function = load();
    // As for any library that is missing from an installation.
    if (!function)
        qFatal("Failed to load %s", modulePath().constData());
    function(bytes, use);
}

} // namespace KelRestHandler
