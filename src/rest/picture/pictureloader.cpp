// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/demandedmodule.h"
#include "rest/picture/captchapicture.h"

// For its size alone: Qt Gui is not linked.
#include <QPixmap>

#include <array>
#include <cstddef>

#include <dlfcn.h>

namespace KelRestHandler {

namespace {

using WithPicture = void (*)(const QByteArray&, const std::function<void(const QPixmap&)>&);

WithPicture moduleFunction()
{
    static const auto function = reinterpret_cast<WithPicture>(
        KelAccount::demandedFunction("picture", "kelaccount_with_captcha_picture"));
    return function;
}

// A null picture where the module is missing. Qt Gui makes it when the process has it without us;
// otherwise nobody in the process can look at a picture, and a place where none is will do.
const QPixmap& nullPicture()
{
    if (!mayHavePictures())
        return UnseenPictures::placeholder();
    alignas(QPixmap) static std::array<std::byte, sizeof(QPixmap)> place{};
    static const bool made = [] {
        void* const gui = ::dlopen("libQt5Gui.so.5", RTLD_NOW | RTLD_NOLOAD);
        // QPixmap::QPixmap()
        void* const constructor = gui ? ::dlsym(gui, "_ZN7QPixmapC1Ev") : nullptr;
        if (constructor)
            reinterpret_cast<void (*)(void*)>(constructor)(place.data());
        return constructor != nullptr;
    }();
    Q_UNUSED(made)
    return *reinterpret_cast<const QPixmap*>(place.data());
}

} // namespace

void withCaptchaPicture(const QByteArray& bytes, const std::function<void(const QPixmap&)>& use)
{
    if (UnseenPictures::isAny()) {
        use(UnseenPictures::placeholder());
        return;
    }
    if (const WithPicture function = moduleFunction())
        function(bytes, use);
    else
        use(nullPicture());
}

bool canHoldCaptchaPictures()
{
    return UnseenPictures::isAny() || moduleFunction() != nullptr;
}

} // namespace KelRestHandler
