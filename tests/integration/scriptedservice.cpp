// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/scriptedservice.h"

#include "support/literals.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>

namespace {

Reaction document(const QByteArray& root, const QByteArray& content, int status = 200,
                  const QByteArray& headers = {})
{
    return Reaction::reply(status,
                           "<?xml version=\"1.0\" encoding=\"UTF-8\"?><" + root +
                               " xmlns=\"https://account.example/schemas/rest/v1_0\">" + content +
                               "</" + root + ">",
                           headers);
}

Reaction refusal(int status, const QByteArray& code, const QByteArray& headers = {})
{
    return document("errorResponse", "<errorCode>" + code + "</errorCode>", status, headers);
}

QByteArray tokenInfo(const QByteArray& token)
{
    return "<tokenInfo><token>" + token + "</token><tokenSecret>planted</tokenSecret></tokenInfo>";
}

const QByteArray user = "<userInfo><username>alice</username><accountId>1000042</accountId>"
                        "<email>alice@example.org</email></userInfo>";

Reaction profile()
{
    return document("profileQueryResponse", "<profile><username>alice</username>"
                                            "<accountId>1000042</accountId></profile>");
}

/// A "Date:" header by a clock that is so far from this machine's.
QByteArray dateHeader(int secondsOff)
{
    const QDateTime time = QDateTime::currentDateTimeUtc().addSecs(secondsOff);
    return "Date: " + QLocale::c().toString(time, "ddd, dd MMM yyyy hh:mm:ss"_s).toLatin1() +
           " GMT\r\n";
}

} // namespace

ScriptedService::ScriptedService(const QSslConfiguration& tls) : mServer(tls)
{
    mServer.answerBy([this](const WireRequest& request) {
        return mOrders.isEmpty() ? answer(request) : mOrders.takeFirst();
    });
}

int ScriptedService::digests() const
{
    const QList<WireRequest>& all = mServer.requests();
    return int(std::count_if(all.cbegin(), all.cend(), [](const WireRequest& request) {
        return request.body.contains("igest") || request.target.contains("igest");
    }));
}

bool ScriptedService::order(const QString& answers)
{
    for (const QString& one : answers.split(", "_s)) {
        const QString what = one.section(QLatin1Char(' '), 0, 0);
        const QByteArray how = one.section(QLatin1Char(' '), 1).toLatin1();
        if (what == "token-refused"_s)
            mOrders.append(refusal(401, "invalidAccessToken"));
        else if (what == "clock"_s)
            mOrders.append(refusal(401, "notAuthorized", dateHeader(how.toInt())));
        else if (what == "renewed"_s)
            mOrders.append(document("tokenRefreshResponse", tokenInfo(how)));
        else if (what == "signed-in"_s)
            mOrders.append(document("tokenCreationResponse", tokenInfo(how) + user));
        else if (what == "profile"_s)
            mOrders.append(profile());
        else if (what.toInt() > 0)
            mOrders.append(how.isEmpty() ? Reaction::reply(what.toInt(), "none")
                                         : refusal(what.toInt(), how));
        else
            return false;
    }
    return true;
}

QByteArray ScriptedService::asText(const WireRequest& request)
{
    return request.header("rest-verb") + ' ' + QByteArray(request.target).replace("/rest/1.0/", "");
}

QByteArray ScriptedService::authorization(const WireRequest& request, const QByteArray& item)
{
    const QByteArray header = request.header("Authorization");
    const int begin = header.indexOf(item + '=');
    if (begin < 0)
        return {};
    return header.mid(begin + item.size() + 1).split(',').first().replace('"', "").trimmed();
}

Reaction ScriptedService::answer(const WireRequest& request)
{
    const QByteArray what = asText(request);
    const QByteArray shown = authorization(request, "oauth_token");
    if (!shown.isEmpty() && !mTokens.contains(shown))
        return refusal(401, "invalidAccessToken");
    const auto token = [this] {
        mTokens.append("token" + QByteArray::number(mTokens.size() + 1));
        return tokenInfo(mTokens.last());
    };
    if (what == "POST tokens" && refusesPasswords)
        return refusal(401, "notAuthorized");
    if (what == "POST tokens")
        return document("tokenCreationResponse", token() + user);
    if (what == "POST accounts")
        return document("registrationResponse", token() + user);
    if (what.startsWith("GET accounts/"))
        return profile();
    return Reaction::reply(200, QByteArray());
}
