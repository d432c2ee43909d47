// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/tagserveraddress.h"

#include <QByteArray>
#include <QTest>

using namespace KelRestHandler;

// Every other test stands in for these constants.
class TestTagServerAddress : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theAddressIsTheDevices()
    {
        QCOMPARE(TagServer::path, "/usr/sbin/obcmngrlite-server");
        QCOMPARE(TagServer::argument0, "obcmngrlite-server");
        QCOMPARE(TagServer::socketName, "obc");
        QCOMPARE(TagServer::longestExchangeMs, 10000);
        QCOMPARE(TagServer::longestQueueMs, 1000);
    }
};

QTEST_GUILESS_MAIN(TestTagServerAddress)
#include "tst_tagserveraddress.moc"
