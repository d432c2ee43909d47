// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/standinservice.h"

#include "integration/servicetable.h"
#include "operations/answers.h"
#include "support/literals.h"

namespace {

QByteArray replyOf(const KelTest::ServedOperation& operation)
{
    const bool isPicture = operation.sent == KelRestHandler::RetrieveCaptchaImage;
    return (isPicture ? operations::captchaReply() : wiredata::body(operation.reply)).toUtf8();
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
    return facadecalls::ofTheService();
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
                         Reaction::reply(200, replyOf(operation)));
    }
    mProblems.append("nobody asks for "_s + QString::fromLatin1(request.target));
    return Reaction::reply(notFound, QByteArray());
}

} // namespace KelTest
