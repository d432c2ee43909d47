// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/emulatorprocess.h"
#include "support/literals.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QTest>

namespace KelTest {

enum DoctorStatus { Fine = 0, HasErrors = 1, HasWarnings = 5 };

inline const QStringList withSim = {"--sim"_s, "244-05-1234567890"_s};

/// A client on a device where everything is in order, and a folder for what a test puts there.
struct Session
{
    EmulatorProcess& emulator;
    QTemporaryDir folder;
    EnvironmentChange environment;
    QString client = QStringLiteral(KELACCOUNT_CLIENT_PROGRAM);

    explicit Session(EmulatorProcess& running)
        : emulator(running), environment(running.environment())
    {
        environment.insert("KELACCOUNT_CONSUMER_KEY"_s, "demo-key"_s);
        environment.insert("KELACCOUNT_CONSUMER_SECRET"_s, "demo-secret"_s);
        environment.insert("LC_ALL"_s, "fi_FI.UTF-8"_s);
        // Looks as if the daemon had an extension that encrypts.
        write("extensions/libcryptsetup.so"_s, {});
        set("SSO_EXTENSIONS_DIR", folder.filePath("extensions"_s));
    }
    bool set(const char* variable, const QString& value)
    {
        environment[text(variable)] = value;
        return true;
    }
    QString write(const QString& name, const QByteArray& content)
    {
        QFile file(folder.filePath(name));
        const bool written = QDir().mkpath(QFileInfo(file).path()) &&
                             file.open(QIODevice::WriteOnly) &&
                             file.write(content) == content.size();
        return written ? file.fileName() : QString();
    }
    QString plugin() const { return environment["SSO_PLUGINS_DIR"_s] + "/libzorauthplugin.so"_s; }
};

inline ProgramRun diagnosed(const Session& session, const QStringList& options = {})
{
    return runProgram(session.client, QStringList{"doctor"_s, "--json"_s} + options,
                      session.environment);
}

inline void verifyFinding(const ProgramRun& run, const QString& check, const QString& level,
                          const QString& text)
{
    QVERIFY2(!run.output.contains("planted"), run.output.constData());
    const QString worst = run.json()["worst"_s].toString();
    QCOMPARE(run.status, int(worst == "error"_s     ? HasErrors
                             : worst == "warning"_s ? HasWarnings
                                                    : Fine));
    for (const QJsonValue& finding : run.json()["findings"_s].toArray()) {
        if (finding["check"_s] != check)
            continue;
        QVERIFY2(finding["level"_s] == level, run.output.constData());
        QVERIFY2(finding["text"_s].toString().contains(text), run.output.constData());
        QCOMPARE(finding["advice"_s].toString().isEmpty(), level == "good"_s);
        return;
    }
    QFAIL(qPrintable("no finding of "_s + check + QString::fromUtf8(run.output)));
}

} // namespace KelTest
