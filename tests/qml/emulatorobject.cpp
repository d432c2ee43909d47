// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/emulatorobject.h"

#include "emulator/emulatorprocess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

namespace {

AdminReply ask(const char* method, const QString& path, const QByteArray& body = {})
{
    return askAdministration(qEnvironmentVariable("KELACCOUNT_EMULATOR_ADMIN"), method, path, body);
}

} // namespace

QString EmulatorObject::captchaText(const QString& captchaId) const
{
    return QString::fromUtf8(ask("GET", QLatin1String("/captchas/") + captchaId).body).trimmed();
}

QString EmulatorObject::tokenOf(const QString& user) const
{
    const QByteArray body = ask("GET", QLatin1String("/inbox?name=") + user).body;
    const QJsonArray messages = QJsonDocument::fromJson(body).array();
    const QString text = messages.isEmpty()
                             ? QString()
                             : messages.last().toObject().value(QLatin1String("text")).toString();
    return text.section(QLatin1Char('\n'), -1).trimmed();
}

bool EmulatorObject::order(const QString& fault) const
{
    return ask("POST", QStringLiteral("/faults"), fault.toUtf8()).status / 100 == 2;
}

bool EmulatorObject::insertSim(const QString& mcc, const QString& mnc, const QString& msin) const
{
    const QJsonObject sim{
        {QStringLiteral("mcc"), mcc}, {QStringLiteral("mnc"), mnc}, {QStringLiteral("msin"), msin}};
    return ask("POST", QStringLiteral("/sim"), QJsonDocument(sim).toJson()).status / 100 == 2;
}

bool EmulatorObject::giveTags(bool given) const
{
    const AdminReply reply =
        given ? ask("POST", QStringLiteral("/tags"), "{}") : ask("DELETE", QStringLiteral("/tags"));
    return reply.status / 100 == 2;
}

bool EmulatorObject::makeAccounts(const QString& names) const
{
    return ask("POST", QStringLiteral("/accounts"), names.toUtf8()).status / 100 == 2;
}

QVariantMap EmulatorObject::accountOf(const QString& emailAddress) const
{
    const QByteArray body = ask("GET", QStringLiteral("/scenario")).body;
    const QJsonArray accounts =
        QJsonDocument::fromJson(body).object().value(QLatin1String("accounts")).toArray();
    for (const QJsonValue& account : accounts) {
        if (account.toObject().value(QLatin1String("email")).toString() == emailAddress)
            return account.toObject().toVariantMap();
    }
    return {};
}

bool EmulatorObject::deleteAccount(const QString& user) const
{
    return ask("DELETE", QLatin1String("/accounts/") + user).status / 100 == 2;
}

int EmulatorObject::requestsFor(const QString& address) const
{
    const QJsonArray requests =
        QJsonDocument::fromJson(ask("GET", QStringLiteral("/requests")).body).array();
    int count = 0;
    for (const QJsonValue& request : requests) {
        if (request.toObject().value(QLatin1String("target")).toString().contains(address))
            ++count;
    }
    return count;
}

int EmulatorObject::coloursIn(const QImage& picture) const
{
    QSet<QRgb> colours;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            colours.insert(picture.pixel(x, y));
    }
    return colours.size();
}
