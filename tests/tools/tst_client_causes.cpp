// SPDX-License-Identifier: LGPL-2.1-or-later
// A status that says where something went wrong comes with what went wrong, and without a secret.
#include "platform/privatebus.h"
#include "support/literals.h"
#include "support/rows.h"
#include "tools/clientrun.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace KelTest;

namespace {

using Break = std::function<bool(Client&, const QTemporaryDir&)>;

} // namespace

Q_DECLARE_METATYPE(Break)

class TestClientCauses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFailureSaysItsCause_data()
    {
        columns<Break, QStringList, int, QString>("breakIt", "call", "status", "cause");
        const QStringList signIn = {"--password-fd"_s, "0"_s, "sign-in"_s, "alice"_s};
        const auto nothing = [](Client&, const QTemporaryDir&) { return true; };
        QTest::newRow("no account") << Break(nothing) << QStringList("profile"_s) << 806
                                    << "Unable to find any valid credential id"_s;
        QTest::newRow("no bus") << Break([](Client& client, const QTemporaryDir&) {
            client.set("DBUS_SESSION_BUS_ADDRESS"_s, "unix:path=/nonexistent"_s);
            return true;
        }) << signIn << 800 << "There is no session bus"_s;
        QTest::newRow("no database") << Break([](Client& client, const QTemporaryDir& folder) {
            QFile file(folder.filePath("accounts.db"_s));
            client.set("ACCOUNTS"_s, folder.path());
            return file.open(QIODevice::WriteOnly) && file.write(QByteArray(5000, 'x')) > 0;
        }) << signIn << 805 << "The accounts database cannot be opened: accounts error"_s;
    }

    void aFailureSaysItsCause()
    {
        const auto [breakIt, call, status, cause] =
            fetch<Break, QStringList, int, QString>("breakIt", "call", "status", "cause");
        EmulatorProcess emulator;
        QVERIFY2(emulator.start(), emulator.log().constData());
        Client client(emulator.environment());
        const QTemporaryDir folder;
        QVERIFY(breakIt(client, folder));
        verifyCause(client, call, "secret\n", status, cause);
    }

    void aMissingDaemonIsTheCause()
    {
        EmulatorProcess emulator;
        QVERIFY2(emulator.start(), emulator.log().constData());
        PrivateBus bus;
        QVERIFY2(bus.start(), "needs the package dbus");
        Client client(emulator.environment());
        client.set("DBUS_SESSION_BUS_ADDRESS"_s,
                   QString::fromLocal8Bit(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")));
        verifyCause(client, {"--password-fd"_s, "0"_s, "sign-in"_s, "alice"_s}, "planted\n", 800,
                    "The sign-on daemon cannot be started"_s);
    }

    void aMissingPluginIsTheCause()
    {
        EmulatorProcess emulator;
        QVERIFY2(emulator.start(), emulator.log().constData());
        QVERIFY(
            QFile::remove(emulator.environment()["SSO_PLUGINS_DIR"_s] + "/libzorauthplugin.so"_s));
        verifyCause(Client(emulator.environment()),
                    {"--password-fd"_s, "0"_s, "sign-in"_s, "alice"_s}, "planted\n", 806,
                    "finds no plugin for the method \"zorauth\""_s);
    }

    void anAccountOfAnotherServerIsTheCause()
    {
        EmulatorProcess emulator;
        QVERIFY2(emulator.start(), emulator.log().constData());
        const Client client(emulator.environment());
        QCOMPARE(client.run({"--password-fd"_s, "0"_s, "sign-in"_s, "alice"_s}, "secret\n").status,
                 0);
        verifyCause(client, {"--server"_s, "staging"_s, "profile"_s}, {}, 703,
                    "belongs to another server"_s);
    }

    void aStatusThatSaysWhatItIsHasNone()
    {
        EmulatorProcess emulator;
        QVERIFY2(emulator.start(), emulator.log().constData());
        const ClientRun run =
            Client(emulator.environment())
                .run({"--json"_s, "--password-fd"_s, "0"_s, "sign-in"_s, "alice"_s}, "planted\n");
        QCOMPARE(run.json()["status"_s].toInt(), 504);
        QVERIFY(!run.json().contains("cause"_s));
    }

private:
    static void verifyCause(const Client& client, const QStringList& call, const QByteArray& input,
                            int status, const QString& cause)
    {
        for (const char* style : {"--json", "--line", "--timeout=60"}) {
            const ClientRun run = client.run(QStringList{text(style)} + call, input);
            QCOMPARE(run.status, 1);
            QVERIFY2(run.output.contains(QByteArray::number(status)), run.output.constData());
            QVERIFY2(!run.output.contains("planted"), run.output.constData());
            QVERIFY2(!run.output.contains("demo-secret"), run.output.constData());
            if (qstrcmp(style, "--json") == 0) {
                QCOMPARE(run.json()["status"_s].toInt(), status);
                QVERIFY2(run.json()["cause"_s].toString().contains(cause), run.output.constData());
            } else {
                // Long ones are not broken where no terminal is.
                QVERIFY2(QString::fromUtf8(run.output).contains(cause), run.output.constData());
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestClientCauses)
#include "tst_client_causes.moc"
