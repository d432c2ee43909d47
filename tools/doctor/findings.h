// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

#include <vector>

namespace Doctor {

enum class Level {
    Good,
    Note,    ///< nothing to mend; something is not there, or was not looked at
    Warning, ///< works, but not as it should
    Error,   ///< keeps something from working
};

/// What one check has found.
struct Finding
{
    QString check; ///< its name: lower case letters
    Level level = Level::Good;
    QString text;
    QString advice; ///< what to do; empty with Good
};

class Findings
{
public:
    void good(const char* check, const QString& text) { add(check, Level::Good, text, {}); }
    void note(const char* check, const QString& text, const QString& advice)
    {
        add(check, Level::Note, text, advice);
    }
    void warning(const char* check, const QString& text, const QString& advice)
    {
        add(check, Level::Warning, text, advice);
    }
    void error(const char* check, const QString& text, const QString& advice)
    {
        add(check, Level::Error, text, advice);
    }

    const std::vector<Finding>& all() const { return mAll; }
    Level worst() const;

private:
    void add(const char* check, Level level, const QString& text, const QString& advice)
    {
        mAll.push_back({QLatin1String(check), level, text, advice});
    }

    std::vector<Finding> mAll;
};

/// "good", "note", "warning", "error"
QString levelName(Level level);

} // namespace Doctor
