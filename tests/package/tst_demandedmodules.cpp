// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/literals.h"
#include "support/rows.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>

namespace {

const QStringList moduleNames{"accounts.so"_s, "region.so"_s};

// The modules in a folder, in the order in which sorting puts them.
QByteArrayList modulesIn(const QString& folder)
{
    QByteArrayList paths;
    for (const QString& name : moduleNames)
        paths.append(
            QFile::encodeName(QFileInfo(folder + QLatin1Char('/') + name).canonicalFilePath()));
    return paths;
}

struct Outcome
{
    int status = -1;
    QByteArrayList modules;
    QByteArray log;
};

} // namespace

// From where the library loads what it needs.
class TestDemandedModules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mFolder = std::make_unique<QTemporaryDir>();
        QVERIFY(mFolder->isValid());
    }

    void theEnvironmentHasNoSay_data()
    {
        const auto row = rows<QString>("variable");
        row("none", {});
        row("libraries", "LD_LIBRARY_PATH");
        row("plugins", "QT_PLUGIN_PATH");
    }
    void theEnvironmentHasNoSay()
    {
        QFETCH(QString, variable);
        const QString folder = mFolder->filePath("planted"_s);
        QVERIFY(plantModules(folder));
        QVERIFY(plantModules(folder + "/" KELACCOUNT_MODULE_FOLDER ""_s));
        QMap<QString, QString> variables;
        if (!variable.isEmpty())
            variables.insert(variable, folder + "/" KELACCOUNT_MODULE_FOLDER ":"_s + folder);
        const Outcome outcome = run(folder, variables);
        QCOMPARE(outcome.status, 0);
        // Where a module is not taken, the library says so, and that it has no accounts.
        QVERIFY2(!outcome.log.contains("kelaccount."), outcome.log);
        QCOMPARE(outcome.modules, modulesIn(QFileInfo(text(KELACCOUNT_LIBRARY)).path() +
                                            "/" KELACCOUNT_MODULE_FOLDER ""_s));
    }

    // The library itself is found by a relative path, as an application's own settings may have it;
    // then the application goes to another folder.
    void theCurrentFolderHasNoSay()
    {
        const QString good = mFolder->filePath("good"_s);
        const QString goodModules = good + "/lib/" KELACCOUNT_MODULE_FOLDER ""_s;
        QVERIFY(copyLibrary(good + "/lib"_s));
        QVERIFY(QDir().mkpath(goodModules));
        const QByteArrayList built = modulesIn(QFileInfo(text(KELACCOUNT_LIBRARY)).path() +
                                               "/" KELACCOUNT_MODULE_FOLDER ""_s);
        for (const QByteArray& module : built)
            QVERIFY(QFile::copy(QFile::decodeName(module),
                                goodModules + QLatin1Char('/') +
                                    QFileInfo(QFile::decodeName(module)).fileName()));
        const QString planted = mFolder->filePath("planted"_s);
        QVERIFY(copyLibrary(planted + "/lib"_s));
        QVERIFY(plantModules(planted + "/lib/" KELACCOUNT_MODULE_FOLDER ""_s));

        const Outcome outcome = run(good, {{"LD_LIBRARY_PATH"_s, "lib"_s}}, {planted});
        QCOMPARE(outcome.status, 0);
        QCOMPARE(outcome.modules, modulesIn(goodModules));
    }

    // As after an update while the application runs: it has one version in memory, and loads what
    // lies on the disk.
    void modulesOfAnotherVersionAreNotCalled_data()
    {
        const auto row = rows<QString, QString>("module", "version");
        row("another version", text(KELACCOUNT_OTHER_MODULE), "0.9.0"_s);
        row("a version that did not say so", text(KELACCOUNT_UNVERSIONED_MODULE), "unknown"_s);
    }
    void modulesOfAnotherVersionAreNotCalled()
    {
        const auto [module, version] = fetch<QString, QString>("module", "version");
        const QString folder = mFolder->filePath("updated"_s);
        const QString modules = folder + "/" KELACCOUNT_MODULE_FOLDER ""_s;
        QVERIFY(copyLibrary(folder));
        QVERIFY(copyModules(module, modules));
        const Outcome outcome = run(folder, {{"LD_LIBRARY_PATH"_s, folder}});
        QCOMPARE(outcome.status, 0);
        const QString said =
            "%1/%2 is of version %3, the library of version " KELACCOUNT_TEST_VERSION
            ": it was updated while this application ran, which has to be started "
            "anew"_s;
        for (const QString& name : moduleNames)
            QCOMPARE(outcome.log.count(QFile::encodeName(said.arg(modules, name, version))), 1);
    }

private:
    static bool copyModules(const QString& module, const QString& folder)
    {
        bool good = QDir().mkpath(folder);
        for (const QString& name : moduleNames)
            good = QFile::copy(module, folder + QLatin1Char('/') + name) && good;
        return good;
    }

    bool plantModules(const QString& folder)
    {
        return copyModules(text(KELACCOUNT_PLANTED_MODULE), folder);
    }

    bool copyLibrary(const QString& folder)
    {
        return QDir().mkpath(folder) &&
               QFile::copy(text(KELACCOUNT_LIBRARY), folder + "/libaccounts-kel.so.1"_s);
    }

    Outcome run(const QString& folder, const QMap<QString, QString>& variables,
                const QStringList& arguments = {})
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("ACCOUNTS"_s, mFolder->path());
        environment.insert("XDG_CONFIG_HOME"_s, mFolder->path());
        environment.insert("XDG_RUNTIME_DIR"_s, mFolder->path());
        // Without a modem the region is asked for.
        environment.insert("DBUS_SYSTEM_BUS_ADDRESS"_s, "unix:path=/nonexistent"_s);
        for (auto it = variables.begin(); it != variables.end(); ++it)
            environment.insert(it.key(), it.value());
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(folder);
        process.start(text(KELACCOUNT_MODULE_PROBE), arguments);
        if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
            return {};
        QByteArrayList modules = process.readAllStandardOutput().trimmed().split('\n');
        std::sort(modules.begin(), modules.end());
        const QByteArray log = process.readAllStandardError();
        if (process.exitCode() != 0)
            qWarning("%s", log.constData());
        return {process.exitCode(), modules, log};
    }

    std::unique_ptr<QTemporaryDir> mFolder;
};

QTEST_GUILESS_MAIN(TestDemandedModules)
#include "tst_demandedmodules.moc"
