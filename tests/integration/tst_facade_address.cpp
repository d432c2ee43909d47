// SPDX-License-Identifier: LGPL-2.1-or-later
// Arguments that would make another address of their request, between an application and the wire.
#include "account/facaderecorder.h"
#include "device/testtagserver.h"
#include "integration/standinservice.h"
#include "platform/fakemodem.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>

#include <QSet>
#include <QTest>

#include <memory>

using namespace KelTest;
using facadecalls::Placed;
using KelAccount::KelAccounts;

namespace {

/// The positions of the arguments that stand in the operation's address as it was typed.
QSet<int> positionsIn(const ServedOperation& operation, Placed::Kind kind)
{
    const QString target = QString::fromLatin1(operation.target);
    QStringList pieces = target.section(QLatin1Char('?'), 0, 0).split(QLatin1Char('/'));
    if (kind == Placed::Query) {
        pieces = target.section(QLatin1Char('?'), 1).split(QLatin1Char('&'));
        for (QString& piece : pieces)
            piece = piece.section(QLatin1Char('='), 1);
    }
    QSet<int> positions;
    for (int i = 0; i < operation.arguments.size(); ++i) {
        const QVariant& argument = operation.arguments.at(i);
        if (argument.userType() == QMetaType::QString && pieces.contains(argument.toString()))
            positions.insert(i);
    }
    return positions;
}

QStringList breaking(Placed::Kind kind)
{
    QStringList values = {
        "alice#x"_s, "alice?x=1"_s, "al%69ce"_s,  "a/../b"_s,   "."_s,
        ".."_s,      "a\nb"_s,      "a\u007fb"_s, "a\u0085b"_s, QString(QChar(0)),
    };
    if (kind == Placed::Query)
        values += {"fi&lang=de"_s, "fi="_s};
    return values;
}

} // namespace

class TestFacadeAddress : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        FakeModem::reset();
        TagServerAddress::setProgram("/nonexistent/tag-server");
    }

    // A language that goes into the headers is beside those of the query.
    void everyArgumentInAnAddressIsKnownToStandThere()
    {
        int count = 0;
        for (const ServedOperation& operation : servedOperations()) {
            QSet<int> path;
            QSet<int> query;
            for (const Placed& placed : operation.placed)
                (placed.kind == Placed::Path ? path : query).insert(placed.position);
            QCOMPARE(path, positionsIn(operation, Placed::Path));
            QVERIFY2(query.contains(positionsIn(operation, Placed::Query)), operation.name);
            count += path.size();
        }
        QVERIFY(count > 0);
    }

    void nothingIsSentAndTheAnswerIsThatOfAMissingArgument_data()
    {
        rows<int, int, bool>("operation", "placed", "initialized");
        for (int i = 0; i < servedOperations().size(); ++i) {
            const ServedOperation& operation = servedOperations().at(i);
            for (int j = 0; j < operation.placed.size(); ++j) {
                const QByteArray name =
                    operation.with(operation.placed.at(j).position, QString()).name;
                QTest::addRow("%s, %s", operation.name, name.constData()) << i << j << true;
                QTest::addRow("%s, %s, before", operation.name, name.constData())
                    << i << j << false;
            }
        }
    }
    void nothingIsSentAndTheAnswerIsThatOfAMissingArgument()
    {
        const auto [index, at, initialized] =
            fetch<int, int, bool>("operation", "placed", "initialized");
        const ServedOperation& operation = servedOperations().at(index);
        const Placed& placed = operation.placed.at(at);
        const StandInService service;
        KelAccounts accounts;
        if (initialized)
            accounts.initialize("key"_s, "secret"_s, 2, {}, {});
        FacadeRecorder recorder(&accounts);
        const QString line =
            facadecalls::line(operation.refusal, initialized ? placed.status : placed.earlyStatus);
        for (const QString& value : breaking(placed.kind)) {
            const MessageLog log;
            operation.with(placed.position, value).call(accounts);
            QCOMPARE(recorder.lines(), QStringList());
            QVERIFY(recorder.waitFor(1));
            QCOMPARE(recorder.lines(), QStringList(line));
            QVERIFY(value.size() < 3 || log.all().filter(value).isEmpty());
            recorder.clear();
        }
        QTest::qWait(20);
        QCOMPARE(recorder.lines(), QStringList());
        QCOMPARE(service.requests().size(), 0);
    }
};

QTEST_MAIN(TestFacadeAddress)
#include "tst_facade_address.moc"
