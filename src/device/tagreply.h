// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstddef>

namespace KelRestHandler {

/// What one read from the tag server may bring. Zeros stand behind a shorter reply: a failure may
/// come without, or with half of, its error number.
using TagReply = std::array<unsigned char, 4096>;

/// Reads the first `size` bytes of a reply, at least one. 1 with the tag's bytes and their number;
/// a tag that does not fit into less than `capacity` bytes is dropped: 1 and no bytes. 0 with the
/// server's error number.
int readTagReply(const TagReply& reply, std::size_t size, void* tag, unsigned* tagLength,
                 int capacity, unsigned* error);

} // namespace KelRestHandler
