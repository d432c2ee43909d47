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

} // namespace

std::string findProgramBeside(const std::string& name)
{
    return findBeside(name);
}

std::string findModule(const std::string& name)
{
    const std::string built = findBeside(KELACCOUNT_MODULES_BUILT + ('/' + name));
    return built.empty() ? findBeside(KELACCOUNT_MODULES_INSTALLED + ('/' + name)) : built;
}

std::string findSignonPlugin(const std::string& name)
{
    const std::string built = findBeside(KELACCOUNT_MODULES_BUILT + ('/' + name));
    return built.empty() ? findBeside(KELACCOUNT_SIGNON_PLUGINS_INSTALLED + ('/' + name)) : built;
}

std::string findSharedFile(const std::string& path)
{
    return findBeside(KELACCOUNT_DATA_FOLDER + ('/' + path));
}

} // namespace KelEmulator
