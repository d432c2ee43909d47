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

void printForPeople(const QString& call, const Outcome& outcome, double milliseconds)
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

void printOutcome(const QString& call, const Outcome& outcome, double milliseconds, bool json)
{
    if (json)
        printAsJson(outcome, milliseconds);
    else
        printForPeople(call, outcome, milliseconds);
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
