// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/scriptedservice.h"

#include <algorithm>

namespace {

QByteArray document(const QByteArray& root, const QByteArray& content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><" + root +
           " xmlns=\"https://account.example/schemas/rest/v1_0\">" + content + "</" + root + ">";
}

QByteArray asText(const WireRequest& request)
{
    return request.header("rest-verb") + ' ' + QByteArray(request.target).replace("/rest/1.0/", "");
}

} // namespace

ScriptedService::ScriptedService()
{
    mServer.answerBy([this](const WireRequest& request) { return answer(request); });
}

QList<QByteArray> ScriptedService::asked() const
{
    QList<QByteArray> list;
    for (const WireRequest& request : mServer.requests())
        list.append(asText(request));
    return list;
}

int ScriptedService::digests() const
{
    const QList<WireRequest>& all = mServer.requests();
    return int(std::count_if(all.cbegin(), all.cend(), [](const WireRequest& request) {
        return request.body.contains("igest") || request.target.contains("igest");
    }));
}

Reaction ScriptedService::answer(const WireRequest& request)
{
    const QByteArray what = asText(request);
    const QByteArray user = "<userInfo><username>alice</username><accountId>1000042</accountId>"
                            "<email>alice@example.org</email></userInfo>";
    const auto token = [this] {
        return "<tokenInfo><token>token" + QByteArray::number(++mTokens) +
               "</token><tokenSecret>planted</tokenSecret></tokenInfo>";
    };
    if (what == "POST tokens" && refusesPasswords)
        return Reaction::reply(401,
                               document("errorResponse", "<errorCode>notAuthorized</errorCode>"));
    if (what == "POST tokens")
        return Reaction::reply(200, document("tokenCreationResponse", token() + user));
    if (what == "POST accounts")
        return Reaction::reply(200, document("registrationResponse", token() + user));
    if (what.startsWith("GET accounts/"))
        return Reaction::reply(200, document("profileQueryResponse",
                                             "<profile><username>alice</username>"
                                             "<accountId>1000042</accountId></profile>"));
    return Reaction::reply(200, QByteArray());
}
