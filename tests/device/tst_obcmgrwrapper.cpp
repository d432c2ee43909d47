// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/obcmgrwrapper.h"
#include "device/testtagserver.h"
#include "rest/request/timestampmanager.h"

#include <QDateTime>
#include <QTest>

using namespace KelTest;
using KelRestHandler::ObcMgrWrapper;
using KelRestHandler::TimeStampManager;

class TestObcMgrWrapper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void aTagIsGivenInBase64();
    void anEmptyTagIsASuccess();
    void aFailureEmptiesTheTag();
    void aKeyIsSentInOneBytePerCharacter();
    void aKeyOf500CharactersIsTheLongest();
    void aLoadAsksForTheOperationAtTheServersTime();
    void theOperationsHaveTheirNames();
    void availabilityLoadsOnceAndKeepsASuccess();
    void availabilityKeepsAFailureWithoutANewExchange();
    void aLaterLoadChangesTheAnswer();
};

void TestObcMgrWrapper::init()
{
    TimeStampManager::getTimeStampManager()->setServerTimeDifference(0);
    TagServerAddress::setProgram("/nonexistent/tag-server");
}

void TestObcMgrWrapper::aTagIsGivenInBase64()
{
    ThreadTagServer server(QByteArray::fromHex("01FBEFBE00FF10"));
    QByteArray tag("before");
    QVERIFY(ObcMgrWrapper().serviceTag(tag, QStringLiteral("key")));
    QCOMPARE(tag, QByteArray("++++AP8Q"));
}

void TestObcMgrWrapper::anEmptyTagIsASuccess()
{
    ThreadTagServer server(QByteArray("\x01"));
    QByteArray tag("before");
    QVERIFY(ObcMgrWrapper().serviceTag(tag, QStringLiteral("key")));
    QCOMPARE(tag, QByteArray());
}

void TestObcMgrWrapper::aFailureEmptiesTheTag()
{
    ThreadTagServer server(QByteArray("\0\0\0\0\x01", 5));
    QByteArray tag("before");
    QVERIFY(!ObcMgrWrapper().serviceTag(tag, QStringLiteral("key")));
    QCOMPARE(tag, QByteArray());
}

void TestObcMgrWrapper::aKeyIsSentInOneBytePerCharacter()
{
    ThreadTagServer server(QByteArray("\x01tag"));
    QByteArray tag;
    const QString key = QString::fromUtf8("a\xC3\xA9\xE2\x82\xAC"); // a, e acute, euro
    QVERIFY(ObcMgrWrapper().serviceTag(tag, key));
    QCOMPARE(server.frames(), QByteArrayList{QByteArray::fromHex("00C3000630000361E93F")});
}

void TestObcMgrWrapper::aKeyOf500CharactersIsTheLongest()
{
    ThreadTagServer server(QByteArray("\x01tag"));
    QByteArray tag;
    QVERIFY(ObcMgrWrapper().serviceTag(tag, QString(500, QLatin1Char('k'))));
    QVERIFY(!ObcMgrWrapper().serviceTag(tag, QString(501, QLatin1Char('k'))));
    QCOMPARE(tag, QByteArray());
    QCOMPARE(server.connections(), 1);
}

void TestObcMgrWrapper::aLoadAsksForTheOperationAtTheServersTime()
{
    constexpr int anHour = 3600;
    TimeStampManager::getTimeStampManager()->setServerTimeDifference(anHour);
    ThreadTagServer server(QByteArray("\x01tag"));
    QByteArray tag;
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    ObcMgrWrapper().loadServiceTag(tag, QStringLiteral(":SSO_PASSWORD_RECOVERY"));
    const qint64 after = QDateTime::currentSecsSinceEpoch();

    QCOMPARE(tag, QByteArray("dGFn"));
    QCOMPARE(server.frames().size(), 1);
    const QByteArray key = server.frames().first().mid(7);
    QVERIFY2(key.startsWith(":SSO_PASSWORD_RECOVERY:"), key);
    const qint64 stamp = key.mid(23).toLongLong();
    QVERIFY2(stamp >= before + anHour && stamp <= after + anHour, key);
}

void TestObcMgrWrapper::theOperationsHaveTheirNames()
{
    using namespace KelRestHandler::ServiceTagOperation;
    QCOMPARE(QString(registration), QStringLiteral(":SSO_REGISTRATION"));
    QCOMPARE(QString(passwordRecovery), QStringLiteral(":SSO_PASSWORD_RECOVERY"));
    QCOMPARE(QString(emailAvailabilityCheck), QStringLiteral(":SSO_EMAIL_AVAILABILITY_CHECK"));
}

void TestObcMgrWrapper::availabilityLoadsOnceAndKeepsASuccess()
{
    ThreadTagServer server(QByteArray("\x01tag"));
    ObcMgrWrapper wrapper;
    QVERIFY(wrapper.isServiceTagAvailable());
    QVERIFY(wrapper.isServiceTagAvailable());
    QCOMPARE(server.frames().size(), 1);
    QVERIFY(server.frames().first().mid(7).startsWith(":SSO_REGISTRATION:"));
}

void TestObcMgrWrapper::availabilityKeepsAFailureWithoutANewExchange()
{
    ObcMgrWrapper wrapper;
    // Nobody listens, and nobody can be started.
    QVERIFY(!wrapper.isServiceTagAvailable());
    ThreadTagServer server(QByteArray("\x01tag"));
    QVERIFY(server.isReady());
    QVERIFY(!wrapper.isServiceTagAvailable());
    QCOMPARE(server.connections(), 0);
}

void TestObcMgrWrapper::aLaterLoadChangesTheAnswer()
{
    ObcMgrWrapper wrapper;
    QByteArray tag;
    {
        ThreadTagServer refusing(QByteArray("\0\0\0\0\x01", 5));
        QVERIFY(!wrapper.isServiceTagAvailable());
    }
    {
        ThreadTagServer server(QByteArray("\x01tag"));
        wrapper.loadServiceTag(tag, KelRestHandler::ServiceTagOperation::emailAvailabilityCheck);
        QVERIFY(wrapper.isServiceTagAvailable());
    }
    {
        ThreadTagServer refusing(QByteArray("\0\0\0\0\x01", 5));
        wrapper.loadServiceTag(tag, KelRestHandler::ServiceTagOperation::passwordRecovery);
    }
    QVERIFY(!wrapper.isServiceTagAvailable());
    QCOMPARE(tag, QByteArray());
}

QTEST_GUILESS_MAIN(TestObcMgrWrapper)
#include "tst_obcmgrwrapper.moc"
