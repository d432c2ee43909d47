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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
