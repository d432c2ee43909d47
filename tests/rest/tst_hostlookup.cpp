// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/hostlookup.h"
#include "support/literals.h"
#include "support/patience.h"

#include <QHostInfo>
#include <QTest>

#include <algorithm>
#include <malloc.h>
#include <memory>

using namespace KelRestHandler;
using namespace KelTest;

class TestHostLookup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addressesAreFoundOnceAndNotInsideTheCall()
    {
        QObject owner;
        QList<QHostAddress> found;
        int count = 0;
        HostLookup::start("127.0.0.1"_s, &owner, [&](const QHostInfo& info) {
            found = info.addresses();
            ++count;
        });
        QCOMPARE(count, 0);
        QTRY_COMPARE(count, 1);
        QCOMPARE(found, QList<QHostAddress>({QHostAddress(QHostAddress::LocalHost)}));
        // The lookup goes, too.
        QTRY_VERIFY(owner.children().isEmpty());
        QCOMPARE(count, 1);
    }

    void aFunctionMayEndTheOwner()
    {
        auto owner = std::make_unique<QObject>();
        HostLookup::start("127.0.0.1"_s, owner.get(), [&](const QHostInfo&) { owner.reset(); });
        QTRY_VERIFY(!owner);
    }

    // Under AddressSanitizer, which has a malloc() of its own, the leak checker says the same.
    void anOwnerThatGoesBeforeTheAnswerLeavesNothing()
    {
        constexpr int many = 2000;
        constexpr size_t leastOfEach = 16;
        // What is kept for the next time, such as room for events that wait, grows now and then.
        // What is lost, each time.
        size_t least = ~size_t{0};
        for (int i = 0; i < 8; ++i) {
            const size_t before = ::mallinfo2().uordblks;
            startAndLeave(many);
            const size_t after = ::mallinfo2().uordblks;
            least = std::min(least, after > before ? after - before : 0);
        }
        QVERIFY2(least < many * leastOfEach / 2, qPrintable("%1 bytes are left"_s.arg(least)));
    }

private:
    static void startAndLeave(int times)
    {
        // No name of a host, which nobody is asked for, and nobody remembers.
        const QString host = "no..host"_s;
        for (int i = 0; i < times; ++i) {
            QObject owner;
            HostLookup::start(host, &owner, [](const QHostInfo&) {});
        }
        // Those before it are answered first.
        QObject owner;
        bool isOver = false;
        HostLookup::start(host, &owner, [&isOver](const QHostInfo&) { isOver = true; });
        QTRY_VERIFY(isOver);
        QTRY_VERIFY(owner.children().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestHostLookup)
#include "tst_hostlookup.moc"
