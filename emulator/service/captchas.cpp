// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/captchas.h"

#include "emulator/service/captchapicture.h"
#include "emulator/service/values.h"

#include <algorithm>

namespace KelEmulator {

Captchas::Captchas(Database& database)
    : mInsert(database.prepare("INSERT INTO captchas (id, text, expires) VALUES (?1, ?2, ?3)")),
      mText(database.prepare("SELECT text FROM captchas WHERE id = ?1 AND expires > ?2")),
      mList(database.prepare("SELECT id, text FROM captchas WHERE expires > ?1"
                             " ORDER BY expires DESC LIMIT 100")),
      mRemove(database.prepare("DELETE FROM captchas WHERE id = ?1 OR expires <= ?2"))
{
}

Captcha Captchas::create(std::int64_t now)
{
    constexpr size_t bytes = 12;
    constexpr size_t length = 5;
    Captcha captcha{randomHex(bytes), randomCaptchaText(length)};
    Query(mInsert).bind(1, captcha.id).bind(2, captcha.text).bind(3, now + secondsToLive).run();
    return captcha;
}

std::optional<std::string> Captchas::text(const std::string& id, std::int64_t now)
{
    Query query(mText);
    if (!query.bind(1, id).bind(2, now).next())
        return std::nullopt;
    return query.text(0);
}

std::vector<Captcha> Captchas::list(std::int64_t now)
{
    std::vector<Captcha> captchas;
    Query query(mList);
    query.bind(1, now);
    while (query.next())
        captchas.push_back({query.text(0), query.text(1)});
    return captchas;
}

bool Captchas::solve(const std::string& id, const std::string& text, std::int64_t now)
{
    const std::optional<std::string> wanted = this->text(id, now);
    Query(mRemove).bind(1, id).bind(2, now).run();
    std::string given = text;
    std::transform(given.begin(), given.end(), given.begin(), [](char letter) {
        return static_cast<char>(letter >= 'a' && letter <= 'z' ? letter - 'a' + 'A' : letter);
    });
    return wanted == given;
}

} // namespace KelEmulator
