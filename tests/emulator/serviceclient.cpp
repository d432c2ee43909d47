// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/serviceclient.h"

#include "rest/request/servicehosts.h"
#include "support/literals.h"

#include <QCryptographicHash>
#include <QDomDocument>
#include <QJsonObject>

namespace {

QDomElement descend(QDomElement element, const char* path)
{
    const auto names = QString::fromLatin1(path).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString& name : names)
        element = element.firstChildElement(name);
    return element;
}

} // namespace

QString Answer::at(const char* path) const
{
    const QDomElement element = descend(root, path);
    return element.isNull() ? QString() : element.text() + ""_s;
}

QString Answer::leaves(const char* path) const
{
    QStringList list;
    for (QDomElement child = descend(root, path).firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        if (child.firstChildElement().isNull())
            list += child.tagName() + QLatin1Char('=') + child.text();
    }
    return list.join(QLatin1Char(' '));
}

Answer ServiceClient::ask(SignedRequest request)
{
    WireClient client;
    if (!client.open(mEmulator))
        return {};
    const WireReply reply = client.ask(request.bytes());
    QDomDocument document;
    document.setContent(reply.body, true);
    return {reply.status, reply.body, document.documentElement()};
}

Answer ServiceClient::ask(const QByteArray& verb, const QByteArray& path,
                          const QByteArray& documentText, const QByteArray& token)
{
    SignedRequest request("/rest/1.0/" + path);
    request.restVerb = verb;
    request.document = documentText;
    request.token = token;
    return ask(request);
}

QByteArray ServiceClient::document(const QByteArray& root, const QByteArray& content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><" + root +
           " xmlns=\"https://" KELACCOUNT_HOST_PRODUCTION "/schemas/rest/v1_0\">" + content + "</" +
           root + '>';
}

QByteArray ServiceClient::signInDocument(const QByteArray& user, const QByteArray& password)
{
    const QByteArray nonce = "{a-nonce}";
    const QByteArray created = "1330837567";
    const QByteArray digest =
        QCryptographicHash::hash(nonce + created + password, QCryptographicHash::Sha1).toBase64();
    return document("tokenCreationRequest", "<digestAuth><username>" + user + "</username><nonce>" +
                                                nonce + "</nonce><created>" + created +
                                                "</created><digest>" + digest +
                                                "</digest></digestAuth>"
                                                "<checkTerms>true</checkTerms>");
}

Answer ServiceClient::signIn(const QByteArray& user, const QByteArray& password)
{
    return ask("POST", "tokens", signInDocument(user, password));
}

SignedIn ServiceClient::tokenOf(const QByteArray& user, const QByteArray& password)
{
    const Answer answer = signIn(user, password);
    return {answer.at("tokenInfo/token").toLatin1(), answer.at("userInfo/accountId").toLatin1()};
}

bool ServiceClient::addAccount(const QByteArray& json)
{
    return mEmulator.admin("POST", "/accounts"_s, json).status == 200;
}

QPair<QByteArray, QByteArray> ServiceClient::captcha()
{
    const Answer answer =
        ask("POST", "captchas",
            document("captchaCreationRequest", "<width>200</width><height>60</height>"));
    const QString id = answer.at("captchaId");
    const AdminReply text = mEmulator.admin("GET", "/captchas/"_s + id);
    return {id.toLatin1(), text.body.trimmed()};
}

int ServiceClient::latestOperation() const
{
    return mEmulator.requests().last().toObject().value("operation"_s).toInt(-1);
}

QString ServiceClient::latestProblem() const
{
    return mEmulator.requests().last().toObject().value("problem"_s).toString();
}
