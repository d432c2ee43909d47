// SPDX-License-Identifier: LGPL-2.1-or-later
#include "schedules/plan.h"

#include "support/literals.h"

#include <QRandomGenerator>
#include <QStringList>

#include <algorithm>
#include <iterator>

using namespace KelTest;

namespace Schedules {

namespace {

struct ActRow
{
    Act act;
    const char* name;
    int weight; ///< how often it comes, to the others
    int weightWithSessions;
};

constexpr ActRow rows[] = {
    {Act::Facade, "facade", 3, 3},
    {Act::Client, "client", 3, 3},
    {Act::Call, "call", 40, 10},
    {Act::Burst, "burst", 3, 2},
    {Act::BadCall, "badCall", 4, 2},
    {Act::Prepare, "prepare", 3, 3},
    {Act::Cancel, "cancel", 12, 8},
    {Act::End, "end", 4, 4},
    {Act::EndLater, "endLater", 2, 2},
    {Act::Context, "context", 5, 4},
    {Act::InAnswer, "inAnswer", 9, 9},
    {Act::Wait, "wait", 12, 14},
    {Act::Loop, "loop", 4, 5},
    {Act::Fault, "fault", 9, 6},
    {Act::Disconnect, "disconnect", 2, 2},
    {Act::Settle, "settle", 2, 6},
    {Act::SessionCall, "sessionCall", 0, 36},
    {Act::SignIn, "signIn", 0, 6},
    {Act::Strike, "strike", 0, 8},
    {Act::BusEnds, "busEnds", 0, 0},
};

const QString thread = "thread"_s;
const QString unanswered = "unanswered"_s;
const QString application = "application"_s;

int weightOf(const ActRow& row, Mix mix)
{
    return mix == Mix::WithSessions ? row.weightWithSessions : row.weight;
}

Act actBy(int number, Mix mix)
{
    for (const ActRow& row : rows) {
        number -= weightOf(row, mix);
        if (number < 0)
            return row.act;
    }
    return Act::Wait;
}

const ActRow& rowOf(Act act)
{
    return *std::find_if(std::begin(rows), std::end(rows),
                         [act](const ActRow& row) { return row.act == act; });
}

std::optional<Step> stepFrom(const QString& text)
{
    const QStringList words = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const auto* const row = std::find_if(std::begin(rows), std::end(rows), [&](const ActRow& one) {
        return words.value(0) == QLatin1String(one.name);
    });
    Step step;
    if (row == std::end(rows) || words.size() != 1 + int(step.values.size()))
        return {};
    step.act = row->act;
    for (size_t i = 0; i < step.values.size(); ++i) {
        bool isNumber = false;
        step.values[i] = words.at(1 + int(i)).toInt(&isNumber);
        if (!isNumber || step.values[i] < 0)
            return {};
    }
    return step;
}

} // namespace

Plan planOf(quint32 seed, Mix mix)
{
    QRandomGenerator random(seed);
    const auto happens = [&random](int percent) { return int(random.bounded(100)) < percent; };
    int weights = 0;
    for (const ActRow& row : rows)
        weights += weightOf(row, mix);
    Plan plan;
    // Those of one process have one thread.
    plan.isOnAnotherThread = mix == Mix::WithoutSessions && happens(20);
    plan.endsUnanswered = happens(25);
    plan.endsWithApplication = !plan.isOnAnotherThread && happens(25);
    constexpr int valueCount = 1000;
    const auto add = [&](Act act) {
        Step step;
        step.act = act;
        for (int& value : step.values)
            value = int(random.bounded(valueCount));
        plan.steps.push_back(step);
    };
    // Something to call, and something to wait for it.
    add(happens(50) ? Act::Facade : Act::Client);
    if (happens(60))
        add(happens(50) ? Act::Facade : Act::Client);
    add(Act::Context);
    if (mix == Mix::WithSessions && happens(70)) {
        add(Act::SignIn);
        if (happens(70))
            add(Act::Settle);
    }
    constexpr int fewest = 4;
    constexpr int most = 24;
    const int count = int(random.bounded(fewest, most));
    for (int i = 0; i < count; ++i)
        add(actBy(int(random.bounded(weights)), mix));
    return plan;
}

Plan withoutBus(Plan plan)
{
    Step step;
    step.act = Act::BusEnds;
    plan.steps.insert(plan.steps.begin() + static_cast<std::ptrdiff_t>(plan.steps.size() / 2),
                      step);
    return plan;
}

QString textOf(const Plan& plan)
{
    QStringList parts;
    if (plan.isOnAnotherThread)
        parts.append(thread);
    if (plan.endsUnanswered)
        parts.append(unanswered);
    if (plan.endsWithApplication)
        parts.append(application);
    for (const Step& step : plan.steps)
        parts.append("%1 %2 %3 %4"_s.arg(QLatin1String(rowOf(step.act).name))
                         .arg(step.values[0])
                         .arg(step.values[1])
                         .arg(step.values[2]));
    return parts.join("; "_s);
}

std::optional<Plan> planFrom(const QString& text)
{
    Plan plan;
    const QStringList parts = text.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    for (const QString& part : parts) {
        const QString word = part.trimmed();
        if (word == thread) {
            plan.isOnAnotherThread = true;
        } else if (word == unanswered) {
            plan.endsUnanswered = true;
        } else if (word == application) {
            plan.endsWithApplication = true;
        } else if (const auto step = stepFrom(word)) {
            plan.steps.push_back(*step);
        } else {
            return {};
        }
    }
    return plan;
}

} // namespace Schedules
