// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/commandscenarios.h"

#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"
#include "support/literals.h"
#include "support/patience.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace KelTest;

namespace {

constexpr int patience = 30000;

/// An abstract name of this test's own: the device's is everybody's on this machine.
QByteArray tagSocket()
{
    return "kelaccount-commands-" + QByteArray::number(getpid());
}

/// What the tag server answers to a request for a tag; nothing when nobody listens.
QByteArray askTagServer()
{
    // 00 C3, 3 more than the key has, "0", the length of the key, the key
    const QByteArray request("\x00\xC3\x00\x0D\x30\x00\x0A:SSO_TEST:", 17);
    const QByteArray name = tagSocket();
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.constData(), size_t(name.size()));
    const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + 1 + size_t(name.size()));
    const int client = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    QByteArray reply;
    if (::connect(client, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
        ::send(client, request.constData(), size_t(request.size()), MSG_NOSIGNAL) > 0) {
        char bytes[100];
        reply = QByteArray(bytes, int(qMax<ssize_t>(::recv(client, bytes, sizeof bytes, 0), 0)));
    }
    ::close(client);
    return reply;
}

QString first(const QString& text)
{
    return text.section(QLatin1Char(' '), 0, 0);
}

QString behind(const QString& text, int words = 1)
{
    return text.section(QLatin1Char(' '), words);
}

