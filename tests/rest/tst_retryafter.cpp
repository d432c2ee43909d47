// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/retryafter.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

#include <limits>

using KelRestHandler::retryAfterSeconds;

class TestRetryAfter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aValueIsRead_data()
    {
        columns<QByteArray, int>("value", "seconds");
        const int longest = std::numeric_limits<int>::max();
        QTest::newRow("seconds") << "120"_ba << 120;
        QTest::newRow("at once") << "0"_ba << 0;
        QTest::newRow("with blanks around") << " 7\t"_ba << 7;
        QTest::newRow("longer than an int") << "2147483648"_ba << longest;
        QTest::newRow("longer than any number") << QByteArray(400, '9') << longest;
        QTest::newRow("a time") << "Fri, 31 Dec 1999 23:59:59 GMT"_ba << 59;
        QTest::newRow("a time that has passed") << "Fri, 31 Dec 1999 23:58:59 GMT"_ba << 0;
        row("a time in thousands of years", "Fri, 31 Dec 9999 23:59:59 GMT"_ba, longest);
        QTest::newRow("nothing") << QByteArray() << -1;
        QTest::newRow("blanks") << "  "_ba << -1;
        QTest::newRow("a negative number") << "-5"_ba << -1;
        QTest::newRow("a fraction") << "1.5"_ba << -1;
        QTest::newRow("words") << "soon GMT"_ba << -1;
        QTest::newRow("a time of no zone") << "Fri, 31 Dec 1999 23:59:59"_ba << -1;
        row("the wrong day of the week", "Mon, 31 Dec 1999 23:59:59 GMT"_ba, -1);
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
