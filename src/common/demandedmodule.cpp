// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/demandedmodule.h"

#include "common/logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <climits>
#include <dlfcn.h>
#include <memory>

namespace KelAccount {

namespace {

struct Close
{
    void operator()(void* module) const { ::dlclose(module); }
};

// What module and library say to each other changes from version to version. They are two when the
// installation was updated while this process ran.
bool isOfThisVersion(void* module, const QByteArray& path)
{
    const auto* const version =
        static_cast<const char*>(::dlsym(module, "kelaccountModuleVersion"));
    if (version && qstrcmp(version, KELACCOUNT_VERSION) == 0)
        return true;
    qCCritical(logAccount,
               "%s is of version %s, the library of version " KELACCOUNT_VERSION
               ": it was updated while this application ran, which has to be started anew",
               path.constData(), version ? version : "unknown");
    return false;
}

} // namespace

QString moduleFolder()
{
    Dl_info self{};
    if (::dladdr(reinterpret_cast<const void*>(&demandedFunction), &self) == 0)
        return {};
    // A library that was found by a relative path is named by it, whatever the current folder is by
    // now. Where it was found, the loader knows.
    const std::unique_ptr<void, Close> library(::dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD));
    std::array<char, PATH_MAX> folder{};
    if (!library || ::dlinfo(library.get(), RTLD_DI_ORIGIN, folder.data()) != 0)
        return {};
    const QString name = QFileInfo(QFile::decodeName(self.dli_fname)).fileName();
    const QString real =
        QFileInfo(QFile::decodeName(folder.data()) + QLatin1Char('/') + name).canonicalFilePath();
    if (!QDir::isAbsolutePath(real))
        return {};
    return QFileInfo(real).path() + QLatin1String("/" KELACCOUNT_MODULE_FOLDER);
}

void* demandedFunction(const char* moduleName, const char* functionName)
{
    const QString folder = moduleFolder();
    if (folder.isEmpty()) {
        qCCritical(logAccount, "The folder of the library is not to be found");
        return nullptr;
    }
    const QByteArray path = QFile::encodeName(folder + QLatin1Char('/') +
                                              QLatin1String(moduleName) + QLatin1String(".so"));
    void* const module = ::dlopen(path.constData(), RTLD_NOW | RTLD_LOCAL);
    if (module && !isOfThisVersion(module, path))
        return nullptr;
    void* const function = module ? ::dlsym(module, functionName) : nullptr;
    if (!function)
        qCCritical(logAccount, "The installation is incomplete: %s", ::dlerror());
    return function;
}

} // namespace KelAccount
