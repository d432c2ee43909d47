// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/answers.h"
#include "operations/recordedanswers.h"
#include "rest/restrequesthandler.h"
#include "rest/transport/networkhandler.h"
#include "support/messagelog.h"

#include <QTest>

using namespace KelRestHandler;

namespace {

QStringList signaturesOf(const QMetaObject& meta)
{
    QStringList signatures;
    for (int i = QObject::staticMetaObject.methodCount(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Signal)
            signatures.append(QString::fromLatin1(meta.method(i).methodSignature()));
    }
    return signatures;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

} // namespace

class TestServiceSignals : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyStageDeclaresTheSignalsOfTheTable()
    {
        const QStringList expected = sorted(operations::answerSignatures());
        QCOMPARE(sorted(signaturesOf(NetworkResponseProcessor::staticMetaObject)), expected);
        QCOMPARE(sorted(signaturesOf(NetworkHandler::staticMetaObject)), expected);
        QCOMPARE(sorted(signaturesOf(RESTRequestHandler::staticMetaObject)), expected);
    }

    void theRelayPassesEverySignalOnUnchanged()
    {
        NetworkResponseProcessor processor(nullptr);
        NetworkHandler transport(nullptr);
        ServiceSignals last(nullptr);
        ServiceSignals::relay(&processor, &transport);
        ServiceSignals::relay(&transport, &last);
        const RecordedAnswers sent(processor);
        const RecordedAnswers arrived(last);
        const MessageLog log;
        for (const operations::Case& testCase : operations::cases()) {
            HttpResponse response(testCase.error, testCase.text, operations::consumerKey,
                                  operations::requestId);
            processor.processResponseFromServer(testCase.number, &response);
        }
        QCOMPARE(arrived.lines(), sent.lines());
        QStringList arrivedNames = arrived.names();
        arrivedNames.removeDuplicates();
        QCOMPARE(sorted(arrivedNames), sorted(operations::namesOf(operations::answerSignatures())));
    }
};

QTEST_MAIN(TestServiceSignals)
#include "tst_servicesignals.moc"
