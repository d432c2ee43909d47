// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/replyshaper.h"

namespace KelEmulator {

std::uint64_t announcedLength(const Fault& fault, std::uint64_t bodyLength)
{
    constexpr std::uint64_t tooMuch = 100;
    switch (fault.kind) {
    case Fault::Kind::LongLength:
        return bodyLength + tooMuch;
    case Fault::Kind::ShortLength:
        return bodyLength / 2;
    default:
        return bodyLength;
    }
}

ReplyShape shapeOf(const Fault& fault, std::uint64_t headerLength, std::uint64_t bodyLength)
{
    switch (fault.kind) {
    case Fault::Kind::Hang:
    case Fault::Kind::WrongHost:
        // Whoever hung gets no answer in the end. A certificate shows in the next connection alone:
        // the client has to make one.
    case Fault::Kind::CloseBeforeHeaders:
        return {0, 0, true};
    case Fault::Kind::CloseInHeaders:
        return {headerLength / 2, 0, true};
    case Fault::Kind::CloseAfterHeaders:
        return {headerLength, 0, true};
    case Fault::Kind::CutBody:
        return {headerLength, bodyLength / 2, true};
    case Fault::Kind::LongLength:
    case Fault::Kind::ShortLength:
        return {headerLength, bodyLength, true};
    case Fault::Kind::None:
    case Fault::Kind::Delay:
    case Fault::Kind::Status:
    case Fault::Kind::NotXml:
    case Fault::Kind::HugeBody:
        break;
    }
    return {headerLength, bodyLength, false};
}

} // namespace KelEmulator
