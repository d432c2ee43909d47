// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/setupfixture.h"

#include "support/literals.h"
#include "support/sessionsandbox.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTimer>

using KelAccount::RegistrationInfo;
using namespace KelTest;

namespace {

QString joined(const QStringList& lines)
{
    return lines.join("; "_s);
}

} // namespace

void SetUpFixture::initTestCase()
{
    QVERIFY2(isInside() && mNoServiceTag.isReady(),
             "run this with kelaccount-emulator run -- PROGRAM");
}

void SetUpFixture::prepare(SetUp setUp)
{
    mUser = "user%1@mail.example"_s.arg(++mCount);
    openFacade();
    if (setUp == Registration)
        solveCaptcha();
    else
        QVERIFY(!addAccount({{"email"_s, mUser}, {"password"_s, text(password)}}).isEmpty());
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
    return QStringList((setUp == SignIn ? "signInAndConfigureResponse(%1, {})"_s
                                        : "registerAccountResponse(%1, {})"_s)
                           .arg(status));
}

bool SetUpFixture::isAtService() const
{
    const QJsonArray all =
        QJsonDocument::fromJson(EmulatedService::ask("GET", "/accounts").body).array();
    return !all.isEmpty() && all.last().toObject().value("email"_s).toString() == mUser;
}

QString SetUpFixture::isComplete(SetUp setUp, const QStringList& lines)
{
    const QJsonArray all =
        QJsonDocument::fromJson(EmulatedService::ask("GET", "/accounts").body).array();
    const QString line =
        setUpLine(setUp == SignIn ? "signInAndConfigureResponse" : "registerAccountResponse",
                  {{"AccountId"_s, all.last().toObject().value("accountId"_s).toString()},
                   {"EmailAddress"_s, mUser},
                   {"LoginId"_s, mUser},
                   {"UserId"_s, QString()}});
    if (lines != QStringList(line))
        return "answered: "_s + joined(lines);
    if (identities().value(0).value(1).toString() != mUser)
        return "the daemon has other credentials"_s;
    const QVariantList account = {mUser, "zor"_s, 1LL, QString::number(identityNumber())};
    if (deviceAccounts() != QList<QVariantList>({account}))
        return "the accounts database has another account, or none"_s;
    const QStringList profile = answers([this] { facade().downloadProfile(); });
    if (profile != QStringList("downloadProfileResponse(0, profile)"_s))
        return "not signed in: "_s + joined(profile);
    return {};
}

QString SetUpFixture::succeedsNow(SetUp setUp)
{
    if (setUp == Registration) {
        solveCaptcha();
        if (isAtService()) {
            const QStringList refused = attempt(Registration);
            if (refused != failed(Registration, 515))
                return "registered again: "_s + joined(refused);
            if (!leftOnTheDevice().isEmpty())
                return "left when registered again: "_s + leftOnTheDevice();
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
