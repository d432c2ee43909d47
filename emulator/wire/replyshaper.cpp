// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/replyshaper.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace KelEmulator {

namespace {

constexpr std::string_view endOfHeaders = "\r\n\r\n";
constexpr std::string_view lengthHeader = "\r\nContent-Length: ";
constexpr std::uint64_t lengthTooMuch = 100;
constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();

} // namespace

void ReplyShaper::begin(std::string date)
{
    mDate = std::move(date);
    mFault = {};
    mHeaders.clear();
    mInBody = false;
    mBodyLeft = unlimited;
}

bool ReplyShaper::closesAfterReply() const
{
    return mFault.kind == Fault::Kind::LongLength || mFault.kind == Fault::Kind::ShortLength;
}

void ReplyShaper::changeLength(std::string& headers, std::uint64_t& bodyLength) const
{
    const size_t at = headers.find(lengthHeader);
    if (at == std::string::npos)
        return;
    const size_t begin = at + lengthHeader.size();
    const size_t end = headers.find('\r', begin);
    std::from_chars(headers.data() + begin, headers.data() + end, bodyLength);
    std::uint64_t announced = bodyLength;
    if (mFault.kind == Fault::Kind::LongLength)
        announced += lengthTooMuch;
    else if (mFault.kind == Fault::Kind::ShortLength)
        announced /= 2;
    headers.replace(begin, end - begin, std::to_string(announced));
}

bool ReplyShaper::feedHeaders(std::string& wire)
{
    std::uint64_t bodyLength = 0;
    changeLength(mHeaders, bodyLength);
    mHeaders.insert(mHeaders.find("\r\n") + 2, "Date: " + mDate + "\r\n");
    switch (mFault.kind) {
    case Fault::Kind::CloseBeforeHeaders:
        return false;
    case Fault::Kind::CloseInHeaders:
        wire.append(mHeaders, 0, mHeaders.size() / 2);
        return false;
    case Fault::Kind::CloseAfterHeaders:
        wire.append(mHeaders);
        return false;
    case Fault::Kind::CutBody:
        mBodyLeft = bodyLength / 2;
        break;
    default:
        break;
    }
    wire.append(mHeaders);
    return true;
}

bool ReplyShaper::feed(std::string_view bytes, std::string& wire)
{
    if (!mInBody) {
        mHeaders.append(bytes);
        const size_t end = mHeaders.find(endOfHeaders);
        if (end == std::string::npos)
            return true;
        const std::string rest = mHeaders.substr(end + endOfHeaders.size());
        mHeaders.resize(end + endOfHeaders.size());
        if (mHeaders.rfind("HTTP/1.1 1", 0) == 0) {
            // "100 Continue" goes ahead of the reply proper.
            wire.append(mHeaders);
            mHeaders.clear();
            return feed(rest, wire);
        }
        mInBody = true;
        if (!feedHeaders(wire)) {
            // The library goes on with the body all the same.
            mBodyLeft = 0;
            return false;
        }
        return rest.empty() || feed(rest, wire);
    }
    const auto room = static_cast<size_t>(std::min<std::uint64_t>(mBodyLeft, bytes.size()));
    wire.append(bytes.substr(0, room));
    if (mBodyLeft != unlimited)
        mBodyLeft -= room;
    return mBodyLeft != 0;
}

} // namespace KelEmulator
