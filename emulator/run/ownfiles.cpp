// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/run/ownfiles.h"

#include <filesystem>

namespace KelEmulator {

namespace {

std::string findBeside(const std::string& relativePath)
{
    namespace fs = std::filesystem;
    std::error_code failed;
    const fs::path program = fs::read_symlink("/proc/self/exe", failed);
    if (failed)
        return {};
    const fs::path file = (program.parent_path() / relativePath).lexically_normal();
    return fs::exists(file, failed) ? file.string() : std::string();
}

std::string findBuiltOrInstalled(const char* builtFolder, const char* installedFolder,
                                 const std::string& name)
{
    const std::string built = findBeside(std::string(builtFolder) + '/' + name);
    return built.empty() ? findBeside(std::string(installedFolder) + '/' + name) : built;
}

} // namespace

std::string findProgramBeside(const std::string& name)
{
    return findBeside(name);
}

std::string findModule(const std::string& name)
{
    return findBuiltOrInstalled(KELACCOUNT_MODULES_BUILT, KELACCOUNT_MODULES_INSTALLED, name);
}

std::string findSignonPlugin(const std::string& name)
{
    return findBuiltOrInstalled(KELACCOUNT_MODULES_BUILT, KELACCOUNT_SIGNON_PLUGINS_INSTALLED,
                                name);
}

std::string findSharedFile(const std::string& path)
{
    return findBuiltOrInstalled(KELACCOUNT_DATA_BUILT, KELACCOUNT_DATA_INSTALLED, path);
}

} // namespace KelEmulator
