// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <string_view>

namespace KelEmulator {

/// Request line and headers as they came over the wire. The HTTP library percent-decodes the values
/// it hands on, and with that hides how a client encodes.
class RequestHead
{
public:
    void begin();
    void append(std::string_view bytes);

    /// Value of a header, any letter case, without the blanks around it; empty when there is none.
    std::string header(std::string_view name) const;

private:
    static constexpr size_t longest = 64 * 1024;
    std::string mText;
    bool mComplete = false;
};

} // namespace KelEmulator
