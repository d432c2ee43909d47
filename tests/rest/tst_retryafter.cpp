// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/retryafter.h"

#include <QTest>

#include <limits>

using KelRestHandler::retryAfterSeconds;

class TestRetryAfter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aValueIsRead_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<int>("seconds");
        const int longest = std::numeric_limits<int>::max();
        QTest::newRow("seconds") << QByteArray("120") << 120;
        QTest::newRow("at once") << QByteArray("0") << 0;
        QTest::newRow("with blanks around") << QByteArray(" 7\t") << 7;
        QTest::newRow("longer than an int") << QByteArray("2147483648") << longest;
        QTest::newRow("longer than any number") << QByteArray(400, '9') << longest;
        QTest::newRow("a time") << QByteArray("Fri, 31 Dec 1999 23:59:59 GMT") << 59;
        QTest::newRow("a time that has passed") << QByteArray("Fri, 31 Dec 1999 23:58:59 GMT") << 0;
        QTest::newRow("a time in thousands of years")
            << QByteArray("Fri, 31 Dec 9999 23:59:59 GMT") << longest;
        QTest::newRow("nothing") << QByteArray() << -1;
        QTest::newRow("blanks") << QByteArray("  ") << -1;
        QTest::newRow("a negative number") << QByteArray("-5") << -1;
        QTest::newRow("a fraction") << QByteArray("1.5") << -1;
        QTest::newRow("words") << QByteArray("soon GMT") << -1;
        QTest::newRow("a time of no zone") << QByteArray("Fri, 31 Dec 1999 23:59:59") << -1;
        QTest::newRow("the wrong day of the week")
            << QByteArray("Mon, 31 Dec 1999 23:59:59 GMT") << -1;
    }

    void aValueIsRead()
    {
        QFETCH(QByteArray, value);
        const QDateTime now(QDate(1999, 12, 31), QTime(23, 59, 0), Qt::UTC);
        QTEST(retryAfterSeconds(value, now), "seconds");
    }
};

QTEST_GUILESS_MAIN(TestRetryAfter)
#include "tst_retryafter.moc"
