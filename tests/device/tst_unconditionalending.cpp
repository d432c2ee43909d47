// SPDX-License-Identifier: LGPL-2.1-or-later
// Built from the client's sources with the option that signals without looking, and with calls that
// only record. The library with the real calls is not linked: without the recording ones this
// program does not build.
#include "device/obcservicetag.h"
#include "device/recordedcalls.h"
#include "device/tagserverending.h"
#include "device/testtagserver.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using namespace KelTest;

#ifndef KELACCOUNT_UNCONDITIONAL_TAG_SERVER_KILL
#error "This test is about the option."
#endif

namespace {

int startResult = -1;
int starts = 0;

unsigned ask()
{
    char tag[100];
    unsigned length = 0;
    unsigned error = 0;
    ObC_ServiceTag("key", 3, tag, &length, sizeof tag, &error);
    return error;
}

QStringList signalled(const char* kill)
{
    return {QLatin1String(kill), "waitpid -1 0"_s};
}

} // namespace

// In place of the real one, which makes a process.
extern "C" int launch_server()
{
    ++starts;
    return startResult;
}

class TestUnconditionalEnding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        starts = 0;
        startResult = -1;
        RecordedCalls::start({});
        PretendedPeer::reset();
    }

    void anyIdIsSignalledAndAnyChildReaped()
    {
        KelRestHandler::endTagServer(4711);
        QCOMPARE(RecordedCalls::made(), signalled("kill 4711 9"));
    }

    void aRunningServerSignalsEveryone_data()
    {
        const auto row = rows<QByteArray, uint>("reply", "error");
        row("success", "\x01tag", 0U);
        row("refusal", QByteArray("\0\0\0\0\x05", 5), 5U);
        row("silence", {}, 0x2005U);
    }
    void aRunningServerSignalsEveryone()
    {
        const auto [reply, error] = fetch<QByteArray, uint>("reply", "error");
        ThreadTagServer server(reply);
        QCOMPARE(ask(), error);
        QCOMPARE(RecordedCalls::made(), signalled("kill -1 9"));
        QCOMPARE(starts, 0);
    }

    void aStrangersServerSignalsNobody()
    {
        ThreadTagServer server("\x01tag"_ba);
        PretendedPeer::setPeerUser(geteuid() + 1);
        QCOMPARE(ask(), 0x2005U);
        QCOMPARE(RecordedCalls::made(), QStringList());
        QCOMPARE(starts, 0);
    }

    void aServerThatStaysAwayIsSignalled()
    {
        startResult = 4711;
        QCOMPARE(ask(), 0x2006U);
        QCOMPARE(starts, 1);
        QCOMPARE(RecordedCalls::made(), signalled("kill 4711 9"));
    }

    void aServerThatWasNotStartedIsNot()
    {
        QCOMPARE(ask(), 0x2004U);
        QCOMPARE(starts, 1);
        QCOMPARE(RecordedCalls::made(), QStringList());
    }

    void argumentErrorsSignalNobody()
    {
        char tag[8];
        unsigned length = 0;
        unsigned error = 0;
        QCOMPARE(ObC_ServiceTag(nullptr, 3, tag, &length, sizeof tag, &error), 0);
        error = 0;
        QCOMPARE(ObC_ServiceTag("key", 501, tag, &length, sizeof tag, &error), 0);
        QCOMPARE(RecordedCalls::made(), QStringList());
        QCOMPARE(starts, 0);
    }
};

QTEST_GUILESS_MAIN(TestUnconditionalEnding)
#include "tst_unconditionalending.moc"
