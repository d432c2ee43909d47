// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "sandbox/childprocess.h"

#include <QMap>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace KelEmulator {

/// A desktop session of its own, in a temporary folder: a message bus, the sign-on daemon with its
/// own store and plugin folder, and an accounts database with its own providers and services.
///
/// Nothing of the user's session is read or written. The bus ends with this object, or with the
/// thread that started it; the daemon and its plugins end with the bus.
class Sandbox
{
public:
    Sandbox();
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;
    ~Sandbox(); ///< stop()

    // What the session holds; set before start().

    /// The module that serves a sign-on method.
    void setPlugin(const QString& method, const QString& file);
    void addProvider(const QString& file); ///< a `*.provider` file
    void addService(const QString& file);  ///< a `*.service` file of the accounts framework
    /// A further bus name that may be activated, if its package is installed.
    void addActivatableName(const QString& busName);
    /// A further variable of the session's environment; a null value takes it out.
    void setVariable(const QString& name, const QString& value);

    /// The folder that the session's own is made in; the one for temporary files when not set.
    void setParentFolder(const QString& folder);

    /// Makes the folder and starts the bus. False when something is missing; errorText() says what.
    bool start();
    QString errorText() const { return mErrorText; }

    /// What a program needs to run inside. Complete: the caller's environment with the session's
    /// own variables in place of the user's.
    QProcessEnvironment environment() const;
    /// Moves this process into the session. Before the process has used its bus or an account.
    void applyToThisProcess() const;

    /// Where the session lies, or a file or folder in it.
    QString path(const QString& name = QString()) const;
    qint64 busProcessId() const;
    /// What the bus and the daemon wrote.
    QString logFile() const { return path(QStringLiteral("session.log")); }

    /// Ends the bus, waits for the daemon and its plugins to follow, and removes the folder.
    void stop();

private:
    bool makeFolders();
    bool installFiles();
    bool writeBusConfiguration();
    bool startBus();
    bool waitForBus();
    void waitForFollowers();
    bool fail(const QString& text);

    std::unique_ptr<QTemporaryDir> mFolder;
    ChildProcess mBus;
    QMap<QString, QString> mPlugins; // method to module
    QStringList mProviders;
    QStringList mServices;
    QStringList mActivatableNames;
    QMap<QString, QString> mVariables;
    QString mParentFolder;
    QString mErrorText;
};

} // namespace KelEmulator
