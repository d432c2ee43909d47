// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace KelAccount {

/// The folder beside the library that this code is part of, where its modules and catalogues are
/// installed. Absolute. Empty when that is not to be found: a path that would have to be searched
/// for could be anybody's.
QString moduleFolder();

/// A function of one of the modules that are installed in a folder beside the library. They hold
/// what few processes use and every process would pay for: a platform library of several megabytes
/// each. A module is loaded at the first call and stays. Null, with the reason logged, when it is
/// missing, which is a broken installation, or of another version, which is one that was updated
/// under a running process. It is loaded by its absolute path: neither the environment nor the
/// current folder has a say in where it comes from.
void* demandedFunction(const char* moduleName, const char* functionName);

} // namespace KelAccount
