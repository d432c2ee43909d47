// SPDX-License-Identifier: LGPL-2.1-or-later
// Random schedules of calls, faults, deletions, event loops and cancellations, against facade and
// client: each call is answered exactly once, or as documented not at all; with a documented
// status; not from inside the call; and nothing is left behind. What a schedule is follows from its
// seed. See usage.
#include "schedules/documented.h"
#include "schedules/messages.h"
#include "schedules/plan.h"
#include "schedules/run.h"
#include "schedules/world.h"
#include "support/literals.h"

#include <QFile>
#include <QStringList>

#include <array>
#include <csignal>
#include <cstdio>
#include <unistd.h>

using namespace KelTest;
using namespace Schedules;

namespace {

const char* const usage =
    R"(usage: kelaccount-schedules [--count N] [--first SEED] [--rows FILE] [--show] [--log] [--bus-ends]
       kelaccount-schedules --row "STEPS"

Runs the schedules of N seeds (1000) from SEED (1) on, those of FILE before: a row of steps on each line, "#" begins a
comment. --row runs one, so often as --count says. --show writes each down before it is run, --log what is logged.
kelaccount-session-schedules is the same with sign-on daemon and plugin, inside the emulator; with --bus-ends, the last
of them loses its bus.
)";

std::array<char, 8192> underWay; // for the handler of a crash

void setUnderWay(const QString& what)
{
    const QByteArray bytes = what.toUtf8().left(int(underWay.size()) - 2) + '\n';
    std::copy(bytes.cbegin(), bytes.cend() + 1, underWay.begin());
}

void onCrash(int signal)
{
    static_cast<void>(!::write(STDERR_FILENO, underWay.data(), qstrlen(underWay.data())));
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

struct Options
{
    quint32 first = 1;
    quint32 count = 1000;
    QString rows;
    QString row;
    bool shows = false;
    bool endsBus = false;
    bool areGood = true;
};

Options optionsFrom(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const QString name = QString::fromLocal8Bit(argv[i]);
        const QString value = QString::fromLocal8Bit(i + 1 < argc ? argv[i + 1] : "");
        bool isGood = true;
        if (name == "--show"_s) {
            options.shows = true;
            continue;
        }
        if (name == "--bus-ends"_s) {
            options.endsBus = true;
            continue;
        }
        if (name == "--log"_s) {
            Messages::write();
            continue;
        }
        if (name == "--first"_s)
            options.first = value.toUInt(&isGood);
        else if (name == "--count"_s)
            options.count = value.toUInt(&isGood);
        else if (name == "--rows"_s)
            options.rows = value;
        else if (name == "--row"_s)
            options.row = value;
        else
            isGood = false;
        options.areGood = options.areGood && isGood && !value.isEmpty();
        ++i;
    }
    return options;
}

/// Whether it goes as it should; `name` tells how to have it run again.
bool goesWell(const Plan& plan, const QString& name, const Options& options,
              const Documented& documented)
{
    setUnderWay("crashed: "_s + name);
    if (options.shows)
        std::printf("%s: %s\n", qPrintable(name), qPrintable(textOf(plan)));
    const QString problem = run(plan, documented);
    if (problem.isEmpty())
        return true;
    std::fprintf(stderr, "%s\n  %s\n  %s\n", qPrintable(problem), qPrintable(name),
                 qPrintable(textOf(plan)));
    std::fflush(stderr);
    std::fprintf(stderr, "the least of it that goes wrong, for the file of rows:\n%s\n",
                 qPrintable(textOf(shrunk(plan, documented))));
    return false;
}

QStringList rowsOf(const QString& name, bool& isThere)
{
    QFile file(name);
    isThere = file.open(QIODevice::ReadOnly);
    QStringList rows;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        const QString row = line.section(QLatin1Char('#'), 0, 0).trimmed();
        if (!row.isEmpty())
            rows.append(row);
    }
    return rows;
}

/// What is made once in a process is made afterwards: every operation has been called once.
void meetEverything(const Documented& documented)
{
    QStringList steps = {"context 0 0 0"_s, "facade 1 0 0"_s, "client 1 0 0"_s};
    if (World::hasSessions())
        steps.append({"signIn 1 0 1"_s, "settle 0 0 0"_s});
    constexpr int enough = 40;
    for (int operation = 0; operation < enough; ++operation) {
        steps.append("call 0 %1 1"_s.arg(operation));
        steps.append("call 1 %1 1"_s.arg(operation));
    }
    steps.append("settle 0 0 0"_s);
    // The daemon's end, and what is made for the next one.
    if (World::hasSessions())
        steps.append(
            {"strike 2 0 0"_s, "sessionCall 0 0 1"_s, "sessionCall 1 0 1"_s, "settle 0 0 0"_s});
    if (const auto plan = planFrom(steps.join("; "_s)))
        warmUp(*plan, documented);
}

int runAll(const Options& options)
{
    const Documented documented(QStringLiteral(KELACCOUNT_FACADE_HEADER));
    QString problem = prepareToRun();
    if (problem.isEmpty())
        problem = documented.problem();
    bool isThere = true;
    QStringList rows;
    if (!options.rows.isEmpty())
        rows = rowsOf(options.rows, isThere);
    if (!isThere)
        problem = "%1 cannot be read"_s.arg(options.rows);
    meetEverything(documented);
    if (!options.row.isEmpty()) {
        for (quint32 i = 0; i < options.count; ++i)
            rows.append(options.row);
    }
    int done = 0;
    for (const QString& row : rows) {
        const auto plan = planFrom(row);
        if (!plan)
            problem = "this is no row of steps: "_s + row;
        if (!problem.isEmpty())
            break;
        if (!goesWell(*plan, "--row \"%1\""_s.arg(row), options, documented))
            return 1;
        ++done;
    }
    const quint32 count = options.row.isEmpty() ? options.count : 0;
    for (quint32 i = 0; i < count && problem.isEmpty(); ++i, ++done) {
        const quint32 seed = options.first + i;
        const Mix mix = World::hasSessions() ? Mix::WithSessions : Mix::WithoutSessions;
        Plan plan = planOf(seed, mix);
        QString name = "--first %1 --count 1"_s.arg(seed);
        if (options.endsBus && i + 1 == count) {
            plan = withoutBus(plan);
            name += " --bus-ends"_s;
        }
        if (!goesWell(plan, name, options, documented))
            return 1;
    }
    if (!problem.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(problem));
        return 1;
    }
    std::printf("%d schedules\n", done);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const Options options = optionsFrom(argc, argv);
    if (!options.areGood) {
        std::fputs(usage, stderr);
        return 2;
    }
    for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL})
        std::signal(signal, onCrash);
    return runAll(options);
}
