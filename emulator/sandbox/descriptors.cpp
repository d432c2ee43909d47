// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sandbox/descriptors.h"

#include <cstddef>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <sys/syscall.h>
#include <unistd.h>

namespace KelEmulator {

namespace {

/// The number that is a file's name there, or -1.
int numberOf(const char* name)
{
    constexpr int longest = 9;
    int number = -1;
    for (int at = 0; name[at] != '\0'; ++at) {
        if (name[at] < '0' || name[at] > '9' || at == longest)
            return -1;
        number = (number < 0 ? 0 : number * 10) + (name[at] - '0');
    }
    return number;
}

} // namespace

void closeListedDescriptorsFrom(unsigned first)
{
    // readdir() would allocate.
    const int list = ::open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (list < 0)
        return;
    alignas(dirent64) char entries[4096];
    for (long got = 0; (got = ::syscall(SYS_getdents64, list, entries, sizeof entries)) > 0;) {
        for (long at = 0; at < got;) {
            unsigned short length = 0;
            std::memcpy(&length, entries + at + offsetof(dirent64, d_reclen), sizeof length);
            const int number = numberOf(entries + at + offsetof(dirent64, d_name));
            if (number >= static_cast<int>(first) && number != list)
                ::close(number);
            at += length;
        }
    }
    ::close(list);
}

void closeDescriptorsFrom(unsigned first)
{
#ifdef SYS_close_range
    if (::syscall(SYS_close_range, first, std::numeric_limits<unsigned>::max(), 0U) == 0)
        return;
#endif
    closeListedDescriptorsFrom(first);
}

} // namespace KelEmulator
