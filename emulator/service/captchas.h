// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/database.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace KelEmulator {

struct Captcha
{
    std::string id;
    std::string text;
};

/// The captchas given out. Each can be solved once, for ten minutes.
class Captchas
{
public:
    static constexpr std::int64_t secondsToLive = std::int64_t{10} * 60;

    explicit Captchas(Database& database);

    Captcha create(std::int64_t now);
    /// The text of a captcha that can still be solved.
    std::optional<std::string> text(const std::string& id, std::int64_t now);
    /// Those that can still be solved, the newest first.
    std::vector<Captcha> list(std::int64_t now);
    /// Whether the text is the captcha's, in either letter case. However that ends, the captcha is
    /// gone.
    bool solve(const std::string& id, const std::string& text, std::int64_t now);

private:
    Statement mInsert;
    Statement mText;
    Statement mList;
    Statement mRemove;
};

} // namespace KelEmulator
