// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/emulatorprocess.h"
#include "support/literals.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkProxy>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QUrl>

#include <csignal>
#include <sys/prctl.h>

namespace {

constexpr int patience = 30000;

} // namespace

void BoundProcess::setupChildProcess()
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
}

QJsonObject ProgramRun::json() const
{
    return isOneLine(output) ? QJsonDocument::fromJson(output).object() : QJsonObject();
}

bool ProgramRun::isOneLine(const QByteArray& text)
{
    return text.size() > 1 && text.endsWith('\n') && text.count('\n') == 1;
}

QProcessEnvironment changedEnvironment(const EnvironmentChange& change)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto variable = change.cbegin(); variable != change.cend(); ++variable) {
        if (variable.value().isEmpty())
            environment.remove(variable.key());
        else
            environment.insert(variable.key(), variable.value());
    }
    return environment;
}

ProgramRun runProgram(const QString& program, const QStringList& arguments,
                      const EnvironmentChange& environment, const QByteArray& input)
{
    BoundProcess process;
    process.setProcessEnvironment(changedEnvironment(environment));
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    const bool ended =
        process.waitForFinished(2 * patience) && process.exitStatus() == QProcess::NormalExit;
    return {ended ? process.exitCode() : -1, process.readAllStandardOutput(),
            process.readAllStandardError()};
}

bool isDead(qint64 process)
{
    QFile status("/proc/%1/stat"_s.arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return true;
    const QByteArray text = status.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) == "Z";
}

AdminReply askAdministration(const QString& address, const char* method, const QString& path,
                             const QByteArray& body, const QByteArray& heading)
{
    const QUrl url(address);
    QTcpSocket socket;
    socket.setProxy(QNetworkProxy::NoProxy);
    socket.connectToHost(url.host(), static_cast<quint16>(url.port(0)));
    if (!socket.waitForConnected(patience))
        return {};
    socket.write(QByteArray(method) + ' ' + path.toLatin1() + " HTTP/1.1\r\n" + heading +
                 "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
    QByteArray answer;
    // It closes the connection after each answer.
    while (socket.waitForReadyRead(patience))
        answer += socket.readAll();
    answer += socket.readAll();
    const int headEnd = answer.indexOf("\r\n\r\n");
    return {answer.mid(9, 3).toInt(), headEnd < 0 ? QByteArray() : answer.mid(headEnd + 4)};
}

EmulatorProcess::~EmulatorProcess()
{
    stop();
}

QString EmulatorProcess::program()
{
    return QStringLiteral(KELACCOUNT_EMULATOR_PROGRAM);
}

bool EmulatorProcess::start(const QStringList& options)
{
    mProcess.start(program(), QStringList{"serve"_s} + options);
    // The preload line comes last but for a sanitizer's.
    QByteArray output;
    const QDeadlineTimer deadline(patience);
    while (!output.contains("LD_PRELOAD=") && !deadline.hasExpired() &&
           mProcess.state() != QProcess::NotRunning) {
        mProcess.waitForReadyRead(100);
        output += mProcess.readAllStandardOutput();
    }
    static const QRegularExpression line("^export (\\w+)='(.*)'$"_s,
                                         QRegularExpression::MultilineOption);
    auto matches = line.globalMatch(QString::fromLocal8Bit(output));
    while (matches.hasNext()) {
        const auto match = matches.next();
        mEnvironment.insert(match.captured(1), match.captured(2));
    }
    return proxyPort() != 0;
}

bool EmulatorProcess::joinSurrounding()
{
    mEnvironment.clear();
    for (const char* name :
         {"https_proxy", "KELACCOUNT_EMULATOR_CA", "KELACCOUNT_EMULATOR_ADMIN"}) {
        if (!qEnvironmentVariableIsSet(name))
            return false;
        mEnvironment.insert(QLatin1String(name), qEnvironmentVariable(name));
    }
    return true;
}

int EmulatorProcess::stop()
{
    if (mProcess.state() == QProcess::NotRunning)
        return mProcess.exitCode();
    mProcess.terminate();
    if (mProcess.waitForFinished(patience))
        return mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
    mProcess.kill();
    mProcess.waitForFinished(patience);
    return -1;
}

quint16 EmulatorProcess::proxyPort() const
{
    const QUrl proxy(mEnvironment.value("https_proxy"_s));
    return static_cast<quint16>(qMax(0, proxy.port(0)));
}

AdminReply EmulatorProcess::admin(const char* method, const QString& path,
                                  const QByteArray& body) const
{
    return askAdministration(mEnvironment.value("KELACCOUNT_EMULATOR_ADMIN"_s), method, path, body);
}

bool EmulatorProcess::orderFaults(const QByteArray& lines) const
{
    return admin("POST", "/faults"_s, lines).status == 200;
}

QJsonArray EmulatorProcess::requests() const
{
    return QJsonDocument::fromJson(admin("GET", "/requests"_s).body).array();
}

QByteArray EmulatorProcess::log()
{
    mLog += mProcess.readAllStandardError();
    return mLog;
}

bool EmulatorProcess::logHas(const QByteArray& text)
{
    mProcess.setReadChannel(QProcess::StandardError);
    const QDeadlineTimer deadline(patience);
    while (!log().contains(text)) {
        if (deadline.hasExpired())
            return false;
        mProcess.waitForReadyRead(50);
    }
    return true;
}
