// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/profilerules.h"

#include "emulator/service/securityquestionlist.h"
#include "emulator/service/values.h"

namespace KelEmulator {

std::string profileProblem(const Account& account)
{
    constexpr size_t longest = 128;
    const auto isBad = [](const std::string& text, bool (*isGood)(const std::string&)) {
        return !text.empty() && !isGood(text);
    };
    if (isBad(account.email, isEmailAddress))
        return "The e-mail address is malformed";
    if (isBad(account.mobile, isMobileNumber))
        return "A mobile number is + and 6 to 15 digits";
    if (isBad(account.country, isCountry))
        return "A country is two upper-case letters";
    if (isBad(account.language, isLanguage))
        return "A language is two or three letters, and perhaps a country";
    if (account.firstName.size() > longest || account.lastName.size() > longest)
        return "A name has at most 128 bytes";
    if (!account.questionId.empty() && securityQuestionText(account.questionId, {}).empty())
        return "There is no such security question";
    if (account.questionId.empty() != account.answer.empty())
        return "A security question and its answer go together";
    if (account.answer.size() > longest)
        return "An answer has at most 128 bytes";
    return {};
}

} // namespace KelEmulator
