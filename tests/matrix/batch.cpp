// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/batch.h"

#include "matrix/breakage.h"
#include "matrix/loopwatch.h"
#include "matrix/run.h"
#include "matrix/state.h"
#include "sandbox/sandbox.h"
#include "support/literals.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>
#include <cstdio>
#include <sys/prctl.h>
#include <unistd.h>

using namespace KelTest;

namespace Matrix {

namespace {

constexpr int startMs = 30000;
const QString insideMark = "--inside"_s;

/// A child that does not outlive this process, whatever ends it.
class Child : public QProcess
{
protected:
    void setupChildProcess() override { ::prctl(PR_SET_PDEATHSIG, SIGKILL); }
};

QString listArgument(const QStringList& list)
{
    return list.join(QLatin1Char('|'));
}

/// What both processes of a batch share: the state, the authority, and who preloads what.
class Surroundings
{
public:
    bool make()
    {
        QFile file(mFolder.filePath("state"_s));
        mIsMade =
            mFolder.isValid() && file.open(QIODevice::WriteOnly) && file.resize(sizeof(State));
        return mIsMade;
    }
    QString authority() const { return mFolder.filePath("authority.pem"_s); }
    QProcessEnvironment environment(bool isInside) const
    {
        QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"http_proxy", "https_proxy", "no_proxy"})
            all.remove(QLatin1String(name));
        all.insert(QLatin1String(stateVariable), mFolder.filePath("state"_s));
        if (!isInside)
            return all;
        all.insert("KELACCOUNT_EMULATOR_CA"_s, authority());
        all.insert("LD_PRELOAD"_s,
                   QStringLiteral(KELACCOUNT_MATRIX_HOOKS ":" KELACCOUNT_TRUST_MODULE));
        all.insert("QT_QPA_PLATFORM"_s, "minimal"_s);
        // One that leaves an hour out, and has one twice.
        all.insert("TZ"_s, "Europe/Berlin"_s);
        all.remove("QT_NO_GLIB"_s);
        return all;
    }
    State* state() const
    {
        return stateAt(QFile::encodeName(mFolder.filePath("state"_s)).constData());
    }

private:
    QTemporaryDir mFolder;
    bool mIsMade = false;
};

} // namespace

bool Selection::has(const Row& row) const
{
    return row.door == door && (operations.isEmpty() || operations.contains(row.name));
}

bool Selection::has(const Fault& fault) const
{
    return (groups.isEmpty() || groups.contains(QString::fromStdString(fault.group))) &&
           (faults.isEmpty() || faults.contains(QString::fromStdString(fault.name)));
}

QStringList Selection::arguments() const
{
    return {door, listArgument(groups), listArgument(faults), listArgument(operations)};
}

Selection Selection::fromArguments(const QStringList& arguments)
{
    const auto list = [&](int at) {
        return arguments.value(at).split(QLatin1Char('|'), Qt::SkipEmptyParts);
    };
    return {arguments.value(0), list(1), list(2), list(3)};
}

int inSession(int& argc, char** argv, const std::function<bool(LoopWatch&)>& run)
{
    if (!prepareToBreak()) {
        std::fprintf(
            stderr,
            "the matrix needs mounts of its own: tests/support/apart.sh kelaccount-matrix\n");
        return 1;
    }
    KelEmulator::Sandbox sandbox;
    sandbox.setPlugin("zorauth"_s, QStringLiteral(KELACCOUNT_MATRIX_PLUGIN));
    sandbox.addProvider(QStringLiteral(KELACCOUNT_PROVIDER_FILE));
    sandbox.addService(QStringLiteral(KELACCOUNT_SERVICE_FILE));
    // The daemon has each answered request written out to disk.
    if (QFile::exists("/dev/shm"_s))
        sandbox.setParentFolder("/dev/shm"_s);
    if (!sandbox.start()) {
        std::fprintf(stderr, "%s\n", qPrintable(sandbox.errorText()));
        return 1;
    }
    sandbox.applyToThisProcess();
    LoopWatch application(argc, argv);
    if (!startTagServer())
        return 1;
    sharedState()->application = static_cast<int32_t>(::getpid());
    const bool isDone = run(application);
    endTagServer();
    return isDone ? 0 : 1;
}

int runInside(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 2; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const Selection selection = Selection::fromArguments(arguments);
    return inSession(argc, argv, [&selection](LoopWatch& application) {
        Run run(application, [](const Cell& cell) {
            std::printf("%s\n", cell.line().toUtf8().constData());
            std::fflush(stdout);
        });
        QStringList problems;
        const QVector<Row> all = rows(problems);
        for (const QString& problem : problems)
            std::fprintf(stderr, "%s\n", qPrintable(problem));
        for (size_t fault = 0; fault < faults().size(); ++fault) {
            for (const Row& row : all) {
                if (selection.has(row) && selection.has(faults()[fault]))
                    run.add(row, static_cast<int>(fault));
            }
        }
        return run.all() && problems.isEmpty();
    });
}

QString startAgain(const QStringList& arguments, const std::function<void(const QString&)>& onLine,
                   const QMap<QString, QString>& variables)
{
    Surroundings surroundings;
    if (!surroundings.make())
        return "no folder for the run"_s;
    Child server;
    server.setProcessEnvironment(surroundings.environment(false));
    server.setProcessChannelMode(QProcess::ForwardedChannels);
    server.start(QStringLiteral(KELACCOUNT_MATRIX_SERVER), {surroundings.authority()});
    QElapsedTimer since;
    since.start();
    const State* const state = surroundings.state();
    while (state->isReady == 0) {
        if (since.elapsed() > startMs || server.waitForFinished(1))
            return "the server of the matrix does not start"_s;
    }
    Child inside;
    QProcessEnvironment environment = surroundings.environment(true);
    for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable)
        environment.insert(variable.key(), variable.value());
    inside.setProcessEnvironment(environment);
    inside.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    inside.start(QCoreApplication::applicationFilePath(), arguments);
    while (inside.state() != QProcess::NotRunning || inside.canReadLine()) {
        if (inside.canReadLine())
            onLine(QString::fromUtf8(inside.readLine()).trimmed());
        else
            inside.waitForReadyRead(1000);
    }
    server.kill();
    server.waitForFinished();
    return inside.exitStatus() != QProcess::NormalExit ? "crashed"_s
           : inside.exitCode() != 0                    ? "ended with %1"_s.arg(inside.exitCode())
                                                       : QString();
}

Outcome runBatch(const Selection& selection, const std::function<void(const Cell&)>& onCell)
{
    Outcome outcome;
    const QString ending =
        startAgain(QStringList(insideMark) + selection.arguments(), [&](const QString& line) {
            const Cell cell = Cell::fromLine(line);
            if (cell.operation.isEmpty())
                return;
            outcome.cells.append(cell);
            onCell(cell);
        });
    if (!ending.isEmpty())
        outcome.problem = "the process with the cells: %1 after %2"_s.arg(
            ending, outcome.cells.isEmpty() ? "none"_s
                                            : outcome.cells.last().row() + QLatin1Char(' ') +
                                                  outcome.cells.last().fault);
    return outcome;
}

} // namespace Matrix
