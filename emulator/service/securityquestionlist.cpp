// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/securityquestionlist.h"

namespace KelEmulator {

namespace {

struct Question
{
    const char* id;
    const char* english;
    const char* finnish;
    const char* german;
};

constexpr Question questions[] = {
    {"1", "What was the name of your first pet?", "Mikä oli ensimmäisen lemmikkisi nimi?",
     "Wie hieß dein erstes Haustier?"},
    {"2", "In which town were you born?", "Missä kaupungissa synnyit?",
     "In welcher Stadt wurdest du geboren?"},
    {"3", "What was your first school called?", "Mikä oli ensimmäisen koulusi nimi?",
     "Wie hieß deine erste Schule?"},
    {"4", "What is your favourite book?", "Mikä on lempikirjasi?", "Was ist dein Lieblingsbuch?"},
    {"5", "What was your childhood nickname?", "Mikä oli lempinimesi lapsena?",
     "Wie war dein Spitzname als Kind?"},
};

const char* textIn(const Question& question, const std::string& language)
{
    const std::string code = language.substr(0, 2);
    const bool isWholeCode =
        language.size() <= 2 || std::string("-_,;").find(language[2]) != std::string::npos;
    if (isWholeCode && code == "fi")
        return question.finnish;
    if (isWholeCode && code == "de")
        return question.german;
    return question.english;
}

} // namespace

std::vector<std::pair<std::string, std::string>> securityQuestionList(const std::string& language)
{
    std::vector<std::pair<std::string, std::string>> list;
    for (const Question& question : questions)
        list.emplace_back(question.id, textIn(question, language));
    return list;
}

std::string securityQuestionText(const std::string& id, const std::string& language)
{
    for (const Question& question : questions) {
        if (id == question.id)
            return textIn(question, language);
    }
    return {};
}

} // namespace KelEmulator
