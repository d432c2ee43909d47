// SPDX-License-Identifier: LGPL-2.1-or-later
// Secrets are planted, everything that can be logged is, and nothing planted may be found.
#include "emulator/emulatorprocess.h"
#include "support/literals.h"
#include "support/rows.h"
#include "tools/clientrun.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

using namespace KelTest;

namespace {

const auto secret = "planted consumer/secret=&1"_s;

} // namespace

class TestClientSecrecy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mFolder.isValid());
        QFile file(mFolder.filePath("secret"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.write(secret.toUtf8()) > 0);
        file.close();
        QVERIFY2(mEmulator.start({"--verbose"_s, "--consumer-secret-file"_s, file.fileName()}),
                 mEmulator.log().constData());
        mClient = Client(mEmulator.environment());
        mClient.set("KELACCOUNT_CONSUMER_SECRET"_s, secret);
        mClient.set("QT_LOGGING_RULES"_s, "*=true"_s);
    }

    void everythingIsLogged()
    {
        // Not even --verbose is needed: otherwise the searches below would prove nothing.
        Client client = mClient;
        client.set("DBUS_SESSION_BUS_ADDRESS"_s, "unix:path=/nonexistent"_s);
        const ClientRun run =
            client.run({"sign-in"_s, "bob"_s, "--password-fd"_s, "0"_s}, "planted-password\n");
        QVERIFY2(run.errors.contains("Failed to store credentials"), run.errors.constData());
        verifyNothingPlanted(run.errors);
        QCOMPARE(mClient.run({"check-user"_s, "bob"_s}).status, 0);
        QVERIFY(mEmulator.logHas("/rest/1.0/availability/bob"));
    }

    void noOutputHoldsWhatWasPlanted_data()
    {
        const auto row = rows<QStringList, QByteArray, QString, QByteArray>(
            "arguments", "input", "clientSecret", "fault");
        const QStringList check = {"check-user"_s, "bob"_s};
        row("success", check, {}, secret, "none");
        row("misfit", check, {}, "planted wrong secret", "none");
        for (const char* fault :
             {"close-in-headers", "cut-body", "not-xml", "status=500", "wrong-host"})
            row(fault, check, {}, secret, QByteArray(fault));
        const QStringList reset = {"reset-with-question"_s, "alice"_s, "--password-fd"_s, "0"_s};
        const QByteArray three = "planted-token\nplanted-password\nplanted-answer\n";
        row("reset", reset, three, secret, "none");
        row("reset, misfit", reset, three, "planted wrong secret", "none");
        row("reset, failure", reset, three, secret, "status=500");
        row("reset, not enough", reset, "planted-token\n", secret, "none");
    }
    void noOutputHoldsWhatWasPlanted()
    {
        const auto [arguments, input, clientSecret, fault] =
            fetch<QStringList, QByteArray, QString, QByteArray>("arguments", "input",
                                                                "clientSecret", "fault");
        mEmulator.admin("DELETE", "/faults"_s);
        QVERIFY(mEmulator.orderFaults(fault));
        mClient.set("KELACCOUNT_CONSUMER_SECRET"_s, clientSecret);
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
