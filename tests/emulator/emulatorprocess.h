// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QProcess>
#include <QString>
#include <QStringList>

/// A process that dies with the test.
class BoundProcess : public QProcess
{
public:
    using QProcess::QProcess;

protected:
    void setupChildProcess() override;
};

/// What a program came to.
struct ProgramRun
{
    int status = -1; ///< -1: it did not end in time, or crashed
    QByteArray output;
    QByteArray errors;

    /// Standard output, when it is one line with one JSON object; empty otherwise.
    QJsonObject json() const;
    /// Exactly one line of text, and an end of line.
    static bool isOneLine(const QByteArray& text);
};

/// Variables to be set; one that is empty is taken out.
using EnvironmentChange = QMap<QString, QString>;
QProcessEnvironment changedEnvironment(const EnvironmentChange& change);
/// Runs a program to its end.
ProgramRun runProgram(const QString& program, const QStringList& arguments,
                      const EnvironmentChange& environment = {}, const QByteArray& input = {});

/// Gone, or dead and only waiting for whoever inherited it to take note.
bool isDead(qint64 process);

/// What the administrative endpoint answers.
struct AdminReply
{
    int status = 0; ///< 0 when there was no answer
    QByteArray body;
};

/// Asks the administrative endpoint at that address, past any proxy of the application. `heading`
/// holds the lines of the request that say whom it is for and from where it comes.
AdminReply askAdministration(const QString& address, const char* method, const QString& path,
                             const QByteArray& body = {},
                             const QByteArray& heading = "Host: localhost\r\n");

/// The emulator program, serving.
class EmulatorProcess
{
public:
    ~EmulatorProcess();

    static QString program();
    /// Any use of the program but "serve" that goes well.
    static ProgramRun run(const QStringList& arguments, const EnvironmentChange& environment = {},
                          const QByteArray& input = {})
    {
        return runProgram(program(), arguments, environment, input);
    }

    /// Starts "serve" and reads the environment that it prints. False, with what it said in log().
    bool start(const QStringList& options = {});
    /// Asks the emulator that this program runs in, instead of starting one. False when it runs in
    /// none.
    bool joinSurrounding();
    /// Asks it to end and waits; its exit status, -1 when it did not end in time.
    int stop();

    quint16 proxyPort() const;
    QString authorityFile() const
    {
        return mEnvironment.value(QStringLiteral("KELACCOUNT_EMULATOR_CA"));
    }
    QMap<QString, QString> environment() const { return mEnvironment; }

    AdminReply admin(const char* method, const QString& path, const QByteArray& body = {}) const;
    bool orderFaults(const QByteArray& lines) const;
    QJsonArray requests() const;
    /// Everything on standard error until now.
    QByteArray log();
    /// Waits until the log has the text.
    bool logHas(const QByteArray& text);

private:
    BoundProcess mProcess;
    QMap<QString, QString> mEnvironment;
    QByteArray mLog;
};
