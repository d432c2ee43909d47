// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/loudrun.h"

#include "emulator/emulatorprocess.h"
#include "support/literals.h"
#include "support/secretsearch.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdio>

namespace KelTest::LoudRun {

namespace {

constexpr int patienceMs = 60000;
constexpr const char* folderVariable = "KELACCOUNT_TEST_SECRETS";

bool write(const QString& name, const QByteArray& bytes)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

bool isInside()
{
    return qEnvironmentVariableIsSet(folderVariable);
}

bool handOver(const QStringList& secrets)
{
    const QString folder = qEnvironmentVariable(folderVariable);
    return write(folder + "/secrets"_s, secrets.join(QLatin1Char('\n')).toUtf8()) &&
           QFile::copy(qEnvironmentVariable("SSO_STORAGE_PATH") + "/../session.log"_s,
                       folder + "/session.log"_s);
}

Result run(const QString& consumerSecret, const QString& loggingRules)
{
    Result result;
    const QTemporaryDir folder;
    const QString secretFile = folder.filePath("consumer-secret"_s);
    if (!write(secretFile, consumerSecret.toUtf8() + '\n'))
        return result;

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(folderVariable), folder.path());
    environment.insert("SSO_LOGGING_LEVEL"_s, "2"_s);
    environment.insert("QT_LOGGING_RULES"_s, loggingRules);
    environment.insert("QT_ASSUME_STDERR_HAS_CONSOLE"_s, "1"_s);
    // Of every process that uses the library.
    environment.insert("KELACCOUNT_TRACE"_s, folder.filePath("trace-%p.json"_s));
    BoundProcess emulator;
    emulator.setProcessEnvironment(environment);
    emulator.setProcessChannelMode(QProcess::MergedChannels);
    emulator.start(EmulatorProcess::program(),
                   {"run"_s, "--verbose"_s, "--consumer-secret-file"_s, secretFile, "--"_s,
                    QCoreApplication::applicationFilePath()});
    if (emulator.waitForFinished(patienceMs) && emulator.exitStatus() == QProcess::NormalExit)
        result.exitCode = emulator.exitCode();
    result.output = emulator.readAll();
    if (result.exitCode != 0) // whole: a test's message is cut short
        std::fwrite(result.output.constData(), 1, size_t(result.output.size()), stderr);
    result.sessionLog = SecretSearch::contentOf(folder.filePath("session.log"_s));
    const QDir traces(folder.path(), "trace-*.json"_s);
    for (const QString& name : traces.entryList())
        result.traces += SecretSearch::contentOf(traces.filePath(name));
    result.secrets = QString::fromUtf8(SecretSearch::contentOf(folder.filePath("secrets"_s)))
                         .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return result;
}

} // namespace KelTest::LoudRun
