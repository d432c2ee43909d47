// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/loudrun.h"

#include "emulator/emulatorprocess.h"
#include "support/secretsearch.h"

#include <QCoreApplication>
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
    return write(folder + QLatin1String("/secrets"), secrets.join(QLatin1Char('\n')).toUtf8()) &&
           QFile::copy(qEnvironmentVariable("SSO_STORAGE_PATH") + QLatin1String("/../session.log"),
                       folder + QLatin1String("/session.log"));
}

Result run(const QString& consumerSecret, const QString& loggingRules)
{
    Result result;
    const QTemporaryDir folder;
    const QString secretFile = folder.filePath(QStringLiteral("consumer-secret"));
    if (!write(secretFile, consumerSecret.toUtf8() + '\n'))
        return result;

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(folderVariable), folder.path());
    environment.insert(QStringLiteral("SSO_LOGGING_LEVEL"), QStringLiteral("2"));
    environment.insert(QStringLiteral("QT_LOGGING_RULES"), loggingRules);
    environment.insert(QStringLiteral("QT_ASSUME_STDERR_HAS_CONSOLE"), QStringLiteral("1"));
    BoundProcess emulator;
    emulator.setProcessEnvironment(environment);
    emulator.setProcessChannelMode(QProcess::MergedChannels);
    emulator.start(EmulatorProcess::program(),
                   {QStringLiteral("run"), QStringLiteral("--verbose"),
                    QStringLiteral("--consumer-secret-file"), secretFile, QStringLiteral("--"),
                    QCoreApplication::applicationFilePath()});
    if (emulator.waitForFinished(patienceMs) && emulator.exitStatus() == QProcess::NormalExit)
        result.exitCode = emulator.exitCode();
    result.output = emulator.readAll();
    if (result.exitCode != 0) // whole: a test's message is cut short
        std::fwrite(result.output.constData(), 1, size_t(result.output.size()), stderr);
    result.sessionLog = SecretSearch::contentOf(folder.filePath(QStringLiteral("session.log")));
    result.secrets =
        QString::fromUtf8(SecretSearch::contentOf(folder.filePath(QStringLiteral("secrets"))))
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return result;
}

} // namespace KelTest::LoudRun
