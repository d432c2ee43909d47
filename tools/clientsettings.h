// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "outcome.h"

#include <QHash>
#include <QString>
#include <QStringList>

/// What the command line and the environment ask for.
struct ClientSettings
{
    enum class Wish { RunCommand, ShowHelp, ShowVersion };

    Wish wish = Wish::RunCommand;
    QString consumerKey;
    QString consumerSecret;
    int server = 2;
    QString service = QStringLiteral("kelaccount");
    int timeLimitSeconds = 70;
    int passwordDescriptor = -1; ///< where passwords are read from; -1 asks for them
    OutputFormat format = OutputFormat::Rows;
    bool verbose = false;
    QString command;
    QStringList arguments;
    QHash<QString, QString> commandOptions; ///< those that only some commands know, by name

    /// Reads the arguments (without the program's name). On misuse, `problem` becomes one line that
    /// says what to do, and the settings are of no use.
    static ClientSettings read(const QStringList& arguments, QString& problem);

    /// Finds key and secret in options, files and environment; a missing one is a problem.
    void findCredentials(QString& problem);

private:
    void takeOption(const QStringList& all, int& position, QString& problem);
    bool takeFlag(const QString& name);
    bool takeValue(const QString& name, const QString& value);

    QString secretFile;
};
