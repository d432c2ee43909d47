// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/literals.h"
#include "support/rows.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>
#include <QStringList>
#include <QVector>

namespace KelTest {

/// Texts that say what is done and what has to come of it, step by step and a line each. A scenario
/// begins with "= " and its name; "#" begins a comment; lines that begin with "| " belong to the
/// one before them. "9 times", or "for a b in 1:2 3:4", repeats all until "once"; so does
/// "each a | b", with the values of each line "| 1 | 2" that follows.
class Scenarios
{
protected:
    ~Scenarios() = default;

    /// A row with the column "lines" for each scenario of a file, or of the files in a folder.
    static void scenarioRows(const QString& path)
    {
        const auto row = rows<QStringList>("lines");
        const QFileInfo given(path);
        const QDir folder(given.isDir() ? path : given.path());
        const QStringList files =
            folder.entryList({given.isDir() ? "*.txt"_s : given.fileName()}, QDir::Files);
        QVERIFY(!files.isEmpty());
        for (const QString& name : files) {
            QFile file(folder.filePath(name));
            QVERIFY(file.open(QIODevice::ReadOnly));
            for (const QStringList& lines : scenariosIn(QString::fromUtf8(file.readAll()))) {
                QVERIFY2(lines.size() > 1, qPrintable(name));
                row(qPrintable(name.chopped(4) + ": "_s + lines.first()), lines.mid(1));
            }
        }
    }

    /// The name of each and its lines. What stands before the first name and is no comment is run,
    /// too.
    static QVector<QStringList> scenariosIn(const QString& text)
    {
        QVector<QStringList> scenarios;
        for (const QString& line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            if (line.startsWith("= "_s))
                scenarios.append(QStringList(line.mid(2)));
            else if (!scenarios.isEmpty())
                scenarios.last().append(line);
            else if (!line.startsWith(QLatin1Char('#')))
                scenarios.append(QStringList{"without a name"_s, line});
        }
        return scenarios;
    }

    /// What does not hold, and where; empty when all does.
    QString run(const QStringList& lines)
    {
        for (int at = 0; at < lines.size(); ++at) {
            const QString line = lines.at(at);
            QString problem;
            if (isLoop(line)) {
                const int end = endOfLoop(lines, at);
                problem = end < 0 ? "there is no end of it"_s : repeat(lines.mid(at, end - at));
                at = end;
            } else if (!line.startsWith(QLatin1Char('#'))) {
                const QStringList more = belongingTo(lines, at);
                const QString whole = filled(line);
                problem =
                    step(whole.section(QLatin1Char(' '), 0, 0), whole.section(QLatin1Char(' '), 1),
                         filled(more.join(QLatin1Char('\n'))));
            }
            if (!mUnknown.isEmpty())
                problem = "there is no "_s + std::exchange(mUnknown, {});
            if (!problem.isEmpty())
                return line + ": "_s + problem;
        }
        return {};
    }

    /// Of a line and those that belong to it: what does not hold.
    virtual QString step(const QString& word, const QString& rest, const QString& more) = 0;

    static QString expect(bool holds) { return holds ? QString() : "does not hold"_s; }
    static QString same(const QString& actual, const QString& expected)
    {
        return actual == expected ? QString() : "it is "_s + actual;
    }

    QMap<QString, QString> mValues; ///< by the names that stand in braces

private:
    static bool isLoop(const QString& line)
    {
        return line.startsWith("for "_s) || line.startsWith("each "_s) ||
               line.section(QLatin1Char(' '), 1) == "times"_s;
    }

    static int endOfLoop(const QStringList& lines, int begin)
    {
        int open = 0;
        for (int at = begin; at < lines.size(); ++at) {
            open += isLoop(lines.at(at)) ? 1 : lines.at(at) == "once"_s ? -1 : 0;
            if (open == 0)
                return at;
        }
        return -1;
    }

    /// The lines behind one that are its own, without their mark. `at` becomes the last of them.
    static QStringList belongingTo(const QStringList& lines, int& at)
    {
        QStringList more;
        for (int next = at + 1; next < lines.size(); ++next) {
            if (lines.at(next).startsWith("| "_s)) {
                more.append(lines.at(next).mid(2));
                at = next;
            } else if (!lines.at(next).startsWith(QLatin1Char('#'))) {
                break;
            }
        }
        return more;
    }

    /// A loop's first line and what it repeats.
    QString repeat(const QStringList& lines)
    {
        const QStringList words = filled(lines.first()).split(QLatin1Char(' '));
        int head = 0;
        QStringList names;
        QVector<QStringList> times;
        if (words.first() == "each"_s) {
            names = lines.first().mid(5).split(" | "_s);
            for (const QString& row : belongingTo(lines, head)) {
                times.append(row.split(" | "_s));
                if (times.last().size() != names.size())
                    return row + ": there are not so many values"_s;
            }
        } else if (words.first() == "for"_s) {
            names = words.mid(1, qMax(0, words.indexOf("in"_s) - 1));
            // The last one may have colons.
            for (const QString& values : words.mid(names.size() + 2))
                times.append(values.split(QLatin1Char(':')).mid(0, names.size() - 1)
                             << values.section(QLatin1Char(':'), names.size() - 1));
        } else {
            times.resize(words.first().toInt());
        }
        QString problem = times.isEmpty() ? "there is nothing to do"_s : QString();
        for (int time = 0; time < times.size() && problem.isEmpty(); ++time) {
            const QStringList& values = times.at(time);
            for (int name = 0; name < names.size(); ++name)
                mValues[names.at(name)] = filled(values.value(name)).trimmed();
            problem = run(lines.mid(head + 1));
            if (!problem.isEmpty() && !names.isEmpty())
                problem = values.join(QLatin1Char(' ')) + ": "_s + problem;
        }
        return problem;
    }

    /// {name}, or {base64 text}, {sha1 text} (in base64), {129 a} (so many), {ago 16 1} (a date so
    /// many years ago, and a day later).
    QString filled(QString text)
    {
        static const QRegularExpression form(
            "\\{(?:(base64|sha1|ago|\\d+) ([^{}]*)|([A-Za-z][A-Za-z.]*))\\}"_s);
        for (auto match = form.match(text); match.hasMatch(); match = form.match(text)) {
            const QString function = match.captured(1);
            const QByteArray argument = match.captured(2).toUtf8();
            QString value = mValues.value(match.captured(3));
            if (function == "base64"_s)
                value = QString::fromLatin1(argument.toBase64());
            else if (function == "sha1"_s)
                value = QString::fromLatin1(
                    QCryptographicHash::hash(argument, QCryptographicHash::Sha1).toBase64());
            else if (function == "ago"_s)
                value = QDateTime::currentDateTimeUtc()
                            .date()
                            .addYears(-argument.left(argument.indexOf(' ')).toInt())
                            .addDays(argument.mid(argument.indexOf(' ') + 1).toInt())
                            .toString(Qt::ISODate);
            else if (!function.isEmpty())
                value = QString::fromUtf8(argument.repeated(function.toInt()));
            else if (!mValues.contains(match.captured(3)))
                mUnknown = match.captured(3);
            text.replace(match.capturedStart(), match.capturedLength(), value);
        }
        return text;
    }

    QString mUnknown; ///< a value that was asked for
};

} // namespace KelTest
