// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/standinservice.h"

#include "integration/servicetable.h"
#include "operations/answers.h"
#include "support/literals.h"

using KelAccount::KelAccounts;

namespace {

QByteArray recorded(const char* name)
{
    return wiredata::body(name).toUtf8();
}

QStringList lines(const char* first, const char* second = nullptr)
{
    QStringList list{text(first)};
    if (second)
        list.append(text(second));
    return list;
}

QVector<KelTest::ServedOperation> readingOperations()
{
    return {
        {"isUserIdAvailable", [](KelAccounts& a) { a.isUserIdAvailable("bob"_s); },
         "availability/bob", recorded("usernameavailability/none"),
         lines("isUserIdAvailableResponse(0, true, [])")},
        {"retrieveCaptchaImage", [](KelAccounts& a) { a.retrieveCaptchaImage(120, 40); },
         "captchas", operations::captchaReply().toUtf8(),
         lines("captchaImageResponse(0, picture 3x2)",
               "retrieveCaptchaImageResponse(0, picture 3x2, 'captcha-9')")},
        {"retrieveSecurityQuestionList",
         [](KelAccounts& a) { a.retrieveSecurityQuestionList("de"_s); }, "securityquestions",
         recorded("securityquestions/three-questions"),
         lines("securityQuestionListResponse(0, {1: Wie heißt Ihre Mutter?, 10: , 2: What was your "
               "first pet's name?})")},
        {"detectPreAccount", [](KelAccounts& a) { a.detectPreAccount(); }, "autodetection",
         recorded("preaccount/known"),
         // 73 is Finland's number in Qt's table.
         lines("detectPreAccountResponse(0, pre-account 'pre-17' 'somebody' '+358401234567' 73)")},
        {"retrieveTermsOfService",
         [](KelAccounts& a) { a.retrieveTermsOfService("shop"_s, "fi"_s, "FI"_s, 0); },
         "services/shop?lang=fi&country=FI&format=text", recorded("termsurls/one-address"),
         lines("termsOfServiceResponse(0, {tosUrl: })")},
        {"queryMarketingVariant", [](KelAccounts& a) { a.queryMarketingVariant(); },
         "consentqueryvariant", recorded("consentvariant/pre-ticked"),
         lines("marketingVariantResponse(0, 2)")},
    };
}

QVector<KelTest::ServedOperation> recoveryOperations()
{
    return {
        {"isEmailIdAvailable", [](KelAccounts& a) { a.isEmailIdAvailable("bob@mail.example"_s); },
         "emailavailability/", QByteArray(), lines("isEmailIdAvailableResponse(0, true)")},
        {"requestPasswordReset",
         [](KelAccounts& a) { a.requestPasswordReset("bob"_s, "read-by-bob"_s, false, QString()); },
         "simplifiedpasswordrecovery/bob/send", QByteArray(),
         lines("requestPasswordResetResponse(0)")},
        {"retrievePasswordResetSecQuestion",
         [](KelAccounts& a) { a.retrievePasswordResetSecQuestion("bob"_s, "de"_s); },
         "simplifiedpasswordrecovery/bob/question", recorded("securityquestion/of-a-user"),
         lines("retrievePasswordResetSecQuestionResponse(0, {securityQuestionId: 3, "
               "securityQuestionText: What was your first pet's name?, userId: somebody})")},
        {"resetPasswordUsingSecurityQuestion",
         [](KelAccounts& a) {
             a.resetPasswordUsingSecurityQuestion("bob"_s, "planted-token"_s, "planted-password"_s,
                                                  "planted-answer"_s);
         },
         "simplifiedpasswordrecovery/bob/change", QByteArray(),
         lines("resetPasswordUsingSecurityQuestionResponse(0)")},
    };
}

Reaction closing(const QByteArray& bytes)
{
    Reaction reaction;
    reaction.bytes = bytes;
    reaction.end = Reaction::End::Close;
    return reaction;
}

Reaction disturbed(KelTest::Disturbance disturbance, Reaction reaction)
{
    constexpr int delayMilliseconds = 15;
    const int bodyBegin = reaction.bytes.indexOf("\r\n\r\n") + 4;
    switch (disturbance) {
    case KelTest::Disturbance::None:
        return reaction;
    case KelTest::Disturbance::Delay:
        reaction.delayMilliseconds = delayMilliseconds;
        return reaction;
    case KelTest::Disturbance::Hang:
        reaction.end = Reaction::End::Hang;
        return reaction;
    case KelTest::Disturbance::Close:
        return closing(QByteArray());
    case KelTest::Disturbance::CloseInHeaders:
        return closing(reaction.bytes.left(bodyBegin / 2));
    case KelTest::Disturbance::CloseInBody:
        return closing("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n"
                       "<?xml version=\"1.0\"?><userNameAvail");
    case KelTest::Disturbance::NotXml:
        return Reaction::reply(200, "{\"planted\": \"no XML\"}");
    case KelTest::Disturbance::Status500:
        return Reaction::reply(500, QByteArray());
    }
    return reaction;
}

} // namespace

namespace KelTest {

const QVector<ServedOperation>& servedOperations()
{
    static const QVector<ServedOperation> operations = readingOperations() + recoveryOperations();
    return operations;
}

StandInService::StandInService(const QHostAddress& address) : mServer(QSslConfiguration(), address)
{
    ServiceTable::leaveProxies();
    ServiceTable::set(mServer.base());
    mServer.answerBy([this](const WireRequest& request) { return answer(request); });
}

void StandInService::callItself(const QString& host)
{
    ServiceTable::set(mServer.base().replace(text("127.0.0.1"), host));
}

Reaction StandInService::answer(const WireRequest& request)
{
    constexpr int notFound = 404;
    if (replyBy)
        return replyBy(request);
    for (const ServedOperation& operation : servedOperations()) {
        if (request.target != "/rest/1.0/" + operation.target)
            continue;
        return disturbed(disturb ? disturb(request) : Disturbance::None,
                         Reaction::reply(200, operation.reply));
    }
    mProblems.append("nobody asks for "_s + QString::fromLatin1(request.target));
    return Reaction::reply(notFound, QByteArray());
}

} // namespace KelTest
