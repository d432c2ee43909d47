// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/setupfixture.h"

#include "support/sessionsandbox.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTimer>

using KelAccount::RegistrationInfo;
using namespace KelTest;

namespace {

QString joined(const QStringList& lines)
{
    return lines.join(QLatin1String("; "));
}

} // namespace

void SetUpFixture::bothSetUps()
{
    QTest::addColumn<SetUp>("setUp");
    QTest::newRow("sign-in") << SignIn;
    QTest::newRow("registration") << Registration;
}

bool SetUpFixture::isReady()
{
    return isInside() && mNoServiceTag.isReady();
}

void SetUpFixture::prepare(SetUp setUp)
{
    mUser = QStringLiteral("user%1@mail.example").arg(++mCount);
    openFacade();
    if (setUp == Registration)
        solveCaptcha();
    else
        QVERIFY(
            !addAccount({{text("email"), mUser}, {text("password"), text(password)}}).isEmpty());
    operations();
}

void SetUpFixture::tidyUp()
{
    mAwaited = std::make_unique<QObject>(); // what a row that failed still waited for
    EmulatedService::ask("DELETE", "/faults");
    EmulatedService::ask("POST", "/accept");
    closeFacade();
    QVERIFY(cleanDevice());
}

void SetUpFixture::begin(SetUp setUp)
{
    if (setUp == SignIn) {
        facade().signInAndConfigure(mUser, text(password), true);
        return;
    }
    RegistrationInfo info;
    info.setEmailAddress(mUser);
    info.setPassword(text(password));
    info.setCaptchaText(mCaptcha);
    facade().registerAccount(info, true);
}

QStringList SetUpFixture::attempt(SetUp setUp)
{
    return answers([&] { begin(setUp); });
}

void SetUpFixture::when(const std::function<bool()>& condition, const std::function<void()>& action)
{
    auto* const timer = new QTimer(mAwaited.get());
    connect(timer, &QTimer::timeout, timer, [=] {
        if (!condition())
            return;
        timer->stop();
        timer->deleteLater();
        action();
    });
    timer->start(5);
}

void SetUpFixture::whenTheFaultIsTaken(const std::function<void()>& action)
{
    when([] { return EmulatedService::faultsLeft().isEmpty(); }, action);
}

QStringList SetUpFixture::failed(SetUp setUp, int status)
{
    return QStringList((setUp == SignIn ? text("signInAndConfigureResponse(%1, {})")
                                        : text("registerAccountResponse(%1, {})"))
                           .arg(status));
}

bool SetUpFixture::isAtService() const
{
    const QJsonArray all =
        QJsonDocument::fromJson(EmulatedService::ask("GET", "/accounts").body).array();
    return !all.isEmpty() && all.last().toObject().value(text("email")).toString() == mUser;
}

QString SetUpFixture::isComplete(SetUp setUp, const QStringList& lines)
{
    const QJsonArray all =
        QJsonDocument::fromJson(EmulatedService::ask("GET", "/accounts").body).array();
    const QString line =
        setUpLine(setUp == SignIn ? "signInAndConfigureResponse" : "registerAccountResponse",
                  {{text("AccountId"), all.last().toObject().value(text("accountId")).toString()},
                   {text("EmailAddress"), mUser},
                   {text("LoginId"), mUser},
                   {text("UserId"), QString()}});
    if (lines != QStringList(line))
        return text("answered: ") + joined(lines);
    if (identities().value(0).value(1).toString() != mUser)
        return text("the daemon has other credentials");
    const QVariantList account = {mUser, text("zor"), 1LL, QString::number(identityNumber())};
    if (deviceAccounts() != QList<QVariantList>({account}))
        return text("the accounts database has another account, or none");
    const QStringList profile = answers([this] { facade().downloadProfile(); });
    if (profile != QStringList(text("downloadProfileResponse(0, profile)")))
        return text("not signed in: ") + joined(profile);
    return {};
}

QString SetUpFixture::succeedsNow(SetUp setUp)
{
    if (setUp == Registration) {
        solveCaptcha();
        if (isAtService()) {
            const QStringList refused = attempt(Registration);
            if (refused != failed(Registration, 515))
                return text("registered again: ") + joined(refused);
            if (!leftOnTheDevice().isEmpty())
                return text("left when registered again: ") + leftOnTheDevice();
            setUp = SignIn;
        }
    }
    return isComplete(setUp, attempt(setUp));
}

void SetUpFixture::expectNothingIsLeft(SetUp setUp)
{
    QCOMPARE(leftOnTheDevice(), QString());
    QVERIFY(!facade().isKeLAccountConfigured());
    EmulatedService::ask("DELETE", "/faults");
    QCOMPARE(succeedsNow(setUp), QString());
}
