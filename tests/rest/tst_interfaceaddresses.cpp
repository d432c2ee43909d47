// SPDX-License-Identifier: LGPL-2.1-or-later
// Whether changes of the kernel's addresses are noticed. The test changes addresses, so it starts
// itself once more in a network namespace of its own, where nobody minds.
#include "rest/request/clientidentification.h"
#include "rest/request/interfaceaddresses.h"
#include "support/literals.h"

#include <QNetworkInterface>
#include <QProcess>
#include <QTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <memory>

using namespace KelRestHandler;

namespace {

constexpr char insideVariable[] = "KELACCOUNT_TEST_IN_NAMESPACE";

struct Outcome
{
    bool succeeded = false;
    QByteArray output;
};

Outcome run(const QString& program, const QStringList& arguments, const QByteArray& input = {})
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForStarted())
        return {false, program.toUtf8() + ": " + process.errorString().toUtf8()};
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000))
        return {false, program.toUtf8() + " did not finish"};
    return {process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
            process.readAll()};
}

Outcome ip(const char* arguments)
{
    return run("ip"_s, QString::fromLatin1(arguments).split(QLatin1Char(' ')));
}

QHostAddress address(const char* text)
{
    return QHostAddress(QString::fromLatin1(text));
}

// Takes away the right to open anything as long as it lives.
class NoMoreDescriptors
{
public:
    NoMoreDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &mBefore);
        rlimit none = mBefore;
        none.rlim_cur = 0;
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &mBefore); }
    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

private:
    rlimit mBefore{};
};

} // namespace

#define VERIFY_RAN(call)                                                                           \
    do {                                                                                           \
        const Outcome ran = call;                                                                  \
        QVERIFY2(ran.succeeded, ran.output.constData());                                           \
    } while (false)

#define VERIFY_IP(arguments) VERIFY_RAN(ip(arguments))

class InterfaceAddressesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { VERIFY_IP("link set lo up"); }

    void cleanup()
    {
        VERIFY_IP("address flush dev lo scope global");
        VERIFY_IP("link set lo up");
    }

    void unchangedAddressesAreNotReadAgain()
    {
        InterfaceAddresses addresses;
        const QList<QHostAddress> first = addresses.current();
        // The same list, not an equal one
        QVERIFY(addresses.current().isSharedWith(first));
        QVERIFY(addresses.current().isSharedWith(first));
        VERIFY_IP("address add 10.9.8.7/32 dev lo");
        const QList<QHostAddress> second = addresses.current();
        QVERIFY(!second.isSharedWith(first));
        QVERIFY(addresses.current().isSharedWith(second));
    }

    void anAddedAndARemovedAddressAreNoticed()
    {
        InterfaceAddresses addresses;
        QVERIFY(addresses.current().contains(address("127.0.0.1")));
        QCOMPARE(addresses.current(), QNetworkInterface::allAddresses());
        for (const char* changed : {"10.9.8.7", "10.9.8.6", "2001:db8::7"}) {
            QVERIFY(!addresses.current().contains(address(changed)));
            const QByteArray behind =
                QByteArray(changed) + (strchr(changed, ':') ? "/128 dev lo" : "/32 dev lo");
            VERIFY_IP("address add " + behind);
            QVERIFY(addresses.current().contains(address(changed)));
            QCOMPARE(addresses.current(), QNetworkInterface::allAddresses());
            VERIFY_IP("address delete " + behind);
            QVERIFY(!addresses.current().contains(address(changed)));
            QCOMPARE(addresses.current(), QNetworkInterface::allAddresses());
        }
    }

    void anInterfaceGoingDownAndUpIsNoticed()
    {
        InterfaceAddresses addresses;
        QVERIFY(addresses.current().contains(address("::1")));
        // Going down takes the IPv6 addresses away.
        VERIFY_IP("link set lo down");
        QVERIFY(!addresses.current().contains(address("::1")));
        QCOMPARE(addresses.current(), QNetworkInterface::allAddresses());
        VERIFY_IP("link set lo up");
        QVERIFY(addresses.current().contains(address("::1")));
        QCOMPARE(addresses.current(), QNetworkInterface::allAddresses());
    }

    void lostAnnouncementsAreNews()
    {
        InterfaceAddresses addresses;
        QVERIFY(!addresses.current().contains(address("10.9.8.7")));
        // More than the socket's buffer holds, with the change that counts at the end
        QByteArray changes;
        for (int i = 0; i < 3000; ++i)
            changes += "address add 10.1.1.1/32 dev lo\naddress delete 10.1.1.1/32 dev lo\n";
        changes += "address add 10.9.8.7/32 dev lo\n";
        const QStringList batch{"-batch"_s, "-"_s};
        VERIFY_RAN(run("ip"_s, batch, changes));
        QVERIFY(addresses.current().contains(address("10.9.8.7")));
        QCOMPARE(addresses.current(), QNetworkInterface::allAddresses());
        VERIFY_IP("address delete 10.9.8.7/32 dev lo");
        QVERIFY(!addresses.current().contains(address("10.9.8.7")));
    }

    void withoutAnnouncementsEveryReadingIsFresh()
    {
        std::unique_ptr<InterfaceAddresses> addresses;
        {
            const NoMoreDescriptors none;
            addresses = std::make_unique<InterfaceAddresses>();
        }
        const QList<QHostAddress> first = addresses->current();
        QCOMPARE(first, QNetworkInterface::allAddresses());
        QVERIFY(!addresses->current().isSharedWith(first));
        VERIFY_IP("address add 10.9.8.7/32 dev lo");
        QVERIFY(addresses->current().contains(address("10.9.8.7")));
        VERIFY_IP("address delete 10.9.8.7/32 dev lo");
        QVERIFY(!addresses->current().contains(address("10.9.8.7")));
    }

    void theDescriptorIsClosedOnExecAndAtTheEnd()
    {
        // The lowest free number is the one that comes next.
        const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        QVERIFY(next >= 0);
        ::close(next);
        {
            const InterfaceAddresses addresses;
            const int flags = fcntl(next, F_GETFD);
            QVERIFY(flags >= 0);
            QVERIFY(flags & FD_CLOEXEC);
        }
        QCOMPARE(fcntl(next, F_GETFD), -1);
    }

    void requestsNameTheAddressesOfTheirMoment()
    {
        const QString name = "X-Forwarded-For"_s;
        QCOMPARE(ClientIdentification::headers().value(name), QString());
        VERIFY_IP("address add 10.9.8.7/32 dev lo");
        QCOMPARE(ClientIdentification::headers().value(name), "10.9.8.7"_s);
        VERIFY_IP("address add 10.9.8.6/32 dev lo");
        QCOMPARE(ClientIdentification::headers().value(name), "10.9.8.7,10.9.8.6"_s);
        VERIFY_IP("address delete 10.9.8.7/32 dev lo");
        QCOMPARE(ClientIdentification::headers().value(name), "10.9.8.6"_s);
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (!qEnvironmentVariableIsSet(insideVariable)) {
        qputenv(insideVariable, "1");
        // Root needs no user namespace, and some machines give none.
        QStringList arguments{geteuid() == 0 ? "-n"_s : "-rn"_s,
                              QCoreApplication::applicationFilePath()};
        arguments += application.arguments().mid(1);
        QProcess probe;
        probe.start("unshare"_s, {arguments.first(), "ip"_s, "link"_s, "show"_s});
        probe.closeWriteChannel();
        if (!probe.waitForFinished(20000) || probe.exitStatus() != QProcess::NormalExit ||
            probe.exitCode() != 0) {
            fprintf(stderr,
                    "FAIL!  : this test needs a network namespace of its own: the programs unshare "
                    "(package util-linux) and ip (package iproute2), and root or unprivileged user "
                    "namespaces. %s %s\n",
                    qPrintable(probe.errorString()), probe.readAllStandardError().constData());
            return 1;
        }
        return QProcess::execute("unshare"_s, arguments) == 0 ? 0 : 1;
    }
    InterfaceAddressesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_interfaceaddresses.moc"
