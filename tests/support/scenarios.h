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

namespace KelTest {

/// Texts that say what is done and what has to come of it, step by step and a line each. A scenario
/// begins with "= " and its name; "#" begins a comment; lines that begin with "| " belong to the
/// one before them. "9 times", or "for a b in 1:2 3:4", repeats all until its "once".
class Scenarios
{
protected:
    ~Scenarios() = default;

    /// A row with the column "lines" for each scenario of a file, or of the files in a folder.
    static void scenarioRows(const QString& path)
    {
        const auto row = rows<QStringList>("lines");
        const QFileInfo given(path);
        const QDir folder = given.isDir() ? QDir(path) : given.dir();
        const QStringList files = given.isDir() ? folder.entryList({"*.txt"_s}, QDir::Files)
                                                : QStringList(given.fileName());
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
            const QStringList words = line.split(QLatin1Char(' '));
            QString problem;
            if (isRepeated(line)) {
                const int end = endOf(lines, at);
                if (end == lines.size())
                    return line + ": there is no end of it"_s;
                problem =
                    repeat(filled(line).split(QLatin1Char(' ')), lines.mid(at + 1, end - at - 1));
                at = end;
            } else if (!line.startsWith(QLatin1Char('#'))) {
                QString more;
                for (; lines.value(at + 1).startsWith("| "_s); ++at)
                    more += lines.at(at + 1).mid(2);
                problem = step(filled(words.first()), filled(line.section(QLatin1Char(' '), 1)),
                               filled(more));
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
    static bool isRepeated(const QString& line)
    {
        return line.startsWith("for "_s) || line.section(QLatin1Char(' '), 1) == "times"_s;
    }

    /// Where the "once" of a repetition stands.
    static int endOf(const QStringList& lines, int at)
    {
        for (int depth = 0; at < lines.size(); ++at) {
            depth += isRepeated(lines.at(at)) ? 1 : 0;
            depth -= lines.at(at) == "once"_s ? 1 : 0;
            if (depth == 0)
                break;
        }
        return at;
    }

    QString repeat(const QStringList& words, const QStringList& lines)
    {
        const int in = words.indexOf("in"_s);
        const int times = in < 0 ? words.first().toInt() : words.size() - in - 1;
        QString problem = times > 0 ? QString() : "there is nothing to do"_s;
        for (int time = 0; time < times && problem.isEmpty(); ++time) {
            const QString values = words.value(in + 1 + time);
            for (int name = 1; name < in; ++name)
                mValues[words.at(name)] =
                    values.section(QLatin1Char(':'), name - 1, name + 1 < in ? name - 1 : -1);
            problem = run(lines);
            if (!problem.isEmpty() && in > 0)
                problem = "with "_s + values + ": "_s + problem;
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
