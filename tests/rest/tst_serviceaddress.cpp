// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/resturlhelper.h"
#include "rest/request/serviceaddress.h"

#include <QTest>
#include <QUrl>

#include <limits>

using namespace KelRestHandler;

using Composer = QString (*)(QString const&);
Q_DECLARE_METATYPE(Composer)

class ServiceAddressTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anIndexChoosesItsServerAndAnyOtherProduction_data();
    void anIndexChoosesItsServerAndAnyOtherProduction();
    void everyServerHasAHostOfItsOwn();
    void realmAndNamespaceFollowTheProductionHost();

    void everyResourceIsItsFragmentBehindTheBase_data();
    void everyResourceIsItsFragmentBehindTheBase();
};

void ServiceAddressTest::anIndexChoosesItsServerAndAnyOtherProduction_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("base");
    const auto production = QStringLiteral("https://account.example/rest/1.0/");
    QTest::newRow("test server A")
        << 0 << QStringLiteral("https://test-a.account.example/rest/1.0/");
    QTest::newRow("test server B")
        << 1 << QStringLiteral("https://test-b.account.example/rest/1.0/");
    QTest::newRow("production") << 2 << production;
    QTest::newRow("staging") << 3 << QStringLiteral("https://staging.account.example/rest/1.0/");
    QTest::newRow("test server C")
        << 4 << QStringLiteral("https://test-c.account.example/rest/1.0/");
    QTest::newRow("test server D")
        << 5 << QStringLiteral("https://test-d.account.example/rest/1.0/");
    QTest::newRow("6") << 6 << production;
    QTest::newRow("7") << 7 << production;
    QTest::newRow("-1") << -1 << production;
    QTest::newRow("lowest") << std::numeric_limits<int>::min() << production;
    QTest::newRow("highest") << std::numeric_limits<int>::max() << production;
}

void ServiceAddressTest::anIndexChoosesItsServerAndAnyOtherProduction()
{
    QFETCH(int, index);
    QFETCH(QString, base);
    QCOMPARE(serverBaseAddress(index), base);
}

void ServiceAddressTest::everyServerHasAHostOfItsOwn()
{
    QSet<QString> hosts;
    for (int index = 0; index < 6; ++index) {
        const QUrl address(serverBaseAddress(index), QUrl::StrictMode);
        QVERIFY2(address.isValid(), qPrintable(address.errorString()));
        hosts.insert(address.host());
    }
    QCOMPARE(hosts.size(), 6);
}

void ServiceAddressTest::realmAndNamespaceFollowTheProductionHost()
{
    QCOMPARE(QByteArray(OAuthRealm), QByteArray("OAuth realm=\"https://account.example\""));
    const QString schema = QString::fromLatin1(RestSchemaNamespace);
    QVERIFY2(schema.startsWith(QLatin1String("https://account.example/")), RestSchemaNamespace);
}

void ServiceAddressTest::everyResourceIsItsFragmentBehindTheBase_data()
{
    QTest::addColumn<Composer>("compose");
    QTest::addColumn<QString>("fragment");
    QTest::newRow("signInUrl") << &RestUrlHelper::signInUrl << QStringLiteral("tokens");
    QTest::newRow("tokenUrl") << &RestUrlHelper::tokenUrl << QStringLiteral("tokens/");
    QTest::newRow("availabilityUrl")
        << &RestUrlHelper::availabilityUrl << QStringLiteral("availability/");
    QTest::newRow("emailAvailabilityUrl")
        << &RestUrlHelper::emailAvailabilityUrl << QStringLiteral("emailavailability/");
    QTest::newRow("retrieveCaptchaUrl")
        << &RestUrlHelper::retrieveCaptchaUrl << QStringLiteral("captchas");
    QTest::newRow("securityQuestionsUrl")
        << &RestUrlHelper::securityQuestionsUrl << QStringLiteral("securityquestions");
    QTest::newRow("detectPreAccountUrl")
        << &RestUrlHelper::detectPreAccountUrl << QStringLiteral("autodetection");
    QTest::newRow("consentQueryVariantUrl")
        << &RestUrlHelper::consentQueryVariantUrl << QStringLiteral("consentqueryvariant");
    QTest::newRow("newPreAccountRegistrationUrl") << &RestUrlHelper::newPreAccountRegistrationUrl
                                                  << QStringLiteral("phoneactivationregistration");
    QTest::newRow("newRegistrationUrl")
        << &RestUrlHelper::newRegistrationUrl << QStringLiteral("accounts");
    QTest::newRow("registrationUrl")
        << &RestUrlHelper::registrationUrl << QStringLiteral("accounts/");
    QTest::newRow("termsUrl") << &RestUrlHelper::termsUrl << QStringLiteral("terms/");
    QTest::newRow("passwordRecoveryUrl")
        << &RestUrlHelper::passwordRecoveryUrl << QStringLiteral("simplifiedpasswordrecovery/");
    QTest::newRow("serviceInfoUrl")
        << &RestUrlHelper::serviceInfoUrl << QStringLiteral("services/");
    QTest::newRow("guardianTokenUrl")
        << &RestUrlHelper::guardianTokenUrl << QStringLiteral("guardiantokens");
}

void ServiceAddressTest::everyResourceIsItsFragmentBehindTheBase()
{
    QFETCH(Composer, compose);
    QFETCH(QString, fragment);
    // The base is taken as it is, whatever it is: nothing is encoded or checked.
    for (const char* base : {"https://account.example/rest/1.0/", "", "no address at all %&\"/"}) {
        const QString text = QString::fromLatin1(base);
        QCOMPARE(compose(text), text + fragment);
    }
}

QTEST_APPLESS_MAIN(ServiceAddressTest)
#include "tst_serviceaddress.moc"
