// SPDX-License-Identifier: LGPL-2.1-or-later
#include "outcome.h"

#include "display.h"

#include "tools/commandline/reader.h"

#include <kelaccount/statustext.h>

#include <QDate>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <cstdio>
#include <unistd.h>

namespace {

QString textOf(const QVariant& value)
{
    if (value.type() == QVariant::StringList) {
        const QStringList items = value.toStringList();
        return items.isEmpty() ? QStringLiteral("-") : printable(items.join(QLatin1String(", ")));
    }
    const QString text = value.toString();
    return text.isEmpty() ? QStringLiteral("-") : printable(text);
}

// The rows of one answer, as wide as the terminal; elsewhere, as long as their values.
class Rows
{
public:
    void add(const QString& name, const QString& value) const { print(name, value, value); }
    // With colours, which take no room.
    void addStatus(const QString& name, const QString& value, int status) const
    {
        print(name, value, mColours.forStatus(status, value));
    }
    const Colours& colours() const { return mColours; }

private:
    void print(const QString& name, const QString& value, const QString& shown) const
    {
        constexpr int nameWidth = 22;
        constexpr int narrowest = 20;
        const QString start = QLatin1String("  ") + name.leftJustified(nameWidth);
        const int room = qMax(narrowest, mWidth - start.size());
        if (mWidth == 0 || value.size() <= room) {
            printLine(start + shown);
            return;
        }
        const QStringList lines = brokenLines(value, room);
        for (int i = 0; i < lines.size(); ++i)
            printLine((i == 0 ? start : QString(start.size(), QLatin1Char(' '))) + lines.at(i));
    }

    Colours mColours;
    int mWidth = CommandLine::terminalWidth(STDOUT_FILENO);
};

void printRows(const Outcome& outcome)
{
    const Rows rows;
    printLine(rows.colours().strong(printable(outcome.call)));
    rows.add(QStringLiteral("signal"), outcome.signal);
    rows.addStatus(QStringLiteral("status"),
                   QString::number(outcome.status) + QLatin1Char(' ') +
                       KelAccount::statusName(outcome.status),
                   outcome.status);
    if (outcome.status != 0)
        rows.add(QStringLiteral("meaning"), KelAccount::statusText(outcome.status));
    if (!outcome.cause.isEmpty())
        rows.add(QStringLiteral("cause"), printable(outcome.cause));
    // Names, too, may come from the service.
    for (const auto& value : outcome.values)
        rows.add(printable(value.first), textOf(value.second));
    if (!outcome.failure.isEmpty())
        rows.addStatus(QStringLiteral("failed"), printable(outcome.failure), 1);
    rows.add(QStringLiteral("time"),
             QString::number(outcome.milliseconds, 'f', 1) + QLatin1String(" ms"));
}

// "ErrorNone" of "ZorKeLDefs::ErrorNone"
QString shortName(int status)
{
    return KelAccount::statusName(status).section(QLatin1String("::"), -1);
}

// Behind the line, or below it, as many on each as the width allows.
QString valuesBehind(const QString& line, const QStringList& values, int width)
{
    const QString gap = QStringLiteral("  ");
    const QString all = values.join(QLatin1String(", "));
    if (values.isEmpty() || line.size() + gap.size() + all.size() <= width)
        return values.isEmpty() ? QString() : gap + all;
    const QString newLine = QStringLiteral("\n    ");
    QString text = newLine;
    int used = 0;
    for (const QString& value : values) {
        if (used > 0 && used + gap.size() + value.size() > width - newLine.size()) {
            text += QLatin1Char(',') + newLine + value;
            used = value.size();
        } else {
            const QString separator = used > 0 ? QStringLiteral(", ") : QString();
            text += separator + value;
            used += separator.size() + value.size();
        }
    }
    return text;
}

void printAsLine(const Outcome& outcome)
{
    constexpr int callWidth = 41;
    constexpr int statusWidth = 30;
    constexpr int timeWidth = 10;
    constexpr int usualWidth = 110;
    QStringList values;
    for (const auto& value : outcome.values) {
        const QString text = textOf(value.second);
        if (text != QLatin1String("-"))
            values.append(printable(value.first) + QLatin1String(": ") + text);
    }
    if (!outcome.failure.isEmpty())
        values.append(QLatin1String("failed: ") + printable(outcome.failure));
    if (!outcome.cause.isEmpty())
        values.append(QLatin1String("cause: ") + printable(outcome.cause));
    const QString call = printable(outcome.call).leftJustified(callWidth) + QLatin1Char(' ');
    const QString status =
        (QString::number(outcome.status) + QLatin1Char(' ') + shortName(outcome.status))
            .leftJustified(statusWidth);
    const QString time = (QString::number(outcome.milliseconds, 'f', 1) + QLatin1String(" ms"))
                             .rightJustified(timeWidth);
    const int width = CommandLine::terminalWidth(STDOUT_FILENO);
    printLine(call + Colours().forStatus(outcome.status, status) + time +
              valuesBehind(call + status + time, values, width == 0 ? usualWidth : width));
}

// What is not known is an empty text, whatever it would be.
QJsonValue jsonOf(const QVariant& value)
{
    if (value.type() == QVariant::Date)
        return value.toDate().toString(Qt::ISODate);
    return value.isValid() ? QJsonValue::fromVariant(value) : QJsonValue(QString());
}

// docs/client.md says what holds for every version of it.
void printAsJson(const Outcome& outcome)
{
    constexpr int schema = 1;
    QJsonObject values;
    for (const auto& value : outcome.values)
        values.insert(value.first, jsonOf(value.second));
    QJsonObject object = {
        {QStringLiteral("schema"), schema},
        {QStringLiteral("command"), outcome.command},
        {QStringLiteral("signal"), outcome.signal},
        {QStringLiteral("status"), outcome.status},
        {QStringLiteral("statusName"), KelAccount::statusName(outcome.status)},
        {QStringLiteral("text"), KelAccount::statusText(outcome.status)},
        {QStringLiteral("values"), values},
        {QStringLiteral("milliseconds"), outcome.milliseconds},
    };
    if (!outcome.failure.isEmpty())
        object.insert(QStringLiteral("failed"), outcome.failure);
    if (!outcome.cause.isEmpty())
        object.insert(QStringLiteral("cause"), outcome.cause);
    std::fputs(QJsonDocument(object).toJson(QJsonDocument::Compact).append('\n').constData(),
               stdout);
}

} // namespace

void printOutcome(const Outcome& outcome, OutputFormat format)
{
    switch (format) {
    case OutputFormat::Rows:
        printRows(outcome);
        break;
    case OutputFormat::Line:
        printAsLine(outcome);
        break;
    case OutputFormat::Json:
        printAsJson(outcome);
        break;
    }
}
