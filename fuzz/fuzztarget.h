// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// What must hold for every input; libFuzzer takes the end of the process for a finding.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

inline QByteArray bytesOf(const uint8_t* data, size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size));
}

#ifdef KELACCOUNT_FUZZ_REPLAY

namespace KelFuzz {

/// One that the program which replays inputs knows.
struct Target
{
    Target(const char* name, void (*run)(const uint8_t* data, size_t size));
};

} // namespace KelFuzz

#define KEL_FUZZ_TARGET(name, run) static const KelFuzz::Target kelFuzzTarget_##name(#name, run);

#else

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// The target of a source: a function of an input's bytes. libFuzzer calls it, and so does the
/// program that replays inputs. Every source has a namespace of its own, since the latter is made
/// of all of them.
#define KEL_FUZZ_TARGET(name, run)                                                                 \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)                        \
    {                                                                                              \
        run(data, size);                                                                           \
        return 0;                                                                                  \
    }

#endif
