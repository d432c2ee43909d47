// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/doctor/checks.h"

#include <kelaccount/statustext.h>

#include <QDir>
#include <QFileInfo>

#include <dlfcn.h>

namespace Doctor {

namespace {

constexpr const char* module = "modules";
constexpr const char* texts = "texts";

/// The folder that the loader took the library from.
QString libraryFolder()
{
    Dl_info library{};
    const auto function = static_cast<QString (*)(int)>(&KelAccount::statusName);
    if (::dladdr(reinterpret_cast<const void*>(function), &library) == 0)
        return {};
    return QFileInfo(QFileInfo(QFile::decodeName(library.dli_fname)).canonicalFilePath()).path();
}

/// Empty when the library can use the module.
QString moduleProblem(const QString& path)
{
    if (!QFileInfo::exists(path))
        return QStringLiteral("%1 is missing").arg(path);
    void* const handle = ::dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!handle)
        return QStringLiteral("cannot be loaded: %1").arg(QString::fromLocal8Bit(::dlerror()));
    const auto* const version =
        static_cast<const char*>(::dlsym(handle, "kelaccountModuleVersion"));
    const QString found = version ? QString::fromLatin1(version) : QStringLiteral("unknown");
    ::dlclose(handle);
    if (found == QLatin1String(KELACCOUNT_VERSION))
        return {};
    return QStringLiteral("%1 is of version %2, and not " KELACCOUNT_VERSION).arg(path, found);
}

} // namespace

void checkInstallation(Findings& findings)
{
    const QString folder = libraryFolder() + QLatin1String("/" KELACCOUNT_MODULE_FOLDER);
    const QString advice =
        QStringLiteral("install the library anew, all of one version (Debian: libaccounts-kel1)");
    QStringList problems;
    for (const char* name : {"accounts", "picture", "region"}) {
        const QString problem =
            moduleProblem(folder + QLatin1Char('/') + QLatin1String(name) + QLatin1String(".so"));
        if (!problem.isEmpty())
            problems.append(problem);
    }
    if (problems.isEmpty())
        findings.good(module, QStringLiteral("all modules are in %1").arg(folder));
    else
        findings.error(module, problems.join(QLatin1String(", ")), advice);
    if (QDir(folder).entryList({QStringLiteral("statustext_*.qm")}).isEmpty())
        findings.warning(texts, QStringLiteral("no catalogue is in %1").arg(folder), advice);
    else
        findings.good(texts, QStringLiteral("the catalogues are there"));
}

} // namespace Doctor
