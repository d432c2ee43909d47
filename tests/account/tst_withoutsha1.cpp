// SPDX-License-Identifier: LGPL-2.1-or-later
// A system whose policy takes SHA-1 away: nothing can be signed, and everything is answered.
#include "account/facaderecorder.h"
#include "device/testtagserver.h"
#include "operations/facadecalls.h"
#include "platform/fakemodem.h"
#include "rest/request/cryptographicutils.h"
#include "support/literals.h"
#include "support/messagelog.h"

#include <kelaccount/kelaccounts.h>

#include <QTemporaryFile>
#include <QTest>

using namespace KelTest;
using facadecalls::KelAccounts;
using facadecalls::Operation;

class TestWithoutSha1 : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // libcrypto reads its settings when it is first used.
    void initTestCase()
    {
        QVERIFY(mSettings.open());
        mSettings.write("openssl_conf = start\n[start]\nalg_section = algorithms\n"
                        "[algorithms]\ndefault_properties = fips=yes\n");
        QVERIFY(mSettings.flush());
        QVERIFY(qputenv("OPENSSL_CONF", mSettings.fileName().toLocal8Bit()));
        TagServerAddress::setProgram("/nonexistent/tag-server");
        FakeModem::reset();
    }

    void hashesAreEmpty()
    {
        const auto text = "text"_s;
        QVERIFY(!CryptographicUtils::isAvailable());
        QCOMPARE(CryptographicUtils::HMACSHA1(text, text), QString());
        QCOMPARE(CryptographicUtils::HMACSHA1(text, QString(65, QLatin1Char('k'))), QString());
        QCOMPARE(CryptographicUtils::getDigest(text, text, text), QString());
        QCOMPARE(CryptographicUtils::getValidator(text, text), QString());
        QCOMPARE(CryptographicUtils::getNOnce().size(), 38);
    }

    void aRequestCannotBeSent_data()
    {
        QTest::addColumn<int>("index");
        const auto operations = facadecalls::ofTheService();
        for (int i = 0; i < operations.size(); ++i)
            QTest::newRow(operations[i].name) << i;
    }
    void aRequestCannotBeSent()
    {
        QFETCH(int, index);
        const Operation operation = facadecalls::ofTheService().at(index);
        KelAccounts accounts;
        accounts.initialize("key"_s, "secret"_s, 2, {}, {});
        const FacadeRecorder recorder(&accounts);
        const MessageLog log;
        operation.call(accounts);
        QCOMPARE(recorder.lines(), QStringList());
        QVERIFY(recorder.waitFor(1));
        QTest::qWait(20);
        QCOMPARE(recorder.lines(), QStringList(QString::fromLatin1(operation.refusal).arg(1002)));
        QVERIFY(log.hasCritical("The cryptographic library refuses SHA-1, so no request can be "
                                "signed; nothing is sent"));
        QVERIFY(log.hasCritical(operation.failure));
    }

private:
    QTemporaryFile mSettings;
};

QTEST_MAIN(TestWithoutSha1)
#include "tst_withoutsha1.moc"
