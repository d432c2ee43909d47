// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/fault.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace KelEmulator {

/// Stands between the HTTP library and the wire: puts the "Date:" header into each reply and lets
/// an ordered fault take its effect on the bytes.
class ReplyShaper
{
public:
    /// Begins the next reply.
    void begin(std::string date);
    void setFault(const Fault& fault) { mFault = fault; }

    /// Takes bytes of the reply and appends to `wire` what goes out. False when the connection has
    /// to be closed after that.
    bool feed(std::string_view bytes, std::string& wire);

    /// Whether the connection must be closed once the reply is out.
    bool closesAfterReply() const;

private:
    bool feedHeaders(std::string& wire);
    void changeLength(std::string& headers, std::uint64_t& bodyLength) const;

    std::string mDate;
    Fault mFault;
    std::string mHeaders; ///< until they are complete
    bool mInBody = false;
    std::uint64_t mBodyLeft = 0; ///< how much of the body goes out
};

} // namespace KelEmulator
