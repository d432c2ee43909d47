// SPDX-License-Identifier: LGPL-2.1-or-later
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>

namespace {

const QStringList moduleNames{QStringLiteral("accounts.so"), QStringLiteral("region.so")};

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

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
};

} // namespace

// From where the library loads what it needs.
class TestDemandedModules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void theEnvironmentHasNoSay_data();
    void theEnvironmentHasNoSay();
    void theCurrentFolderHasNoSay();

private:
    bool plantModules(const QString& folder);
    bool copyLibrary(const QString& folder);
    Outcome run(const QString& folder, const QMap<QString, QString>& variables,
                const QStringList& arguments = {});

    std::unique_ptr<QTemporaryDir> mFolder;
};

void TestDemandedModules::init()
{
    mFolder = std::make_unique<QTemporaryDir>();
    QVERIFY(mFolder->isValid());
}

bool TestDemandedModules::plantModules(const QString& folder)
{
    bool good = QDir().mkpath(folder);
    for (const QString& name : moduleNames)
        good =
            QFile::copy(text(KELACCOUNT_PLANTED_MODULE), folder + QLatin1Char('/') + name) && good;
    return good;
}

bool TestDemandedModules::copyLibrary(const QString& folder)
{
    return QDir().mkpath(folder) &&
           QFile::copy(text(KELACCOUNT_LIBRARY), folder + QLatin1String("/libaccounts-kel.so.1"));
}

Outcome TestDemandedModules::run(const QString& folder, const QMap<QString, QString>& variables,
                                 const QStringList& arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(text("ACCOUNTS"), mFolder->path());
    environment.insert(text("XDG_CONFIG_HOME"), mFolder->path());
    environment.insert(text("XDG_RUNTIME_DIR"), mFolder->path());
    // Without a modem the region is asked for.
    environment.insert(text("DBUS_SYSTEM_BUS_ADDRESS"), text("unix:path=/nonexistent"));
    for (auto it = variables.begin(); it != variables.end(); ++it)
        environment.insert(it.key(), it.value());
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(text(KELACCOUNT_MODULE_PROBE), arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return {};
    QByteArrayList modules = process.readAllStandardOutput().trimmed().split('\n');
    std::sort(modules.begin(), modules.end());
    return {process.exitCode(), modules};
}

void TestDemandedModules::theEnvironmentHasNoSay_data()
{
    QTest::addColumn<QString>("variable");
    QTest::newRow("none") << QString();
    QTest::newRow("libraries") << text("LD_LIBRARY_PATH");
    QTest::newRow("plugins") << text("QT_PLUGIN_PATH");
}

void TestDemandedModules::theEnvironmentHasNoSay()
{
    QFETCH(QString, variable);
    const QString folder = mFolder->filePath(text("planted"));
    QVERIFY(plantModules(folder));
    QVERIFY(plantModules(folder + QLatin1String("/libaccounts-kel")));
    QMap<QString, QString> variables;
    if (!variable.isEmpty())
        variables.insert(variable, folder + QLatin1String("/libaccounts-kel:") + folder);
    const Outcome outcome = run(folder, variables);
    QCOMPARE(outcome.status, 0);
    QCOMPARE(outcome.modules, modulesIn(QFileInfo(text(KELACCOUNT_LIBRARY)).path() +
                                        QLatin1String("/libaccounts-kel")));
}

// The library itself is found by a relative path, as an application's own settings may have it;
// then the application goes to another folder.
void TestDemandedModules::theCurrentFolderHasNoSay()
{
    const QString good = mFolder->filePath(text("good"));
    const QString goodModules = good + QLatin1String("/lib/libaccounts-kel");
    QVERIFY(copyLibrary(good + QLatin1String("/lib")));
    QVERIFY(QDir().mkpath(goodModules));
    const QByteArrayList built =
        modulesIn(QFileInfo(text(KELACCOUNT_LIBRARY)).path() + QLatin1String("/libaccounts-kel"));
    for (const QByteArray& module : built)
        QVERIFY(QFile::copy(QFile::decodeName(module),
                            goodModules + QLatin1Char('/') +
                                QFileInfo(QFile::decodeName(module)).fileName()));
    const QString planted = mFolder->filePath(text("planted"));
    QVERIFY(copyLibrary(planted + QLatin1String("/lib")));
    QVERIFY(plantModules(planted + QLatin1String("/lib/libaccounts-kel")));

    const Outcome outcome = run(good, {{text("LD_LIBRARY_PATH"), text("lib")}}, {planted});
    QCOMPARE(outcome.status, 0);
    QCOMPARE(outcome.modules, modulesIn(goodModules));
}

QTEST_GUILESS_MAIN(TestDemandedModules)
#include "tst_demandedmodules.moc"
