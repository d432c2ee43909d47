// SPDX-License-Identifier: LGPL-2.1-or-later
#include "outcome.h"

#include <kelaccount/commonutils.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <cstdio>

namespace {

void printLine(const QString& text)
{
    std::fputs((text + QLatin1Char('\n')).toLocal8Bit().constData(), stdout);
}

QString textOf(const QVariant& value)
{
    if (value.type() == QVariant::StringList) {
        const QStringList items = value.toStringList();
        return items.isEmpty() ? QStringLiteral("-") : printable(items.join(QLatin1String(", ")));
    }
    const QString text = value.toString();
    return text.isEmpty() ? QStringLiteral("-") : printable(text);
}

void row(const QString& name, const QString& value)
{
    constexpr int nameWidth = 22;
    printLine(QLatin1String("  ") + name.leftJustified(nameWidth) + value);
}

void printRows(const QString& call, const Outcome& outcome, double milliseconds)
{
    printLine(printable(call));
    row(QStringLiteral("signal"), outcome.signal);
    row(QStringLiteral("status"), QString::number(outcome.status) + QLatin1Char(' ') +
                                      CommonUtils::ConvertErrorCodeToString(outcome.status));
    // Names, too, may come from the service.
    for (const auto& value : outcome.values)
        row(printable(value.first), textOf(value.second));
    if (!outcome.failure.isEmpty())
        row(QStringLiteral("failed"), printable(outcome.failure));
    row(QStringLiteral("time"), QString::number(milliseconds, 'f', 1) + QLatin1String(" ms"));
}

// "ErrorNone" of "ZorKeLDefs::ErrorNone"
QString shortName(int status)
{
    return CommonUtils::ConvertErrorCodeToString(status).section(QLatin1String("::"), -1);
}

// Behind the line, or below it, as many on each as a wide terminal shows.
QString valuesBehind(const QString& line, const QStringList& values)
{
    constexpr int width = 110;
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

void printAsLine(const QString& call, const Outcome& outcome, double milliseconds)
{
    constexpr int callWidth = 41;
    constexpr int statusWidth = 30;
    constexpr int timeWidth = 10;
    QStringList values;
    for (const auto& value : outcome.values) {
        const QString text = textOf(value.second);
        if (text != QLatin1String("-"))
            values.append(printable(value.first) + QLatin1String(": ") + text);
    }
    if (!outcome.failure.isEmpty())
        values.append(QLatin1String("failed: ") + printable(outcome.failure));
    const QString status =
        QString::number(outcome.status) + QLatin1Char(' ') + shortName(outcome.status);
    const QString time = QString::number(milliseconds, 'f', 1) + QLatin1String(" ms");
    QString line = printable(call).leftJustified(callWidth) + QLatin1Char(' ') +
                   status.leftJustified(statusWidth) + time.rightJustified(timeWidth);
    printLine(line + valuesBehind(line, values));
}

void printAsJson(const Outcome& outcome, double milliseconds)
{
    QJsonObject object;
    // First: nothing that the service names may replace what the client says.
    for (const auto& value : outcome.values)
        object.insert(value.first, QJsonValue::fromVariant(value.second));
    object.insert(QStringLiteral("signal"), outcome.signal);
    object.insert(QStringLiteral("status"), outcome.status);
    object.insert(QStringLiteral("statusName"),
                  CommonUtils::ConvertErrorCodeToString(outcome.status));
    object.insert(QStringLiteral("milliseconds"), milliseconds);
    if (!outcome.failure.isEmpty())
        object.insert(QStringLiteral("failed"), outcome.failure);
    std::fputs(QJsonDocument(object).toJson(QJsonDocument::Compact).append('\n').constData(),
               stdout);
}

} // namespace

void printOutcome(const QString& call, const Outcome& outcome, double milliseconds,
                  OutputFormat format)
{
    switch (format) {
    case OutputFormat::Rows:
        printRows(call, outcome, milliseconds);
        break;
    case OutputFormat::Line:
        printAsLine(call, outcome, milliseconds);
        break;
    case OutputFormat::Json:
        printAsJson(outcome, milliseconds);
        break;
    }
    std::fflush(stdout);
}

QString printable(const QString& text)
{
    QString result;
    for (const QChar c : text) {
        if (c.category() == QChar::Other_Control)
            result += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            result += c;
    }
    return result;
}
