// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/tagreply.h"

#include <QtEndian>

#include <cstring>

namespace KelRestHandler {

namespace {

constexpr std::size_t statusSize = 1;
constexpr std::size_t errorSize = 4;
static_assert(std::tuple_size<TagReply>::value >= statusSize + errorSize);

} // namespace

int readTagReply(const TagReply& reply, std::size_t size, void* tag, unsigned* tagLength,
                 int capacity, unsigned* error)
{
    if (reply[0] == 0) {
        *error = qFromBigEndian<quint32>(reply.data() + statusSize);
        return 0;
    }
    const std::size_t tagSize = size - statusSize;
    if (capacity > 0 && tagSize < static_cast<std::size_t>(capacity)) {
        std::memcpy(tag, reply.data() + statusSize, tagSize);
        *tagLength = static_cast<unsigned>(tagSize);
    }
    return 1;
}

} // namespace KelRestHandler
