// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sessiondata.h"

#include "surroundings.h"
#include "values.h"

#include "plugin/kept.h"
#include "rest/records/registrationinfodata.h"
#include "rest/request/serviceaddress.h"

#include <QDataStream>
#include <QStringList>

namespace KelFuzz::SessionData {

namespace {

constexpr Names dataNames = {
    "ConsumerKey",
    "ConsumerSecret",
    "ServerUrlValue",
    "UserName",
    "Secret",
    "RegistrationData",
    "UpdateSecurityQuestion",
    "OldPassword",
    "NewPassword",
    "NewUserName",
    "AccessControlTokens",
    "Prepare",
    "ManualSignIn",
    "Kept 0",
    "Kept f",
};
constexpr Names keptNames = {"Server",   "Secret", "NewPassword", "WrongPasswords",
                             "Sessions", "Salt",   "Hash"};
constexpr Names sessionNames = {"Token",     "TokenSecret",  "ValidUntil", "UserId", "LoginId",
                                "AccountId", "EmailAddress", "Consumer",   "Salt",   "Hash"};

// Made once: what a password is known by takes its time.
const QVariantMap& stored()
{
    static const QVariantMap made = [] {
        ZorAuth::Kept kept = *ZorAuth::Kept::fromData({}, consumerKey, consumer());
        kept.session.bindTo(consumer());
        kept.session.token = QStringLiteral("token-1");
        kept.session.tokenSecret = QLatin1String(plantedSecret);
        kept.session.accountId = QStringLiteral("1000042");
        kept.session.loginId = QStringLiteral("alice");
        kept.accepted(0, password);
        return kept.toData();
    }();
    return made;
}

QByteArray registration()
{
    KelRestHandler::RegistrationInfoData data;
    data.userName = QStringLiteral("alice");
    data.password = password;
    data.captchaId = QStringLiteral("captcha-9");
    data.captchaText = QStringLiteral("xk7Qp");
    return KelRestHandler::serializeRegistration(data);
}

QByteArray question()
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << QStringLiteral("3") << QStringLiteral("Rex");
    return bytes;
}

QVariantMap basis(int kind)
{
    QVariantMap data = {{QStringLiteral("ConsumerKey"), consumerKey},
                        {QStringLiteral("ConsumerSecret"), consumerSecret},
                        {QStringLiteral("ServerUrlValue"), 0},
                        {QStringLiteral("UserName"), QStringLiteral("alice")},
                        {QStringLiteral("Secret"), password},
                        {QStringLiteral("OldPassword"), password},
                        {QStringLiteral("NewPassword"), password + QLatin1Char('2')},
                        {QStringLiteral("NewUserName"), QStringLiteral("newname")},
                        {QStringLiteral("RegistrationData"), registration()},
                        {QStringLiteral("UpdateSecurityQuestion"), question()},
                        {QStringLiteral("ManualSignIn"), true}};
    if (kind % 3 == 0) {
        for (auto entry = stored().cbegin(); entry != stored().cend(); ++entry)
            data.insert(entry.key(), entry.value());
    }
    return kind % 3 == 2 ? QVariantMap() : data;
}

// Replaces or removes an entry of what is stored, or of the session in it.
void changeStored(QVariantMap& data, ByteSource& source, bool inSession)
{
    const QString name = stored().firstKey();
    QVariantMap kept = data.value(name).toMap();
    QVariantMap sessions = kept.value(QStringLiteral("Sessions")).toMap();
    QVariantMap session = sessions.value(consumerKey).toMap();
    const Names names = inSession ? sessionNames : keptNames;
    const QString key = nameFrom(source, names);
    QVariantMap& map = inSession ? session : kept;
    if (source.below(8) == 0)
        map.remove(key);
    else
        map.insert(key, valueFrom(source, names));
    if (inSession) {
        sessions.insert(consumerKey, session);
        kept.insert(QStringLiteral("Sessions"), sessions);
    }
    data.insert(name, kept);
}

} // namespace

const QString consumerKey = QStringLiteral("key");
const QString consumerSecret = QLatin1String(plantedSecret) + QStringLiteral("-consumer");
const QString password = QLatin1String(plantedSecret) + QStringLiteral("-password");

QByteArray consumer()
{
    return ZorAuth::consumerIdentity(consumerKey, consumerSecret,
                                     KelRestHandler::serverBaseAddress(0));
}

QVariantMap dataFrom(ByteSource& source)
{
    QVariantMap data = basis(source.byte());
    for (int i = source.below(8); i > 0 && !source.isEmpty(); --i) {
        switch (source.below(4)) {
        case 0:
            data.remove(nameFrom(source, dataNames));
            break;
        case 1: {
            const QString name = nameFrom(source, dataNames);
            data.insert(name, valueFrom(source, dataNames));
            break;
        }
        case 2:
            changeStored(data, source, false);
            break;
        default:
            changeStored(data, source, true);
        }
    }
    return data;
}

} // namespace KelFuzz::SessionData
