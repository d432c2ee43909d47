// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/wirerequest.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace KelEmulator {

/// Request line and headers as they came over the wire, every byte of a value as the client sent
/// it.
class RequestHead
{
public:
    /// What a request may have before its body.
    static constexpr size_t longest = size_t{64} * 1024;
    static constexpr std::string_view end = "\r\n\r\n";

    /// Takes a head apart, its end included. Returns 0, or the status to refuse it with; what could
    /// be read of it is there then, too.
    int read(std::string text);

    const std::string& method() const { return mMethod; }
    /// Path and query.
    const std::string& target() const { return mTarget; }

    /// Value of a header, any letter case, without the blanks around it; empty when there is none.
    std::string header(std::string_view name) const;
    bool hasHeader(std::string_view name) const;

    /// None when no length is announced, or in a way that nobody can rely on.
    std::optional<std::uint64_t> bodyLength() const;
    /// Whether the client waits for leave to send the body.
    bool wantsLeave() const;
    /// What the service is asked with this head and `body`.
    WireRequest withBody(std::string body) const;
    /// Whether another request may follow in this connection.
    bool keepsConnection() const;

private:
    static constexpr size_t longestTarget = 8192;
    static constexpr size_t longestLine = 8192;
    bool readRequestLine(std::string_view line);
    /// How many headers have this name; `value` is the first one's.
    int find(std::string_view name, std::string_view& value) const;

    std::string mText;
    std::string mMethod;
    std::string mTarget;
    size_t mHeadersAt = 0;
    bool mIsOld = false; ///< HTTP/1.0
};

} // namespace KelEmulator
