// SPDX-License-Identifier: LGPL-2.1-or-later
// Preloaded into the sign-on daemon: it gives a plugin's process five seconds to begin and one to
// end, which is too little for one that a checker slows down.
#include <QProcess>

#include <dlfcn.h>

namespace {

constexpr int patience = 20;

using Wait = bool (*)(QProcess*, int);

bool waitLonger(const char* function, QProcess* process, int milliseconds)
{
    const auto wait = reinterpret_cast<Wait>(::dlsym(RTLD_NEXT, function));
    return wait && wait(process, milliseconds < 0 ? milliseconds : patience * milliseconds);
}

} // namespace

bool QProcess::waitForReadyRead(int milliseconds)
{
    return waitLonger("_ZN8QProcess16waitForReadyReadEi", this, milliseconds);
}

bool QProcess::waitForFinished(int milliseconds)
{
    return waitLonger("_ZN8QProcess15waitForFinishedEi", this, milliseconds);
}
