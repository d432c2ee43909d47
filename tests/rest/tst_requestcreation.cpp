// SPDX-License-Identifier: LGPL-2.1-or-later
// What the request handler says when there is no memory for a request. The program replaces the
// allocation that reports its failure instead of throwing; so it is a program of its own.
#include "devicesetup.h"
#include "operations/operations.h"
#include "signedrequests.h"
#include "support/messagelog.h"
#include "support/scriptedserver.h"

#include <QTest>

#include <new>

namespace {
bool outOfMemory = false;
} // namespace

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    if (outOfMemory)
        return nullptr;
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

using namespace KelRestHandler;
using operations::Send;

class TestRequestCreation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { outOfMemory = false; }

    void withoutMemoryTheOperationSaysSoAndFails_data() { operations::sendRows(); }
    void withoutMemoryTheOperationSaysSoAndFails()
    {
        QFETCH(int, send);
        const Send& row = operations::sends().at(send);
        operations::Values values;
        devicesetup::withSim(values);
        RecordingProvider provider;
        ScriptedServer server;
        RESTRequestHandler handler;
        // Nothing may be handed out: what stood there stays.
        auto* const untouched = reinterpret_cast<OAuthRequest*>(&values);
        OAuthRequest* request = untouched;
        const MessageLog log;
        outOfMemory = true;
        const int result = row.run({handler, provider, values, server.base(), &request});
        outOfMemory = false;
        QCOMPARE(result, -1);
        QCOMPARE(request, untouched);
        QCOMPARE(log.all(), QStringList(QLatin1String("C ") + QLatin1String(row.creationFailure)));
        QCOMPARE(provider.calls, QStringList());
        QTest::qWait(10);
        QCOMPARE(server.connections(), 0);
    }
};

QTEST_GUILESS_MAIN(TestRequestCreation)
#include "tst_requestcreation.moc"
