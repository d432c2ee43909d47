// SPDX-License-Identifier: LGPL-2.1-or-later
// The life of an account in an application that has its own ideas of event loop, messages, children
// and types. The library is there as applications load it, and the application is afterwards as it
// was before.
#include "integration/storyfixture.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/sessionsandbox.h"
#include "support/sqlitereader.h"
#include "surroundings/hostprocess.h"
#include "surroundings/polldispatcher.h"

#include <kelaccount/profileinfo.h>

#include <QAbstractEventDispatcher>
#include <QGuiApplication>
#include <QSignalSpy>

#include <cstdio>

using KelAccount::RegistrationInfo;
using namespace KelTest;

/// Of the application. The library has types of these names, too, of another size.
struct ResponseType
{
    QString text;
    double numbers[8] = {};
};
struct RequestData
{
    QByteArray bytes;
};
Q_DECLARE_METATYPE(ResponseType)
Q_DECLARE_METATYPE(RequestData)

namespace {

enum class Loop { GLib, Unix, Own };
Loop loopOfThisRun = Loop::GLib;

} // namespace

class TestHost : public StoryFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(isInside(), "run this with kelaccount-emulator run -- PROGRAM");
        // The test library has just put its own handler there.
        QVERIFY(mHost.settle());
        // Before the library has a chance to.
        mResponseType = qRegisterMetaType<ResponseType>("ResponseType");
        mRequestData = qRegisterMetaType<RequestData>("RequestData");
        mStatusBefore = QVariant::fromValue(KelAccount::ErrorAccountAlreadyPresent);
        openFacade();
        QCOMPARE(recorder().lines(), QStringList("initializeResponse(0)"_s));
    }

    void cleanupTestCase()
    {
        mHost.leave();
        closeFacade();
        QVERIFY(EmulatedService::waitForNetworkThreads());
    }

    void theLoopIsTheApplications()
    {
        const QByteArray name = QAbstractEventDispatcher::instance()->metaObject()->className();
        switch (loopOfThisRun) {
        case Loop::GLib:
            QVERIFY2(name.contains("Glib"), name.constData());
            break;
        case Loop::Unix:
            QVERIFY2(name.contains("UNIX") || name.contains("Unix"), name.constData());
            break;
        case Loop::Own:
            QCOMPARE(name, "KelTest::PollDispatcher"_ba);
            break;
        }
    }

    void itsTypesAreItsOwn()
    {
        expectTypesToArrive();
        // The library's own go through the event loop as well.
        QCOMPARE(answers([this] { facade().isUserIdAvailable(QString()); }),
                 QStringList("isUserIdAvailableResponse(1001, false, [])"_s));
        expectTypesToArrive();
    }

    void aStatusInAVariantIsANumber()
    {
        const QVariant after = QVariant::fromValue(KelAccount::ErrorAccountAlreadyPresent);
        QCOMPARE(mStatusBefore.toInt(), 803);
        QCOMPARE(after.toInt(), 803);
        QCOMPARE(after.userType(), mStatusBefore.userType());
        QSignalSpy spy(&facade(), &KelAccounts::closeResponse);
        facade().close();
        QCOMPARE(spy.size(), 1);
        QCOMPARE(spy.at(0).at(0).toInt(), 0);
    }

    void theDeviceIsInACountry()
    {
        QCOMPARE(answers([this] { facade().retrieveCountryCode(); }),
                 QStringList("retrieveCountryCodeResponse(0, 'FI')"_s));
    }

    void anAccountIsRegistered()
    {
        // Starts the tag server, a child of the library's own.
        QVERIFY(facade().isCaptchaRequired());
        RegistrationInfo info;
        info.setUsername("maria"_s);
        info.setEmailAddress("maria@mail.example"_s);
        info.setPassword("Kärhö-Wäinö 1"_s);
        info.setCaptchaText(solvedCaptcha());
        info.setFirstName("Märiä"_s);
        info.setDateOfBirth(QDate(1980, 2, 29));
        const QStringList lines = answers([&] { facade().registerAccount(info, true); });
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.at(0).startsWith("registerAccountResponse(0, "_s), qPrintable(lines.at(0)));
        QCOMPARE(deviceAccounts().size(), 1);
    }

    void theProfileIsFetched()
    {
        KelAccount::ProfileInfo* profile = nullptr;
        const auto connection = connect(
            &facade(), &KelAccounts::downloadProfileResponse, this,
            [&](KelAccount::ErrorStatus, KelAccount::ProfileInfo* fetched) { profile = fetched; });
        QCOMPARE(answers([this] { facade().downloadProfile(); }),
                 QStringList("downloadProfileResponse(0, profile)"_s));
        disconnect(connection);
        QCOMPARE(profile->firstName(), "Märiä"_s);
        QCOMPARE(profile->dateOfBirth(), QDate(1980, 2, 29));
    }

    void theSettingsTakeTheAccountOffTheDevice()
    {
        const QList<QVariantList> accounts = sqliteRows(
            qEnvironmentVariable("ACCOUNTS") + "/accounts.db"_s, "SELECT id FROM Accounts"_s);
        QCOMPARE(accounts.size(), 1);
        QCOMPARE(HostProcess::run({KELACCOUNT_SETTINGS_PROGRAM, "remove",
                                   accounts.at(0).at(0).toString().toLatin1()}),
                 0);
        QCOMPARE(leftOnTheDevice(), QString());
        QVERIFY(!facade().isKeLAccountConfigured());
    }

    void theUserSignsIn()
    {
        const QStringList lines =
            answers([this] { facade().signInAndConfigure("maria"_s, "Kärhö-Wäinö 1"_s, true); });
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.at(0).startsWith("signInAndConfigureResponse(0, "_s),
                 qPrintable(lines.at(0)));
        QCOMPARE(deviceAccounts().size(), 1);
        QVERIFY(facade().isKeLAccountConfigured());
        QCOMPARE(answers([this] { facade().ensureTokenAvailable(0); }),
                 QStringList("ensureTokenAvailableResponse(0)"_s));
    }

    void aSecondSetUpIsRefused()
    {
        QCOMPARE(answers([this] { facade().signInAndConfigure("maria"_s, "x"_s, true); }),
                 QStringList("signInAndConfigureResponse(803, {})"_s));
    }

    void itsHandlerGetsTheMessages()
    {
        // There is no tag server on this device.
        QCOMPARE(answers([this] { facade().isEmailIdAvailable("maria@mail.example"_s); }),
                 QStringList("isEmailIdAvailableResponse(516, false)"_s));
        const QStringList messages = HostProcess::messages();
        QVERIFY2(messages.contains(
                     "serviceTag should be present for Email Availability Check use case"_s),
                 qPrintable(messages.join(QLatin1Char('\n'))));
    }

    void theApplicationIsAsItWas()
    {
        closeFacade();
        const QStringList changes = mHost.whatChanged();
        QVERIFY2(changes.isEmpty(), qPrintable(changes.join(QLatin1Char('\n'))));
    }

