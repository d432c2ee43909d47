// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/obcmgrwrapper.h"
#include "device/testtagserver.h"
#include "rest/request/timestampmanager.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDateTime>
#include <QTest>

using namespace KelTest;
using KelRestHandler::ObcMgrWrapper;
using KelRestHandler::TimeStampManager;

class TestObcMgrWrapper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TimeStampManager::getTimeStampManager()->setServerTimeDifference(0);
        TagServerAddress::setProgram("/nonexistent/tag-server");
    }

    void aTagIsGivenInBase64_data()
    {
        const auto row = rows<QByteArray, bool, QByteArray>("reply", "isGiven", "expected");
        row("a tag", QByteArray::fromHex("01FBEFBE00FF10"), true, "++++AP8Q");
        row("an empty one", "\x01", true, {});
        row("a failure", QByteArray("\0\0\0\0\x01", 5), false, {});
    }
    void aTagIsGivenInBase64()
    {
        const auto [reply, isGiven, expected] =
            fetch<QByteArray, bool, QByteArray>("reply", "isGiven", "expected");
        ThreadTagServer server(reply);
        QByteArray tag("before");
        QCOMPARE(ObcMgrWrapper().serviceTag(tag, "key"_s), isGiven);
        QCOMPARE(tag, expected);
    }

    void aKeyIsSentInOneBytePerCharacter()
    {
        ThreadTagServer server("\x01tag"_ba);
        QByteArray tag;
        const QString key = "a\xC3\xA9\xE2\x82\xAC"_s; // a, e acute, euro
        QVERIFY(ObcMgrWrapper().serviceTag(tag, key));
        QCOMPARE(server.frames(), QByteArrayList{QByteArray::fromHex("00C3000630000361E93F")});
    }

    void aKeyOf500CharactersIsTheLongest()
    {
        ThreadTagServer server("\x01tag"_ba);
        QByteArray tag;
        QVERIFY(ObcMgrWrapper().serviceTag(tag, QString(500, QLatin1Char('k'))));
        QVERIFY(!ObcMgrWrapper().serviceTag(tag, QString(501, QLatin1Char('k'))));
        QCOMPARE(tag, QByteArray());
        QCOMPARE(server.connections(), 1);
    }

    void aLoadAsksForTheOperationAtTheServersTime()
    {
        constexpr int anHour = 3600;
        TimeStampManager::getTimeStampManager()->setServerTimeDifference(anHour);
        ThreadTagServer server("\x01tag"_ba);
        QByteArray tag;
        const qint64 before = QDateTime::currentSecsSinceEpoch();
        ObcMgrWrapper().loadServiceTag(tag, ":SSO_PASSWORD_RECOVERY"_s);
        const qint64 after = QDateTime::currentSecsSinceEpoch();

        QCOMPARE(tag, "dGFn"_ba);
        QCOMPARE(server.frames().size(), 1);
        const QByteArray key = server.frames().first().mid(7);
        QVERIFY2(key.startsWith(":SSO_PASSWORD_RECOVERY:"), key);
        const qint64 stamp = key.mid(23).toLongLong();
        QVERIFY2(stamp >= before + anHour && stamp <= after + anHour, key);
    }

    void theOperationsHaveTheirNames()
    {
        using namespace KelRestHandler::ServiceTagOperation;
        QCOMPARE(QString(registration), ":SSO_REGISTRATION"_s);
        QCOMPARE(QString(passwordRecovery), ":SSO_PASSWORD_RECOVERY"_s);
        QCOMPARE(QString(emailAvailabilityCheck), ":SSO_EMAIL_AVAILABILITY_CHECK"_s);
    }

    void availabilityLoadsOnceAndKeepsASuccess()
    {
        ThreadTagServer server("\x01tag"_ba);
        ObcMgrWrapper wrapper;
        QVERIFY(wrapper.isServiceTagAvailable());
        QVERIFY(wrapper.isServiceTagAvailable());
        QCOMPARE(server.frames().size(), 1);
        QVERIFY(server.frames().first().mid(7).startsWith(":SSO_REGISTRATION:"));
    }

    void availabilityKeepsAFailureWithoutANewExchange()
    {
        ObcMgrWrapper wrapper;
        // Nobody listens, and nobody can be started.
        QVERIFY(!wrapper.isServiceTagAvailable());
        ThreadTagServer server("\x01tag"_ba);
        QVERIFY(server.isReady());
        QVERIFY(!wrapper.isServiceTagAvailable());
        QCOMPARE(server.connections(), 0);
    }

    void aLaterLoadChangesTheAnswer()
    {
        ObcMgrWrapper wrapper;
        QByteArray tag;
        {
            ThreadTagServer refusing(QByteArray("\0\0\0\0\x01", 5));
            QVERIFY(!wrapper.isServiceTagAvailable());
        }
        {
            ThreadTagServer server("\x01tag"_ba);
            wrapper.loadServiceTag(tag,
                                   KelRestHandler::ServiceTagOperation::emailAvailabilityCheck);
            QVERIFY(wrapper.isServiceTagAvailable());
        }
        {
            ThreadTagServer refusing(QByteArray("\0\0\0\0\x01", 5));
            wrapper.loadServiceTag(tag, KelRestHandler::ServiceTagOperation::passwordRecovery);
        }
        QVERIFY(!wrapper.isServiceTagAvailable());
        QCOMPARE(tag, QByteArray());
    }
};

QTEST_GUILESS_MAIN(TestObcMgrWrapper)
#include "tst_obcmgrwrapper.moc"
