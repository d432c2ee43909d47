// SPDX-License-Identifier: LGPL-2.1-or-later
// A tag server's reply. The first two bytes choose the room for the tag, the others are the reply.
#include "fuzztarget.h"

#include "device/tagreply.h"

#include <algorithm>
#include <vector>

namespace KelFuzz::Tagreply {

namespace {

using namespace KelRestHandler;

void run(const uint8_t* data, size_t size)
{
    if (size < 3)
        return;
    // From -100 upwards, since the room is a signed number.
    const int capacity = data[0] * 256 + data[1] - 100;
    TagReply reply = {};
    const size_t replySize = std::min(size - 2, reply.size());
    std::copy_n(data + 2, replySize, reply.begin());

    // Exactly as much room as is promised: a byte more would be noticed.
    std::vector<unsigned char> tag(static_cast<size_t>(std::max(capacity, 0)));
    unsigned length = 0;
    unsigned error = 0;
    const int result = readTagReply(reply, replySize, tag.data(), &length, capacity, &error);
    require(result == (reply[0] == 0 ? 0 : 1));
    require(length == 0 || (result == 1 && length == replySize - 1));
    require(capacity <= 0 ? length == 0 : length < static_cast<unsigned>(capacity));
    require(std::equal(tag.begin(), tag.begin() + length, reply.begin() + 1));
}

} // namespace

} // namespace KelFuzz::Tagreply

KEL_FUZZ_TARGET(tagreply, KelFuzz::Tagreply::run)
