// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/kelaccountsprivate.h"
#include "operations/table.h"
#include "rest/request/timestampmanager.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/patience.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/profileinfo.h>

#include <QGuiApplication>
#include <QMetaMethod>
#include <QNetworkProxy>
#include <QPixmap>
#include <QPointer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>

using KelAccount::ErrorStatus;
using KelAccount::KelAccounts;
using KelAccount::KelAccountsPrivate;

namespace {

constexpr int patience = 5000;
// On the way to a TLS server, Qt 5.15 reports a proxy that refuses as an unknown network failure.
constexpr int refusedProxy = KelAccount::ErrorUnknownNetwork;
const auto key = "key"_s;
const auto secret = "secret"_s;
const auto service = "service"_s;

// With their types, in their order.
QStringList facadeSignals()
{
    QStringList signatures;
#define KEL_SIGNATURE(name, ...)                                                                   \
    signatures.append(                                                                             \
        QString::fromLatin1(QMetaObject::normalizedSignature(#name "(" #__VA_ARGS__ ")")));
    KEL_FACADE_SIGNALS(KEL_SIGNATURE)
#undef KEL_SIGNATURE
    return signatures;
}

} // namespace

class OldStyleReceiver : public QObject
{
    Q_OBJECT

public:
    QList<int> statuses;

public Q_SLOTS:
    void onInitialized(int status) { statuses.append(status); }
};

class TestKelAccounts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        qunsetenv("http_proxy");
        qunsetenv("https_proxy");
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    }

    void theSignalsStandInTheirOrder()
    {
        QStringList found;
        const QMetaObject& meta = KelAccounts::staticMetaObject;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            if (meta.method(i).methodType() == QMetaMethod::Signal)
                found.append(QString::fromLatin1(meta.method(i).methodSignature()));
        }
        QCOMPARE(found, facadeSignals());
    }

    void theSignalTypesAreKnownToQt()
    {
        const KelAccounts accounts;
        QCOMPARE(QMetaType::type("KelAccount::ErrorStatus"), int(QMetaType::Int));
        QCOMPARE(QMetaType::type("KelAccount::ConsentQueryVariant"), int(QMetaType::Int));
        QVERIFY(QMetaType::type("KelAccount::PreAccountInfo") != QMetaType::UnknownType);
        QVERIFY(QMetaType::type("KelAccount::ProfileInfo*") != QMetaType::UnknownType);
        QVERIFY(QMetaType::type("ResponseType") != QMetaType::UnknownType);
    }

    void bothConnectionStylesWork()
    {
        KelAccounts accounts;
        OldStyleReceiver receiver;
        QVERIFY(connect(&accounts, SIGNAL(initializeResponse(KelAccount::ErrorStatus)), &receiver,
                        SLOT(onInitialized(int))));
        connect(&accounts, &KelAccounts::initializeResponse, &receiver,
                [&](ErrorStatus status) { receiver.statuses.append(100 + status); });
        accounts.initialize(key, secret, 2, service, QVariantMap());
        QCOMPARE(receiver.statuses, QList<int>({0, 100}));
    }

    void initializeRefusesAnEmptyKeyOrSecretLater_data()
    {
        columns<QString, QString>("consumerKey", "consumerSecret");
        QTest::newRow("no key") << QString() << secret;
        QTest::newRow("no secret") << key << QString();
        QTest::newRow("neither") << QString() << QString();
    }
    void initializeRefusesAnEmptyKeyOrSecretLater()
    {
        const auto [consumerKey, consumerSecret] =
            fetch<QString, QString>("consumerKey", "consumerSecret");
        KelAccounts accounts;
        QSignalSpy spy(&accounts, &KelAccounts::initializeResponse);
        accounts.initialize(consumerKey, consumerSecret, 2, service, QVariantMap());
        QCOMPARE(spy.count(), 0);
        QVERIFY(spy.wait(patience));
        QCOMPARE(spy.first().at(0).toInt(), 1001);
        accounts.initialize(key, secret, 2, service, QVariantMap());
        QCOMPARE(spy.count(), 2);
        QCOMPARE(spy.last().at(0).toInt(), 0);
    }

    void aSecondInitializeIsRefusedAndChangesNothing()
    {
        KelAccountsPrivate orchestrator(nullptr);
        QSignalSpy spy(&orchestrator, &KelAccountsPrivate::initializeResponse);
        orchestrator.initialize(key, secret, 2, service, QVariantMap());
        const QString signature = orchestrator.createSignature(QString(), "b"_s, false);
        orchestrator.initialize("other"_s, "other"_s, 0, service, QVariantMap());
        QCOMPARE(spy.count(), 1);
        QVERIFY(spy.wait(patience));
        QCOMPARE(spy.last().at(0).toInt(), 1000);
        QCOMPARE(orchestrator.createSignature(QString(), "b"_s, false), signature);
    }

    // The second before its arguments are looked at.
    void theRetiredInitialiserAndASecondAreAlwaysRefused()
    {
        KelAccounts accounts;
        QSignalSpy spy(&accounts, &KelAccounts::initializeResponse);
        accounts.initValues(key, secret, 2);
        accounts.initialize(key, secret, 2, service, QVariantMap());
        accounts.initialize(QString(), QString(), 2, service, QVariantMap());
        QCOMPARE(spy.count(), 1);
        QTRY_COMPARE(spy.count(), 3);
        QCOMPARE(QList<QVariantList>(spy), QList<QVariantList>({{0}, {1000}, {1000}}));
    }

    void anUnknownDeferredErrorIsLoggedAndDropped()
    {
        KelAccountsPrivate orchestrator(nullptr);
        const MessageLog log;
        orchestrator.sendErrorResponse(KelAccountsPrivate::EndOfResponseTypes, 1002);
        QVERIFY(log.hasWarning("Failed to send some response...!!!! Is client application still "
                               "waiting for this response??"));
    }