QStringList namesIn(const QDir& folder)
{
    return folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace

void CommandScenarios::init()
{
    mBefore = QProcessEnvironment::systemEnvironment();
    // A short name: what is made in it has sockets.
    mFolder = std::make_unique<QTemporaryDir>(QDir::tempPath() + "/kel-XXXXXX"_s);
    const QDir folder(mFolder->path());
    QVERIFY(folder.mkdir("tmp"_s) && QDir::setCurrent(folder.path()));
    const QString programs = QFileInfo(EmulatorProcess::program()).path();
    mValues = {{"folder"_s, folder.path()},
               {"programs"_s, programs},
               {"library"_s, QStringLiteral(KELACCOUNT_LIBRARY_FILE)},
               {"modules"_s, QStringLiteral(KELACCOUNT_MODULE_FOLDER)},
               {"module"_s, QStringLiteral(KELACCOUNT_OTHER_MODULE)},
               {"plugin"_s, QStringLiteral(KELACCOUNT_TEST_PLUGIN)},
               {"probe"_s, QStringLiteral(KELACCOUNT_TRUST_PROBE)},
               {"silence"_s, QStringLiteral(KELACCOUNT_SILENT_RESOLVER)},
               {"service"_s, QStringLiteral(KELACCOUNT_SERVICE)},
               {"socket"_s, QString::fromLatin1(tagSocket())},
               {"version"_s, QStringLiteral(KELACCOUNT_TEST_VERSION)},
               {"source"_s, QStringLiteral(KELACCOUNT_SOURCE_FOLDER)}};
    mRun = {};
    setVariable("PATH "_s + programs + QLatin1Char(':') + mBefore.value("PATH"_s));
    // So that what other emulators on this machine leave is not taken for ours.
    setVariable("TMPDIR "_s + folder.filePath("tmp"_s));
    setVariable("HOME "_s + folder.path());
    setVariable("XDG_RUNTIME_DIR "_s + folder.path());
    setVariable("ACCOUNTS "_s + folder.path());
    setVariable("LC_ALL C.UTF-8"_s);
    setVariable("KELACCOUNT_CONSUMER_KEY demo-key"_s);
    setVariable("KELACCOUNT_CONSUMER_SECRET demo-secret"_s);
    setVariable("KELACCOUNT_TAG_SERVER_OPTIONS --tag hello --name "_s + mValues["socket"_s]);
    setVariable("DBUS_SESSION_BUS_ADDRESS unix:path=/nonexistent"_s);
    setVariable("DBUS_SYSTEM_BUS_ADDRESS unix:path=/nonexistent"_s);
}

void CommandScenarios::cleanup()
{
    mProcess.reset();
    mTerminal.reset();
    mBus.reset();
    const bool isStopped = !mEmulator || stopEmulator({}).isEmpty();
    for (const QString& name : QProcessEnvironment::systemEnvironment().keys())
        qunsetenv(name.toLocal8Bit().constData());
    for (const QString& name : mBefore.keys())
        qputenv(name.toLocal8Bit().constData(), mBefore.value(name).toLocal8Bit());
    QVERIFY(isStopped);
    // Whatever ran, it left nothing.
    QTRY_COMPARE_WITH_TIMEOUT(namesIn(mFolder->filePath("tmp"_s)), QStringList(), patience);
    QVERIFY(QDir::setCurrent(QDir::tempPath()));
}

void CommandScenarios::everyScenario()
{
    QFETCH(QStringList, lines);
    const QString problem = run(lines);
    QVERIFY2(problem.isEmpty(), (problem.toUtf8() + "\nstatus " + QByteArray::number(mRun.status) +
                                 '\n' + mRun.output + mRun.errors)
                                    .constData());
}

void CommandScenarios::aScenarioThatDoesNotHoldFails()
{
    const QString lines =
        "exit 1, fails 0, output, output x, errors x, prints x, says x, lacks here, counts 2 here, "
        "matches ^x, widest 3, json a = b, finding a good, service 200, tag hello, keep name (x), "
        "dead 1, gone, ends 0, shows x, type x, send TERM, stop, admin GET /health, "
        "refused POST /clock {}, emulator --swim, think about it, $"_s;
    for (const QString& line : lines.split(", "_s)) {
        QCOMPARE(run({"$ echo here"_s, "exit 0"_s, "output here\\n"_s}), QString());
        QVERIFY2(!run({line}).isEmpty(), qPrintable(line));
    }
}

const QMap<QString, CommandScenarios::Step>& CommandScenarios::steps()
{
    using Self = CommandScenarios;
    static const QMap<QString, Step> all = {{"set"_s, &Self::setVariable},
                                            {"emulator"_s, &Self::startEmulator},
                                            {"stop"_s, &Self::stopEmulator},
                                            {"admin"_s, &Self::askAdmin},
                                            {"refused"_s, &Self::orderNonsense},
                                            {"bus"_s, &Self::startBus},
                                            {"$"_s, &Self::runInShell},
                                            {"start"_s, &Self::startInShell},
                                            {"terminal"_s, &Self::startOnTerminal},
                                            {"type"_s, &Self::typeText},
                                            {"send"_s, &Self::sendSignal},
                                            {"keep"_s, &Self::keep},
                                            {"shows"_s, &Self::shows},
                                            {"ends"_s, &Self::ends},
                                            {"exit"_s, &Self::exits},
                                            {"fails"_s, &Self::fails},
                                            {"output"_s, &Self::output},
                                            {"errors"_s, &Self::errors},
                                            {"prints"_s, &Self::prints},
                                            {"says"_s, &Self::says},
                                            {"lacks"_s, &Self::lacks},
                                            {"counts"_s, &Self::counts},
                                            {"matches"_s, &Self::matches},
                                            {"widest"_s, &Self::widest},
                                            {"json"_s, &Self::json},
                                            {"finding"_s, &Self::finding},
                                            {"service"_s, &Self::service},
                                            {"tag"_s, &Self::tag},
                                            {"dead"_s, &Self::dead},
                                            {"gone"_s, &Self::gone}};
    return all;
}

QString CommandScenarios::step(const QString& word, const QString& rest, const QString& more)
{
    const Step known = steps().value(word);
    if (!known)
        return "what does it mean?"_s;
    return (this->*known)(more.isEmpty() ? rest : rest + QLatin1Char('\n') + more);
}

QString CommandScenarios::setVariable(const QString& rest)
{
    const QByteArray name = first(rest).toLatin1();
    if (rest.contains(QLatin1Char(' ')))
        qputenv(name.constData(), inPlain(behind(rest)).toUtf8());
    else
        qunsetenv(name.constData());
    return {};
}

QString CommandScenarios::startEmulator(const QString& rest)
{
    if (mEmulator && !stopEmulator({}).isEmpty())
        return "the one before does not end"_s;
    mEmulator = std::make_unique<EmulatorProcess>();
    if (!mEmulator->start(rest.split(QLatin1Char(' '), Qt::SkipEmptyParts))) {
        mRun.errors = mEmulator->log();
        mEmulator.reset();
        return "it does not start"_s;
    }
    mOutside = QProcessEnvironment::systemEnvironment();
    const auto environment = mEmulator->environment();
    for (auto item = environment.cbegin(); item != environment.cend(); ++item)
        qputenv(item.key().toLatin1().constData(), item.value().toLocal8Bit());
    return {};
}

QString CommandScenarios::stopEmulator(const QString& rest)
{
    if (!mEmulator || !rest.isEmpty())
        return "there is none"_s;
    const auto environment = mEmulator->environment();
    for (auto item = environment.cbegin(); item != environment.cend(); ++item)
        setVariable(mOutside.contains(item.key())
                        ? item.key() + QLatin1Char(' ') + mOutside.value(item.key())
                        : item.key());
    const int status = mEmulator->stop();
    mRun = {status, {}, mEmulator->log()};
    mEmulator.reset();
    return expect(status == 0);
}

QString CommandScenarios::askAdmin(const QString& rest)
{
    if (!mEmulator)
        return "there is none"_s;
    const AdminReply reply = mEmulator->admin(
        first(rest).toLatin1().constData(), first(behind(rest)), inPlain(behind(rest, 2)).toUtf8());
    mRun = {reply.status, reply.body, {}};
    return expect(reply.status == 200);
}

QString CommandScenarios::orderNonsense(const QString& rest)
{
    if (askAdmin(rest).isEmpty())
        return "it is not refused"_s;
    return expect(mRun.status == 400 && mRun.output.endsWith('\n'));
}

QString CommandScenarios::startBus(const QString& rest)
{
    const QByteArray before = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    mBus = std::make_unique<PrivateBus>();
    if (!mBus->start())
        return "needs the package dbus"_s;
    if (!rest.isEmpty() && !mBus->runModem(rest))
        return "needs the package python3-dbusmock"_s;
    mValues["bus"_s] = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", before);
    return {};
}

bool CommandScenarios::writeScript(const QString& script)
{
    // As a file: what is not ASCII would be an argument only in a locale that knows it.
    QFile file(mFolder->filePath("script"_s));
    return !script.isEmpty() && file.open(QIODevice::WriteOnly) &&
           file.write(script.toUtf8() + '\n') > 0;
}

QString CommandScenarios::runInShell(const QString& script)
{
    if (!writeScript(script))
        return "there is nothing to run"_s;
    mRun = runProgram("/bin/sh"_s, {mFolder->filePath("script"_s)});
    return {};
}

bool CommandScenarios::start(const QString& script, const QByteArray& terminal)
{
    if (!writeScript(script))
        return false;
    mStarted = {};
    mProcess = std::make_unique<TerminalProcess>(terminal);
    if (!terminal.isEmpty())
        mProcess->writeToTerminal();
    mProcess->start("/bin/sh"_s, {mFolder->filePath("script"_s)});
    mValues["pid"_s] = QString::number(mProcess->processId());
    return mProcess->waitForStarted(patience);
}

QString CommandScenarios::startInShell(const QString& script)
{
    mTerminal.reset();
    return expect(start("exec "_s + script, {}));
}

QString CommandScenarios::startOnTerminal(const QString& script)
{
    mTerminal = std::make_unique<Terminal>();
    return expect(start(script, mTerminal->name()));
}

QString CommandScenarios::typeText(const QString& rest)
{
    // Nothing is typed for everybody to see.
    return expect(mTerminal && QTest::qWaitFor([&] { return !mTerminal->echoes(); }, patience) &&
                  mTerminal->type(inPlain(rest).toUtf8()));
}

QString CommandScenarios::sendSignal(const QString& rest)
{
    static const QMap<QString, int> numbers = {
        {"TERM"_s, SIGTERM}, {"INT"_s, SIGINT}, {"HUP"_s, SIGHUP}, {"KILL"_s, SIGKILL}};
    const qint64 process = mProcess ? mProcess->processId() : 0;
    return expect(process > 1 && numbers.contains(rest) &&
                  ::kill(pid_t(process), numbers.value(rest)) == 0);
}

QString CommandScenarios::keep(const QString& rest)
{
    const auto found = QRegularExpression(behind(rest), QRegularExpression::MultilineOption)
                           .match(QString::fromUtf8(mRun.output));
    mValues[first(rest)] = found.captured(1);
    return expect(found.hasMatch());
}

/// What the process that was started has written by now.
void CommandScenarios::collect()
{
    if (!mProcess)
        return;
    mStarted.errors += mProcess->readAllStandardError();
    mStarted.output =
        mTerminal ? mTerminal->screen() : mStarted.output + mProcess->readAllStandardOutput();
    mRun = mStarted;
}

QString CommandScenarios::shows(const QString& rest)
{
    const QByteArray wanted = inPlain(rest).toUtf8();
    return expect(mProcess && QTest::qWaitFor(
                                  [&] {
                                      collect();
                                      return mRun.output.contains(wanted);
                                  },
                                  patience));
}

QString CommandScenarios::ends(const QString& rest)
{
    if (!mProcess)
        return "there is none"_s;
    const bool hasEnded = QTest::qWaitFor(
        [&] {
            collect();
            return mProcess->state() == QProcess::NotRunning;
        },
        patience);
    collect();
    mRun.status =
        hasEnded && mProcess->exitStatus() == QProcess::NormalExit ? mProcess->exitCode() : -1;
    return hasEnded ? exits(rest) : "it does not"_s;
}

QString CommandScenarios::exits(const QString& rest)
{
    return same(QString::number(mRun.status), rest);
}

QString CommandScenarios::fails(const QString& rest)
{
    if (!mRun.output.isEmpty() || !ProgramRun::isOneLine(mRun.errors))
        return "it is not one line"_s;
    const QString problem = exits(first(rest));
    return problem.isEmpty() ? says(behind(rest)) : problem;
}

QString CommandScenarios::output(const QString& rest)
{
    return same(QString::fromUtf8(mRun.output), inPlain(rest));
}

QString CommandScenarios::errors(const QString& rest)
{
    return same(QString::fromUtf8(mRun.errors), inPlain(rest));
}

QString CommandScenarios::prints(const QString& rest)
{
    return expect(mRun.output.contains(inPlain(rest).toUtf8()));
}

QString CommandScenarios::says(const QString& rest)
{
    return expect(mRun.errors.contains(inPlain(rest).toUtf8()));
}

QString CommandScenarios::lacks(const QString& rest)
{
    return expect(!(mRun.output + mRun.errors).contains(inPlain(rest).toUtf8()));
}

QString CommandScenarios::counts(const QString& rest)
{
    return same(QString::number(mRun.output.count(inPlain(behind(rest)).toUtf8())), first(rest));
}

QString CommandScenarios::matches(const QString& rest)
{
    const QRegularExpression form(rest, QRegularExpression::DotMatchesEverythingOption);
    return expect(form.match(QString::fromUtf8(mRun.output)).hasMatch());
}

QString CommandScenarios::widest(const QString& rest)
{
    int width = 0;
    for (QString line : QString::fromUtf8(mRun.output).split(QLatin1Char('\n'))) {
        // An example is one line for a shell.
        if (!line.startsWith("  kelaccount "_s))
            width = qMax(width, line.remove(QLatin1Char('\r')).size());
    }
    return width <= rest.toInt() ? QString() : "it is %1"_s.arg(width);
}

QString CommandScenarios::json(const QString& rest)
{
    QJsonValue value = mRun.json();
    for (const QString& name : rest.section(" = "_s, 0, 0).split(QLatin1Char('.')))
        value = value.toObject().value(name);
    const QString wanted = rest.section(" = "_s, 1);
    if (value.isArray())
        return same(
            QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact)),
            wanted);
    return same(value.isUndefined() ? "nothing"_s : value.toVariant().toString(), wanted);
}

