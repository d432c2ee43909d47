// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QThread>

#include <array>
#include <cstddef>
#include <functional>

class QPixmap;

namespace KelRestHandler {

/// Calls `use` once, at once, with the picture that the bytes hold in any format that Qt reads, or
/// with a null picture when they hold none, when it has more than 16 megapixels or does not say its
/// size before it is decoded, or when there is no QGuiApplication to hold pictures. Without one, on
/// another thread than the application's, what `use` gets can be asked whether it is null and no
/// more: not even a copy can be made there.
///
/// Qt Gui costs a process several megabytes and milliseconds, and few processes ever see a captcha.
/// So the shared library does not link it: the function stands in a module that is loaded when the
/// first picture is wanted. Programs of the build tree link it directly. When the module is
/// missing, which is a broken installation, the picture is null.
void withCaptchaPicture(const QByteArray& bytes, const std::function<void(const QPixmap&)>& use);

/// While one lives, nobody on this thread looks at pictures: none is made, which Qt only allows on
/// some threads, and no module is needed. What is called with a picture may only pass it on.
class UnseenPictures
{
public:
    UnseenPictures() { ++ofThisThread; }
    ~UnseenPictures() { --ofThisThread; }
    UnseenPictures(const UnseenPictures&) = delete;
    UnseenPictures& operator=(const UnseenPictures&) = delete;

    static bool isAny() { return ofThisThread > 0; }
    /// To be passed on: there is no picture at this place. It is null to who asks only that.
    static const QPixmap& placeholder()
    {
        alignas(std::max_align_t) static std::array<std::byte, 64> place{};
        return *reinterpret_cast<const QPixmap*>(place.data());
    }

private:
    static inline thread_local int ofThisThread = 0;
};

/// Whether Qt lets this thread have a picture, a null one, too. Away from the application's thread
/// it asks the platform, and falls over its own feet where there is none.
inline bool mayHavePictures()
{
    const QCoreApplication* const application = QCoreApplication::instance();
    return application && (application->thread() == QThread::currentThread() ||
                           application->inherits("QGuiApplication"));
}

/// False when the module is missing; the reason is logged.
bool canHoldCaptchaPictures();

} // namespace KelRestHandler
