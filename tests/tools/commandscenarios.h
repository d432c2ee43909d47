// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/emulatorprocess.h"
#include "platform/privatebus.h"
#include "support/scenarios.h"
#include "tools/terminal.h"

#include <QObject>
#include <QTemporaryDir>

#include <memory>

/// Runs the scenarios of the file or folder KELACCOUNT_TEST_SCENARIOS, each a row: what somebody
/// enters in a shell, and what comes of it. data/commands/README.md says how they are written.
class CommandScenarios : public QObject, private KelTest::Scenarios
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void everyScenario_data() { scenarioRows(qEnvironmentVariable("KELACCOUNT_TEST_SCENARIOS")); }
    void everyScenario();
    void aScenarioThatDoesNotHoldFails();

private:
    using Step = QString (CommandScenarios::*)(const QString& rest);
    static const QMap<QString, Step>& steps();
    QString step(const QString& word, const QString& rest, const QString& more) override;

    // What is done.
    QString setVariable(const QString& rest);
    QString startEmulator(const QString& rest);
    QString stopEmulator(const QString& rest);
    QString askAdmin(const QString& rest);
    QString orderNonsense(const QString& rest);
    QString startBus(const QString& rest);
    QString runInShell(const QString& script);
    QString startInShell(const QString& script);
    QString startOnTerminal(const QString& script);
    QString typeText(const QString& rest);
    QString sendSignal(const QString& rest);
    QString keep(const QString& rest);

    // What has to hold.
    QString shows(const QString& rest);
    QString ends(const QString& rest);
    QString exits(const QString& rest);
    QString fails(const QString& rest);
    QString output(const QString& rest);
    QString errors(const QString& rest);
    QString prints(const QString& rest);
    QString says(const QString& rest);
    QString lacks(const QString& rest);
    QString counts(const QString& rest);
    QString matches(const QString& rest);
    QString widest(const QString& rest);
    QString json(const QString& rest);
    QString finding(const QString& rest);
    QString service(const QString& rest);
    QString tag(const QString& rest);
    QString dead(const QString& rest);
    QString gone(const QString& rest);

    bool start(const QString& script, const QByteArray& terminal);
    bool writeScript(const QString& script);
    void collect();
    static QString inPlain(QString text);

    QProcessEnvironment mBefore;  ///< the environment before the scenario
    QProcessEnvironment mOutside; ///< and before the emulator of the scenario
    std::unique_ptr<QTemporaryDir> mFolder;
    std::unique_ptr<EmulatorProcess> mEmulator;
    std::unique_ptr<KelTest::PrivateBus> mBus;
    std::unique_ptr<KelTest::Terminal> mTerminal;
    std::unique_ptr<KelTest::TerminalProcess> mProcess; ///< what was started and is not waited for
    ProgramRun mStarted;                                ///< what that has come to by now
    ProgramRun mRun;                                    ///< the latest
};