/// What the doctor says of a check: "CHECK LEVEL TEXT".
QString CommandScenarios::finding(const QString& rest)
{
    static const QMap<QString, int> statuses = {
        {"error"_s, 1}, {"warning"_s, 5}, {"note"_s, 0}, {"good"_s, 0}};
    const QJsonObject all = mRun.json();
    if (mRun.status != statuses.value(all["worst"_s].toString(), -1))
        return "the exit status is that of something else"_s;
    const QString level = first(behind(rest));
    for (const QJsonValue& finding : all["findings"_s].toArray()) {
        if (finding["check"_s] == first(rest))
            return expect(finding["level"_s] == level &&
                          finding["text"_s].toString().contains(behind(rest, 2)) &&
                          finding["advice"_s].toString().isEmpty() == (level == "good"_s));
    }
    return "there is no such finding"_s;
}

/// Asks whether a name is free: "STATUS", with a clock so many seconds ahead, at another address.
QString CommandScenarios::service(const QString& rest)
{
    SignedRequest request;
    const QStringList words = rest.split(QLatin1Char(' '));
    if (words.size() > 1)
        request.timeStamp =
            QByteArray::number(request.timeStamp.toLongLong() + words.at(1).toLongLong());
    if (words.size() > 2)
        request.path = words.at(2).toLatin1();
    WireClient client;
    const bool isThere = mEmulator && client.open(*mEmulator);
    return same(isThere ? QString::number(client.ask(request.bytes()).status) : "none"_s,
                words.first());
}

QString CommandScenarios::tag(const QString& rest)
{
    return same(QString::fromLatin1(askTagServer()),
                rest.isEmpty() ? QString() : QLatin1Char('\1') + rest);
}

QString CommandScenarios::dead(const QString& rest)
{
    return expect(rest.toLongLong() > 1 &&
                  QTest::qWaitFor([&] { return isDead(rest.toLongLong()); }, patience));
}

QString CommandScenarios::gone(const QString& rest)
{
    return expect(!rest.isEmpty() &&
                  QTest::qWaitFor([&] { return !QFileInfo::exists(rest); }, patience));
}

QString CommandScenarios::inPlain(QString text)
{
    return text.replace("\\n"_s, "\n"_s)
        .replace("\\r"_s, "\r"_s)
        .replace("\\e"_s, "\x1b"_s)
        .replace("^C"_s, "\x03"_s)
        .replace("^D"_s, "\x04"_s);
}

QTEST_GUILESS_MAIN(CommandScenarios)
