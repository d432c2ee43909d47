// SPDX-License-Identifier: LGPL-2.1-or-later
// The stand-in for the device's settings application, inside the emulator's session.
#include "configure/kelconfigure.h"
#include "emulator/emulatorprocess.h"
#include "support/sessionsandbox.h"
#include "support/sqlitereader.h"

#include <QCoreApplication>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace KelTest;
using KelAccount::KelConfigure;

namespace {

struct Run
{
    int status = -1;
    QByteArray output;
    QByteArray errors;
};

QProcessEnvironment inside()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The accounts framework loses 214 bytes whenever it lists an account's keys.
    const QString options = environment.value(QStringLiteral("ASAN_OPTIONS"));
    environment.insert(QStringLiteral("ASAN_OPTIONS"), options + QLatin1String(":detect_leaks=0"));
    return environment;
}

Run settings(const QStringList& arguments, const QProcessEnvironment& environment = inside())
{
    BoundProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(KELACCOUNT_SETTINGS_PROGRAM), arguments);
    if (!process.waitForFinished(20000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

QString inFolder(const char* variable, const char* file)
{
    return qEnvironmentVariable(variable) + QLatin1Char('/') + QLatin1String(file);
}

int identities()
{
    return sqliteRows(inFolder("SSO_STORAGE_PATH", "signon.db"),
                      QStringLiteral("select count(*) from credentials"))
        .value(0)
        .value(0)
        .toInt();
}

QList<QVariantList> accounts()
{
    return sqliteRows(inFolder("ACCOUNTS", "accounts.db"),
                      QStringLiteral("select name from accounts order by id"));
}

} // namespace

class TestEmulatorSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void aDeviceWithoutAccountsSaysSo();
    void showsTheAccountWithItsSettings();
    void removesOneAccountAndItsCredentials();
    void removingWhatIsNotThereIsAnError_data();
    void removingWhatIsNotThereIsAnError();
    void misuseIsExplained_data();
    void misuseIsExplained();
    void outsideTheEmulatorNothingIsTouched();

private:
    quint32 setUp(const QString& name);

    KelConfigure mConfigure;
};

void TestEmulatorSettings::initTestCase()
{
    QVERIFY(qEnvironmentVariableIsSet("KELACCOUNT_EMULATOR_ADMIN"));
}

/// The credentials of the account, or 0.
quint32 TestEmulatorSettings::setUp(const QString& name)
{
    QSignalSpy stored(&mConfigure, &KelConfigure::storeUserCredentialsStatus);
    mConfigure.storeUserCredentials(name, QStringLiteral("planted password"));
    if (!waitUntil([&] { return !stored.isEmpty(); }))
        return 0;
    const quint32 credentialsId = stored.at(0).at(1).toUInt();
    QSignalSpy configured(&mConfigure, &KelConfigure::configureAccountStatus);
    mConfigure.configureAccount(name, credentialsId);
    waitUntil([&] { return !configured.isEmpty(); });
    return configured.value(0).value(0).toBool() ? credentialsId : 0;
}

void TestEmulatorSettings::aDeviceWithoutAccountsSaysSo()
{
    const Run run = settings({QStringLiteral("show")});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.output, QByteArray("There is no account on this device.\n"));
}

void TestEmulatorSettings::showsTheAccountWithItsSettings()
{
    const quint32 credentialsId = setUp(QStringLiteral("kim"));
    QVERIFY(credentialsId > 0);
    const Run run = settings({QStringLiteral("show")});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    const QList<QByteArray> lines = run.output.split('\n');
    QCOMPARE(lines.at(0), QByteArray("account 1 of provider \"zor\": \"kim\", on"));
    QMap<QByteArray, QByteArray> rows;
    for (const QByteArray& line : lines.mid(1)) {
        const QByteArray row = line.simplified();
        rows.insert(row.left(row.lastIndexOf(' ')), row.mid(row.lastIndexOf(' ') + 1));
    }
    QCOMPARE(rows.value("CredentialsId"), QByteArray::number(credentialsId));
    QCOMPARE(rows.value("SyncTarget"), QByteArray("Zor"));
    QCOMPARE(rows.value("scheduler/schedule_off_peak"), QByteArray("-1"));
    QCOMPARE(rows.value("scheduler/schedule_peak_enabled"), QByteArray("true"));
    QCOMPARE(rows.value("service " KELACCOUNT_TEST_SERVICE), QByteArray("off"));
    QVERIFY(!run.output.contains("planted"));
}

void TestEmulatorSettings::removesOneAccountAndItsCredentials()
{
    const quint32 credentialsId = setUp(QStringLiteral("lee"));
    QVERIFY(credentialsId > 0);
    QCOMPARE(identities(), 2);
    const Run run = settings({QStringLiteral("remove"), QStringLiteral("2")});
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.status, 0);
    QCOMPARE(run.output, "removed account 2, \"lee\", and credentials " +
                             QByteArray::number(credentialsId) + '\n');
    QCOMPARE(identities(), 1);
    QCOMPARE(accounts(), QList<QVariantList>({{QStringLiteral("kim")}}));
}

void TestEmulatorSettings::removingWhatIsNotThereIsAnError_data()
{
    QTest::addColumn<QString>("account");
    QTest::newRow("never there") << QStringLiteral("4711");
    QTest::newRow("no number") << QStringLiteral("kim");
    QTest::newRow("nothing") << QString();
}

void TestEmulatorSettings::removingWhatIsNotThereIsAnError()
{
    QFETCH(QString, account);
    const Run run = settings({QStringLiteral("remove"), account});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.errors, "kelaccount-settings: no account " + account.toUtf8() + '\n');
    QCOMPARE(identities(), 1);
    QCOMPARE(accounts().size(), 1);
}

void TestEmulatorSettings::misuseIsExplained_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("nothing") << QStringList();
    QTest::newRow("unknown") << QStringList{QStringLiteral("list")};
    QTest::newRow("remove what?") << QStringList{QStringLiteral("remove")};
    QTest::newRow("too many") << QStringList{QStringLiteral("show"), QStringLiteral("1")};
}

void TestEmulatorSettings::misuseIsExplained()
{
    QFETCH(QStringList, arguments);
    const Run run = settings(arguments);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.output, QByteArray());
    QVERIFY(run.errors.startsWith("usage: kelaccount-settings show\n"));
}

void TestEmulatorSettings::outsideTheEmulatorNothingIsTouched()
{
    QProcessEnvironment outside = inside();
    outside.remove(QStringLiteral("KELACCOUNT_EMULATOR_ADMIN"));
    const Run run = settings({QStringLiteral("remove"), QStringLiteral("1")}, outside);
    QCOMPARE(run.status, 1);
    QVERIFY(run.errors.contains("not the emulator's session"));
    QCOMPARE(accounts(), QList<QVariantList>({{QStringLiteral("kim")}}));
}

QTEST_GUILESS_MAIN(TestEmulatorSettings)
#include "tst_emulator_settings.moc"
