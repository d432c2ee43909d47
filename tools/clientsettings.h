// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

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
    bool json = false;
    bool verbose = false;
    QString command;
    QStringList arguments;

    /// Reads the arguments (without the program's name). On misuse, `problem` becomes one line that
    /// says what to do, and the settings are of no use.
    static ClientSettings read(const QStringList& arguments, QString& problem);

    /// Finds key and secret in options, files and environment; a missing one is a problem.
    void findCredentials(QString& problem);

private:
    QString secretFile;
};