    void theSignatureDependsOnTheSecretAndTheBaseStringAlone()
    {
        KelAccountsPrivate orchestrator(nullptr);
        // openssl dgst -sha1 -hmac 'kd94%2Fhf&' -binary | base64
        orchestrator.initialize(key, "kd94/hf"_s, 2, service, QVariantMap());
        const auto base = "POST&http%3A%2F%2Fexample.com&a%3Db"_s;
        const QString signature = orchestrator.createSignature(key, base, false);
        QCOMPARE(signature, "HnPV+h84yHxmf7O5MKTA+ZlgAKs="_s);
        QCOMPARE(orchestrator.createSignature("x"_s, base, true), signature);
        QCOMPARE(orchestrator.createSignature(QString(), base, true), signature);
    }

    void theProviderHasNoTokenAndTheServersClock()
    {
        KelAccountsPrivate orchestrator(nullptr);
        QVERIFY(orchestrator.getToken(key).isEmpty());
        auto* const clock = KelRestHandler::TimeStampManager::getTimeStampManager();
        clock->setServerTimeDifference(90);
        const qint64 stamp = orchestrator.getTimeStamp().toLongLong();
        clock->setServerTimeDifference(0);
        QVERIFY(qAbs(stamp - 90 - QDateTime::currentSecsSinceEpoch()) <= 1);
    }

    void anUnreachableProxyIsOneAnswerAndTheNextCallIsOneToo()
    {
        useClosedProxy();
        KelAccounts accounts;
        accounts.initialize(key, secret, 2, service, QVariantMap());
        QSignalSpy spy(&accounts, &KelAccounts::isUserIdAvailableResponse);
        for (int i = 1; i <= 2; ++i) {
            accounts.isUserIdAvailable("alice"_s);
            QVERIFY(spy.wait(patience));
            QCOMPARE(spy.count(), i);
            QCOMPARE(spy.last().at(0).toInt(), refusedProxy);
            QCOMPARE(spy.last().at(1).toBool(), false);
        }
    }

    void strangeNamesAreAnsweredOnce_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("control characters") << "a\r\n\t\x01z"_s;
        QTest::newRow("null character") << QString(QChar(0));
        QTest::newRow("not Latin") << "\u0431\u043e\u0440\u0438\u0441"_s;
        QTest::newRow("lone surrogate") << QString(QChar(0xD800));
        QTest::newRow("markup") << "<a href=\"&\">"_s;
        QTest::newRow("address pieces") << "../../?x=1#y@[::1]:99%zz%"_s;
        QTest::newRow("long") << QString(1024 * 1024, QLatin1Char('a'));
        QTest::newRow("long and wide") << QString(1024 * 1024, QChar(0x20AC));
    }
    void strangeNamesAreAnsweredOnce()
    {
        QFETCH(QString, name);
        useClosedProxy();
        KelAccounts accounts;
        accounts.initialize(name, name, 2, name, QVariantMap());
        QSignalSpy spy(&accounts, &KelAccounts::isUserIdAvailableResponse);
        accounts.isUserIdAvailable(name);
        QVERIFY(spy.wait(patience));
        QVERIFY(spy.first().at(0).toInt() != 0);
        QTest::qWait(20);
        QCOMPARE(spy.count(), 1);
    }

    void theFacadeMayBeDeletedWithCallsUnderWay()
    {
        useClosedProxy();
        auto* const accounts = new KelAccounts;
        QSignalSpy spy(accounts, &KelAccounts::isUserIdAvailableResponse);
        accounts->initialize(key, secret, 2, service, QVariantMap());
        accounts->isUserIdAvailable("alice"_s);
        accounts->isUserIdAvailable(QString());
        delete accounts;
        QTest::qWait(100);
        QCOMPARE(spy.count(), 0);
    }

    void theFacadeMayBeDeletedFromTheTransportsAnswer()
    {
        useClosedProxy();
        QPointer<KelAccounts> accounts = new KelAccounts;
        int answers = 0;
        connect(accounts, &KelAccounts::isUserIdAvailableResponse, this, [&] {
            ++answers;
            delete accounts;
        });
        accounts->initialize(key, secret, 2, service, QVariantMap());
        accounts->isUserIdAvailable("alice"_s);
        accounts->isUserIdAvailable("alice"_s);
        QTRY_VERIFY_WITH_TIMEOUT(!accounts, patience);
        QTest::qWait(50);
        QCOMPARE(answers, 1);
    }

    void twoFacadesAnswerTheirOwnCalls()
    {
        useClosedProxy();
        KelAccounts first;
        KelAccounts second;
        QSignalSpy firstSpy(&first, &KelAccounts::isUserIdAvailableResponse);
        QSignalSpy secondSpy(&second, &KelAccounts::isUserIdAvailableResponse);
        first.initialize(key, secret, 2, service, QVariantMap());
        first.isUserIdAvailable("alice"_s);
        second.isUserIdAvailable("alice"_s);
        QTRY_COMPARE_WITH_TIMEOUT(firstSpy.count() + secondSpy.count(), 2, patience);
        QCOMPARE(firstSpy.first().at(0).toInt(), refusedProxy);
        QCOMPARE(secondSpy.first().at(0).toInt(), 802);
    }

private:
    // A proxy's port that nobody listens on: every call fails at once, without a network.
    static void useClosedProxy()
    {
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        qputenv("https_proxy", "http://127.0.0.1:"_ba + QByteArray::number(closed.serverPort()));
        closed.close();
    }
};

QTEST_MAIN(TestKelAccounts)
#include "tst_kelaccounts.moc"
