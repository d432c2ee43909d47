// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/demandedmodule.h"

#include "common/logging.h"

#include <QFile>
#include <QFileInfo>

#include <dlfcn.h>

namespace KelAccount {

namespace {

QByteArray pathOf(const char* moduleName)
{
    // The folder stands beside the library that this code is part of.
    Dl_info self{};
    if (::dladdr(reinterpret_cast<const void*>(&demandedFunction), &self) == 0)
        return {};
    const QFileInfo library(QFile::decodeName(self.dli_fname));
    return QFile::encodeName(library.canonicalPath()
                             + QLatin1String("/" KELACCOUNT_MODULE_FOLDER "/")
                             + QLatin1String(moduleName) + QLatin1String(".so"));
}

} // namespace

void* demandedFunction(const char* moduleName, const char* functionName)
{
    void* const module = ::dlopen(pathOf(moduleName).constData(), RTLD_NOW | RTLD_LOCAL);
    void* const function = module ? ::dlsym(module, functionName) : nullptr;
    if (!function)
        qCCritical(logAccount, "The installation is incomplete: %s", ::dlerror());
    return function;
}

} // namespace KelAccount
