// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/mutants.h"

#include "matrix/tablefile.h"
#include "support/literals.h"

#include <QDir>
#include <QMap>

#include <algorithm>

using namespace KelTest;

namespace Matrix {

namespace {

constexpr int wantedPercent = 90;

const auto samplesFile = "/reliability-mutants.csv";
const auto survivorsFile = "/reliability-survivors.csv";
const auto samplesHeader = "folder;tests;seed;changes;noticed;day;commit";
const auto survivorsHeader = "file;change;reason";

QStringList fieldsOf(const QString& line, int count, QStringList& problems)
{
    const QStringList fields = line.split(QLatin1Char(';'));
    if (fields.size() == count && !fields.contains(QString()))
        return fields;
    problems.append("not %1 fields: %2"_s.arg(count).arg(line));
    return {};
}

/// Those of the library that have code of their own, and the plugin.
QStringList foldersOf(const QString& sources)
{
    QStringList folders;
    const QDir library(sources + "/src"_s);
    for (const QString& name : library.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        folders.append("src/"_s + name);
    return folders << "plugin"_s;
}

QString cellOf(QString text)
{
    return text.replace(QLatin1Char('|'), "\\|"_s);
}

} // namespace

Mutants Mutants::fromFolder(const QString& folder, QStringList& problems)
{
    Mutants all;
    for (const QString& line : linesOfTable(folder + QLatin1String(samplesFile),
                                            QLatin1String(samplesHeader), problems)) {
        const QStringList fields = fieldsOf(line, 7, problems);
        if (!fields.isEmpty())
            all.mSamples.append({fields.at(0), fields.at(1), fields.at(2), fields.at(3).toInt(),
                                 fields.at(4).toInt(), fields.at(5) + " on "_s + fields.at(6)});
    }
    for (const QString& line : linesOfTable(folder + QLatin1String(survivorsFile),
                                            QLatin1String(survivorsHeader), problems)) {
        const QStringList fields = fieldsOf(line, 3, problems);
        if (!fields.isEmpty())
            all.mSurvivors.append({fields.at(0), fields.at(1), fields.at(2)});
    }
    return all;
}

QStringList Mutants::problems(const QString& sources) const
{
    QStringList problems;
    QMap<QString, int> changes;
    QMap<QString, int> noticed;
    for (const Sample& sample : mSamples) {
        changes[sample.folder] += sample.changes;
        noticed[sample.folder] += sample.noticed;
    }
    const QStringList folders = foldersOf(sources);
    for (const QString& folder : folders) {
        if (changes.value(folder) == 0) {
            problems.append("no change of %1 was tried"_s.arg(folder));
            continue;
        }
        const auto survivors =
            std::count_if(mSurvivors.cbegin(), mSurvivors.cend(), [&](const Survivor& survivor) {
                return survivor.file.startsWith(folder + QLatin1Char('/'));
            });
        if (survivors != changes[folder] - noticed[folder])
            problems.append("%1 changes of %2 are not noticed, and something is said of %3"_s
                                .arg(changes[folder] - noticed[folder])
                                .arg(folder)
                                .arg(survivors));
    }
    int allChanges = 0;
    int allNoticed = 0;
    for (auto it = changes.cbegin(); it != changes.cend(); ++it) {
        allChanges += it.value();
        allNoticed += noticed.value(it.key());
        if (!folders.contains(it.key()))
            problems.append("there is no folder %1"_s.arg(it.key()));
    }
    if (allNoticed * 100 < allChanges * wantedPercent)
        problems.append("only %1 of %2 changes are noticed"_s.arg(allNoticed).arg(allChanges));
    return problems;
}

QString Mutants::section() const
{
    QString text =
        "\n## Changes that a test notices\n\n"
        "One line of the code is changed at a time: a comparison is turned round, a bound moved "
        "by one, \"and\" made \"or\", a constant, a text or a sign another, a statement left "
        "out. What is changed is drawn by a seed. The tests of the folder are built and run, and "
        "have to fail; what does not compile is not counted, nor is a line that has been taken out "
        "since. The commit is that of the lines; "
        "what survived there was tried again with the tests that were written for it.\n\n"
        "| Folder | Tests | Seed | Changes | Noticed | | Tried |\n"
        "|---|---|---:|---:|---:|---:|---|\n"_s;
    int changes = 0;
    int noticed = 0;
    const auto row = [&text](const Sample& sample) {
        text += "| %1 | %2 | %3 | %4 | %5 | %6 % | %7 |\n"_s
                    .arg(sample.folder, cellOf(sample.tests), sample.seed)
                    .arg(sample.changes)
                    .arg(sample.noticed)
                    .arg(sample.noticed * 100.0 / std::max(1, sample.changes), 0, 'f', 0)
                    .arg(sample.run);
    };
    for (const Sample& sample : mSamples) {
        changes += sample.changes;
        noticed += sample.noticed;
        row(sample);
    }
    row({"all"_s, {}, {}, changes, noticed, {}});
    text +=
        "\nWhat nobody noticed, looked at one by one:\n\n| Where | Change | Why nobody has to |\n|---|---|---|\n"_s;
    for (const Survivor& survivor : mSurvivors)
        text += "| `%1` | %2 | %3 |\n"_s.arg(survivor.file, cellOf(survivor.change),
                                             cellOf(survivor.reason));
    return text;
}

} // namespace Matrix
