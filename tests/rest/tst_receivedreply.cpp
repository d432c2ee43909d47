// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/receivedreply.h"
#include "rest/reply/retryafter.h"
#include "support/literals.h"

#include <QTest>

using namespace KelRestHandler;

namespace {

const auto head = "HTTP line\r\nDate: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n"_s;
const auto answer = head + "<?xml version=\"1.0\"?><tokenRefreshResponse></tokenRefreshResponse>"_s;

} // namespace

class TestReceivedReply : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutADocumentEveryStatusButSuccessIsAFailure()
    {
        for (int status = 0; status < 1000; ++status) {
            const ReceivedReply without = receivedReply(QNetworkReply::NoError, status, head);
            const bool success = status / 100 == 2;
            QCOMPARE(without.error,
                     success ? QNetworkReply::NoError : QNetworkReply::ProtocolFailure);
            QCOMPARE(without.text, success ? head : QString());
            const ReceivedReply with = receivedReply(QNetworkReply::NoError, status, answer);
            QCOMPARE(with.error, QNetworkReply::NoError);
            QCOMPARE(with.text, answer);
        }
    }

    void theNetworksErrorStays()
    {
        for (const int status : {0, 200, 302, 404, 503}) {
            const ReceivedReply reply =
                receivedReply(QNetworkReply::ContentNotFoundError, status, head);
            QCOMPARE(reply.error, QNetworkReply::ContentNotFoundError);
            QCOMPARE(reply.text, head);
        }
    }

    void aDocumentBeyondTheBoundsIsAFailureWhateverTheNetworkSays()
    {
        const QString text = head + "<?xml version=\"1.0\"?><!DOCTYPE a><a/>"_s;
        for (const auto error : {QNetworkReply::NoError, QNetworkReply::ContentNotFoundError}) {
            const ReceivedReply reply = receivedReply(error, 200, text);
            QCOMPARE(reply.error, QNetworkReply::ProtocolFailure);
            QVERIFY(reply.text.isNull());
        }
    }

    void onlyTheDocumentHasBounds()
    {
        // Without a declaration it is no document, and never read as one.
        const QString text = head + "<!DOCTYPE html><p>"_s.repeated(100'000);
        const ReceivedReply reply = receivedReply(QNetworkReply::NoError, 200, text);
        QCOMPARE(reply.error, QNetworkReply::NoError);
        QCOMPARE(reply.text, text);
    }

    void aWaitWithANullCharacterIsNone()
    {
        const QDateTime now(QDate(1994, 11, 15), QTime(8, 0), Qt::UTC);
        const QByteArray date = "Tue, 15 Nov 1994 08:12:31";
        QCOMPARE(retryAfterSeconds(date + " GMT", now), 751);
        for (const int position : {0, 3, static_cast<int>(date.size())}) {
            const QByteArray value = QByteArray(date).insert(position, '\0') + " GMT";
            QCOMPARE(retryAfterSeconds(value, now), -1);
        }
    }
};

QTEST_GUILESS_MAIN(TestReceivedReply)
#include "tst_receivedreply.moc"
