// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QtGlobal>

/// What this process has, and the plugin's.
namespace Matrix {

struct Possessions
{
    double allocatedKiB = 0; ///< and not freed
    qint64 residentKiB = 0;
    int descriptors = 0;
    int threads = 0;
    int busNames = 0; ///< on the session's bus, whosever
    int timers = 0;   ///< of this thread
    int objects = 0;  ///< QObjects of all threads
    qint64 pluginKiB = 0;
    int pluginDescriptors = 0;

    /// Nothing may be under way.
    static Possessions now();
};

} // namespace Matrix
