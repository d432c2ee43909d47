// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/obcservicetag.h"
#include "device/testtagserver.h"
#include "support/processfacts.h"

#include <QTest>

namespace {

int starts = 0;

} // namespace

// In place of the real one: as on a system that allows no further process.
extern "C" int launch_server()
{
    ++starts;
    return -1;
}

class TestTagServerNotStarted : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFailedStartIsReportedOnce()
    {
        char tag[100];
        unsigned length = 77;
        unsigned error = 0;
        const int before = KelTest::openDescriptors();
        QCOMPARE(ObC_ServiceTag("key", 3, tag, &length, sizeof tag, &error), 0);
        QCOMPARE(error, 0x2004U);
        QCOMPARE(length, 0U);
        QCOMPARE(starts, 1);
        QCOMPARE(KelTest::openDescriptors(), before);
    }
};

QTEST_GUILESS_MAIN(TestTagServerNotStarted)
#include "tst_tagservernotstarted.moc"