Q_SIGNALS:
    void responded(ResponseType response);
    void requested(RequestData request);

private:
    /// By their names, and through the event loop.
    void expectTypesToArrive()
    {
        QCOMPARE(QMetaType::type("ResponseType"), mResponseType);
        QCOMPARE(QMetaType::type("RequestData"), mRequestData);
        QSignalSpy responses(this, &TestHost::responded);
        QSignalSpy requests(this, &TestHost::requested);
        QMetaObject::invokeMethod(this, "responded", Qt::QueuedConnection,
                                  Q_ARG(ResponseType, {"a text"_s}));
        QMetaObject::invokeMethod(this, "requested", Qt::QueuedConnection,
                                  Q_ARG(RequestData, {"bytes"_ba}));
        QTRY_COMPARE(responses.size() + requests.size(), 2);
        QCOMPARE(responses.at(0).at(0).value<ResponseType>().text, "a text"_s);
        QCOMPARE(requests.at(0).at(0).value<RequestData>().bytes, "bytes"_ba);
    }

    HostProcess mHost;
    int mResponseType = 0;
    int mRequestData = 0;
    QVariant mStatusBefore;
};

int main(int argc, char* argv[])
{
    const QByteArray loop = qgetenv("KELACCOUNT_TEST_LOOP");
    if (loop == "unix") {
        loopOfThisRun = Loop::Unix;
        qputenv("QT_NO_GLIB", "1");
    } else if (loop == "own") {
        loopOfThisRun = Loop::Own;
        QCoreApplication::setEventDispatcher(new PollDispatcher);
    } else if (!loop.isEmpty()) {
        std::fputs("KELACCOUNT_TEST_LOOP is unix, own or nothing\n", stderr);
        return 2;
    }
    QGuiApplication application(argc, argv);
    TestHost test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_host.moc"
