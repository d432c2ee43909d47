// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/descriptor.h"

#include <memory>
#include <string>
#include <sys/types.h>

namespace KelEmulator {

/// A temporary folder that only this user may enter, and that vanishes with this process however
/// the process ends.
///
/// A small child waits for the end of a pipe that only this process holds, and removes the folder.
/// Make it before any thread is started.
class PrivateFolder
{
public:
    /// Null, and why in `problem`.
    static std::unique_ptr<PrivateFolder> make(std::string& problem);
    ~PrivateFolder();

    const std::string& path() const { return mPath; }
    /// Path of the new file, empty when it could not be written.
    std::string write(const char* name, const std::string& content) const;

private:
    PrivateFolder(std::string path, Descriptor lifeline, pid_t sweeper);

    std::string mPath;
    Descriptor mLifeline;
    pid_t mSweeper;
};

} // namespace KelEmulator
