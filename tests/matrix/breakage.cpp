// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/breakage.h"

#include "matrix/breakages.h"

#include <sched.h>
#include <sys/mount.h>

namespace Matrix {

std::unique_ptr<Breakage> Breakage::make(const std::string& name)
{
    std::unique_ptr<Breakage> made = brokenProcess(name);
    if (!made)
        made = brokenDatabase(name);
    if (!made)
        made = otherApplication(name);
    return made ? std::move(made) : brokenService(name);
}

bool prepareToBreak()
{
    return ::unshare(CLONE_NEWNS) == 0 &&
           ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

} // namespace Matrix
