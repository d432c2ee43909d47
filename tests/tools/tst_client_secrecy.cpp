// SPDX-License-Identifier: LGPL-2.1-or-later
// Secrets are planted, everything that can be logged is, and nothing planted may be found.
#include "emulator/emulatorprocess.h"
#include "tools/clientrun.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

using namespace KelTest;

namespace {

const auto secret = QStringLiteral("planted consumer/secret=&1");

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

} // namespace

class TestClientSecrecy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mFolder.isValid());
        QFile file(mFolder.filePath(text("secret")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.write(secret.toUtf8()) > 0);
        file.close();
        QVERIFY2(
            mEmulator.start({text("--verbose"), text("--consumer-secret-file"), file.fileName()}),
            mEmulator.log().constData());
        mClient = Client(mEmulator.environment());
        mClient.set(text("KELACCOUNT_CONSUMER_SECRET"), secret);
        mClient.set(text("QT_LOGGING_RULES"), text("*=true"));
    }

    void everythingIsLogged()
    {
        // Not even --verbose is needed: otherwise the searches below would prove nothing.
        Client client = mClient;
        client.set(text("DBUS_SESSION_BUS_ADDRESS"), text("unix:path=/nonexistent"));
        const ClientRun run = client.run(
            {text("sign-in"), text("bob"), text("--password-fd"), text("0")}, "planted-password\n");
        QVERIFY2(run.errors.contains("Failed to store credentials"), run.errors.constData());
        verifyNothingPlanted(run.errors);
        QCOMPARE(mClient.run({text("check-user"), text("bob")}).status, 0);
        QVERIFY(mEmulator.logHas("/rest/1.0/availability/bob"));
    }

    void noOutputHoldsWhatWasPlanted_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QString>("clientSecret");
        QTest::addColumn<QByteArray>("fault");
        const QStringList check = {text("check-user"), text("bob")};
        QTest::newRow("success") << check << QByteArray() << secret << QByteArray("none");
        QTest::newRow("misfit") << check << QByteArray() << text("planted wrong secret")
                                << QByteArray("none");
        for (const char* fault :
             {"close-in-headers", "cut-body", "not-xml", "status=500", "wrong-host"})
            QTest::newRow(fault) << check << QByteArray() << secret << QByteArray(fault);
        const QStringList reset = {text("reset-with-question"), text("alice"),
                                   text("--password-fd"), text("0")};
        const QByteArray three = "planted-token\nplanted-password\nplanted-answer\n";
        QTest::newRow("reset") << reset << three << secret << QByteArray("none");
        QTest::newRow("reset, misfit")
            << reset << three << text("planted wrong secret") << QByteArray("none");
        QTest::newRow("reset, failure") << reset << three << secret << QByteArray("status=500");
        QTest::newRow("reset, not enough")
            << reset << QByteArray("planted-token\n") << secret << QByteArray("none");
    }

    void noOutputHoldsWhatWasPlanted()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, input);
        QFETCH(QString, clientSecret);
        QFETCH(QByteArray, fault);
        mEmulator.admin("DELETE", text("/faults"));
        QVERIFY(mEmulator.orderFaults(fault));
        mClient.set(text("KELACCOUNT_CONSUMER_SECRET"), clientSecret);
        for (const char* style : {"--verbose", "--json"}) {
            const ClientRun run = mClient.run(QStringList{text(style)} + arguments, input);
            QVERIFY(run.status >= 0);
            verifyNothingPlanted(run.output);
            verifyNothingPlanted(run.errors);
        }
        verifyNothingPlanted(mEmulator.log());
    }

    void theEmulatorsEndTellsNothingEither()
    {
        QCOMPARE(mEmulator.stop(), 0);
        verifyNothingPlanted(mEmulator.log());
    }

private:
    static void verifyNothingPlanted(const QByteArray& output)
    {
        // As it is, percent-encoded, or in Base64.
        for (const char* trace : {"planted", "cGxhbnRlZ"}) {
            const int at = output.indexOf(trace);
            QVERIFY2(at < 0, output.mid(qMax(0, at - 200), 400).constData());
        }
    }

    QTemporaryDir mFolder;
    EmulatorProcess mEmulator;
    Client mClient;
};

QTEST_GUILESS_MAIN(TestClientSecrecy)
#include "tst_client_secrecy.moc"
