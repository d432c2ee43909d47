// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/clientcalls.h"

using namespace KelAccount;

namespace KelTest {

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

QString yesOrNo(bool value)
{
    return value ? text("yes") : text("no");
}

// A row from a function that makes the call.
template <class Make>
ClientCall row(const char* name, Make make)
{
    return {name, [make](Client& client, Answers& answers, QObject* context) -> MadeCall {
                const auto call = make(client);
                answers.expect(call, context);
                return {call, [call] {
                            return [future = call.future()] { return future.isFinished(); };
                        }};
            }};
}

QVector<ClientCall> serviceCalls()
{
    return {
        row("isUserIdAvailable", [](Client& c) { return c.isUserIdAvailable(text("bob")); }),
        row("isEmailIdAvailable",
            [](Client& c) { return c.isEmailIdAvailable(text("bob@mail.example")); }),
        row("retrieveCaptchaImage", [](Client& c) { return c.retrieveCaptchaImage(120, 40); }),
        row("retrieveSecurityQuestionList",
            [](Client& c) { return c.retrieveSecurityQuestionList(text("de")); }),
        row("detectPreAccount", [](Client& c) { return c.detectPreAccount(); }),
        row("retrieveTermsOfService",
            [](Client& c) {
                return c.retrieveTermsOfService(text("shop"), text("fi"), text("FI"),
                                                TermsFormat::Text);
            }),
        row("queryMarketingVariant", [](Client& c) { return c.queryMarketingVariant(); }),
        row("requestPasswordReset",
            [](Client& c) {
                return c.requestPasswordReset(text("bob"), text("read-by-bob"), RecoveryBy::Token);
            }),
        row("retrievePasswordResetSecQuestion",
            [](Client& c) { return c.retrievePasswordResetSecQuestion(text("bob"), text("de")); }),
        row("resetPasswordUsingSecurityQuestion",
            [](Client& c) {
                return c.resetPasswordUsingSecurityQuestion(text("bob"), text("planted-token"),
                                                            text("planted-password"),
                                                            text("planted-answer"));
            }),
    };
}

QVector<ClientCall> deviceCalls()
{
    return {
        row("initialize",
            [](Client& c) {
                return c.initialize(text("key"), text("planted-secret"), Server::Production,
                                    text("shop"));
            }),
        row("close", [](Client& c) { return c.close(); }),
        row("retrieveCountryCode", [](Client& c) { return c.retrieveCountryCode(); }),
        row("isCaptchaRequired", [](Client& c) { return c.isCaptchaRequired(); }),
        row("isKeLAccountConfigured", [](Client& c) { return c.isKeLAccountConfigured(); }),
    };
}

QVector<ClientCall> sessionCalls()
{
    return {
        row("registerAccount",
            [](Client& c) {
                Registration registration;
                registration.emailAddress = text("bob@mail.example");
                registration.password = text("planted-password");
                registration.captchaText = text("read-by-bob");
                registration.captchaId = text("captcha-9");
                return c.registerAccount(registration);
            }),
        row("signInAndConfigure",
            [](Client& c) { return c.signInAndConfigure(text("bob"), text("planted-password")); }),
        row("downloadProfile", [](Client& c) { return c.downloadProfile(); }),
        row("updateSecurityQuestion",
            [](Client& c) { return c.updateSecurityQuestion(text("3"), text("planted-answer")); }),
        row("ensureTokenAvailable", [](Client& c) { return c.ensureTokenAvailable(); }),
        row("changePassword",
            [](Client& c) {
                return c.changePassword(text("planted-password"), text("planted-other"));
            }),
        row("signOut", [](Client& c) { return c.signOut(); }),
        row("userIdUpdate", [](Client& c) { return c.userIdUpdate(text("bob")); }),
    };
}

} // namespace

const QVector<ClientCall>& clientCalls()
{
    static const QVector<ClientCall> calls = serviceCalls() + deviceCalls() + sessionCalls();
    return calls;
}

QString Answers::described(const Done& /*result*/)
{
    return text("done");
}

QString Answers::described(const Availability& result)
{
    return result.available ? text("free")
                            : text("taken; ") + result.suggestions.join(QLatin1Char(' '));
}

QString Answers::described(const Captcha& result)
{
    return text("%1 bytes of %2, %3x%4, id %5")
        .arg(result.bytes.size())
        .arg(QString::fromLatin1(result.format))
        .arg(result.size.width())
        .arg(result.size.height())
        .arg(result.id);
}

QString Answers::described(const SetUp& result)
{
    return QStringList{result.serviceAccountId, result.loginId, result.userId, result.emailAddress}
        .join(QLatin1Char(' '));
}

QString Answers::described(const Profile& result)
{
    return result.userName + QLatin1Char(' ') + result.emailAddress;
}

QString Answers::described(const Terms& result)
{
    return QStringList(result.addresses.keys()).join(QLatin1Char(' '));
}

QString Answers::described(const SecurityQuestions& result)
{
    QStringList questions;
    for (const SecurityQuestion& question : result.questions)
        questions.append(question.id + QLatin1Char('=') + question.text);
    return questions.join(text("; "));
}

QString Answers::described(const RecoveryQuestion& result)
{
    return QStringList{result.userId, result.id, result.text}.join(text(", "));
}

QString Answers::described(const PreAccount& result)
{
    return QStringList{result.id, result.userName, result.mobilePhoneNumber,
                       QLocale::countryToString(result.country)}
        .join(QLatin1Char(' '));
}

QString Answers::described(const Country& result)
{
    return result.code;
}

QString Answers::described(const MarketingConsent& result)
{
    return QString::number(result.variant);
}

QString Answers::described(const CaptchaRequirement& result)
{
    return yesOrNo(result.isRequired);
}

QString Answers::described(const DeviceAccountState& result)
{
    return yesOrNo(result.isConfigured);
}

} // namespace KelTest
