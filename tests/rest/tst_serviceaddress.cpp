// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/resturlhelper.h"
#include "rest/request/serviceaddress.h"
#include "support/literals.h"
#include "support/rows.h"

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
    void anIndexChoosesItsServerAndAnyOtherProduction_data()
    {
        columns<int, QString>("index", "base");
        const auto production = "https://account.example/rest/1.0/"_s;
        QTest::newRow("test server A") << 0 << "https://test-a.account.example/rest/1.0/"_s;
        QTest::newRow("test server B") << 1 << "https://test-b.account.example/rest/1.0/"_s;
        QTest::newRow("production") << 2 << production;
        QTest::newRow("staging") << 3 << "https://staging.account.example/rest/1.0/"_s;
        QTest::newRow("test server C") << 4 << "https://test-c.account.example/rest/1.0/"_s;
        QTest::newRow("test server D") << 5 << "https://test-d.account.example/rest/1.0/"_s;
        QTest::newRow("6") << 6 << production;
        QTest::newRow("7") << 7 << production;
        QTest::newRow("-1") << -1 << production;
        QTest::newRow("lowest") << std::numeric_limits<int>::min() << production;
        QTest::newRow("highest") << std::numeric_limits<int>::max() << production;
    }
    void anIndexChoosesItsServerAndAnyOtherProduction()
    {
        const auto [index, base] = fetch<int, QString>("index", "base");
        QCOMPARE(serverBaseAddress(index), base);
    }

    void everyServerHasAHostOfItsOwn()
    {
        QSet<QString> hosts;
        for (int index = 0; index < 6; ++index) {
            const QUrl address(serverBaseAddress(index), QUrl::StrictMode);
            QVERIFY2(address.isValid(), qPrintable(address.errorString()));
            hosts.insert(address.host());
        }
        QCOMPARE(hosts.size(), 6);
    }

    void realmAndNamespaceFollowTheProductionHost()
    {
        QCOMPARE(QByteArray(OAuthRealm), "OAuth realm=\"https://account.example\""_ba);
        const QString schema = QString::fromLatin1(RestSchemaNamespace);
        QVERIFY2(schema.startsWith(QLatin1String("https://account.example/")), RestSchemaNamespace);
    }

    void everyResourceIsItsFragmentBehindTheBase_data()
    {
        columns<Composer, QString>("compose", "fragment");
        QTest::newRow("signInUrl") << &RestUrlHelper::signInUrl << "tokens"_s;
        QTest::newRow("tokenUrl") << &RestUrlHelper::tokenUrl << "tokens/"_s;
        QTest::newRow("availabilityUrl") << &RestUrlHelper::availabilityUrl << "availability/"_s;
        row("emailAvailabilityUrl", &RestUrlHelper::emailAvailabilityUrl, "emailavailability/"_s);
        QTest::newRow("retrieveCaptchaUrl") << &RestUrlHelper::retrieveCaptchaUrl << "captchas"_s;
        row("securityQuestionsUrl", &RestUrlHelper::securityQuestionsUrl, "securityquestions"_s);
        row("detectPreAccountUrl", &RestUrlHelper::detectPreAccountUrl, "autodetection"_s);
        row("consentQueryVariantUrl", &RestUrlHelper::consentQueryVariantUrl,
            "consentqueryvariant"_s);
        row("newPreAccountRegistrationUrl", &RestUrlHelper::newPreAccountRegistrationUrl,
            "phoneactivationregistration"_s);
        QTest::newRow("newRegistrationUrl") << &RestUrlHelper::newRegistrationUrl << "accounts"_s;
        QTest::newRow("registrationUrl") << &RestUrlHelper::registrationUrl << "accounts/"_s;
        QTest::newRow("termsUrl") << &RestUrlHelper::termsUrl << "terms/"_s;
        row("passwordRecoveryUrl", &RestUrlHelper::passwordRecoveryUrl,
            "simplifiedpasswordrecovery/"_s);
        QTest::newRow("serviceInfoUrl") << &RestUrlHelper::serviceInfoUrl << "services/"_s;
        QTest::newRow("guardianTokenUrl") << &RestUrlHelper::guardianTokenUrl << "guardiantokens"_s;
    }
    void everyResourceIsItsFragmentBehindTheBase()
    {
        const auto [compose, fragment] = fetch<Composer, QString>("compose", "fragment");
        // The base is taken as it is, whatever it is: nothing is encoded or checked.
        for (const char* base :
             {"https://account.example/rest/1.0/", "", "no address at all %&\"/"}) {
            const QString text = QString::fromLatin1(base);
            QCOMPARE(compose(text), text + fragment);
        }
    }
};

QTEST_APPLESS_MAIN(ServiceAddressTest)
#include "tst_serviceaddress.moc"
