// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/resultobjects.h"

#include <QJSEngine>
#include <QQmlInfo>

namespace KelQmlResults {

namespace {

using Fields = QVariantMap;

template <class Map>
QJSValue fromMap(QJSEngine& engine, const Map& map)
{
    return engine.toScriptValue(map);
}

// Not among what is listed: neither a loop over the properties nor JSON.stringify() shows it.
void setSecret(QJSEngine& engine, QJSValue& object, const QString& name, const QString& secret)
{
    QJSValue descriptor = engine.newObject();
    descriptor.setProperty(QStringLiteral("value"), secret);
    engine.globalObject()
        .property(QStringLiteral("Object"))
        .property(QStringLiteral("defineProperty"))
        .call({object, name, descriptor});
}

// ISO 3166-1, which stands at the end of the names of all locales of the country.
QString countryCode(QLocale::Country country)
{
    if (country == QLocale::AnyCountry)
        return {};
    const auto locales =
        QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, country);
    return locales.isEmpty() ? QString() : locales.first().name().section(QLatin1Char('_'), -1);
}

} // namespace

QString isoDate(const QDate& date)
{
    return date.isValid() ? date.toString(Qt::ISODate) : QString();
}

QVariantMap object(const KelAccount::SetUp& result)
{
    return {
        {QStringLiteral("credentialsId"), result.credentialsId},
        {QStringLiteral("serviceAccountId"), result.serviceAccountId},
        {QStringLiteral("loginId"), result.loginId},
        {QStringLiteral("userId"), result.userId},
        {QStringLiteral("emailAddress"), result.emailAddress},
    };
}

QJSValue value(QJSEngine& engine, const KelAccount::Done&)
{
    return engine.newObject();
}

QJSValue value(QJSEngine& engine, const KelAccount::Availability& result)
{
    return fromMap(engine, Fields{
                               {QStringLiteral("available"), result.available},
                               {QStringLiteral("suggestions"), result.suggestions},
                           });
}

QJSValue value(QJSEngine& engine, const KelAccount::Captcha& result)
{
    return fromMap(engine, Fields{
                               {QStringLiteral("bytes"), result.bytes},
                               {QStringLiteral("format"), QString::fromLatin1(result.format)},
                               {QStringLiteral("width"), qMax(0, result.size.width())},
                               {QStringLiteral("height"), qMax(0, result.size.height())},
                               {QStringLiteral("id"), result.id},
                           });
}

QJSValue value(QJSEngine& engine, const KelAccount::SetUp& result)
{
    return fromMap(engine, object(result));
}

QJSValue value(QJSEngine& engine, const KelAccount::Profile& result)
{
    QJSValue profile =
        fromMap(engine, Fields{
                            {QStringLiteral("userName"), result.userName},
                            {QStringLiteral("mobilePhoneNumber"), result.mobilePhoneNumber},
                            {QStringLiteral("emailAddress"), result.emailAddress},
                            {QStringLiteral("emailVerified"), result.emailVerified},
                            {QStringLiteral("mobilePhoneVerified"), result.mobilePhoneVerified},
                            {QStringLiteral("securityQuestion"), result.securityQuestion},
                            {QStringLiteral("securityQuestionId"), result.securityQuestionId},
                            {QStringLiteral("dateOfBirth"), isoDate(result.dateOfBirth)},
                            {QStringLiteral("firstName"), result.firstName},
                            {QStringLiteral("lastName"), result.lastName},
                            {QStringLiteral("language"), result.language},
                            {QStringLiteral("country"), result.country},
                            {QStringLiteral("services"), result.services},
                            {QStringLiteral("marketingInfo"), result.marketingInfo},
                        });
    setSecret(engine, profile, QStringLiteral("securityAnswer"), result.securityAnswer);
    return profile;
}

QJSValue value(QJSEngine& engine, const KelAccount::Terms& result)
{
    Fields addresses;
    for (auto it = result.addresses.cbegin(); it != result.addresses.cend(); ++it)
        addresses.insert(it.key(), it.value());
    return fromMap(engine, Fields{{QStringLiteral("addresses"), addresses}});
}

QJSValue value(QJSEngine& engine, const KelAccount::SecurityQuestions& result)
{
    QVariantList questions;
    for (const KelAccount::SecurityQuestion& question : result.questions) {
        questions.append(Fields{
            {QStringLiteral("id"), question.id},
            {QStringLiteral("text"), question.text},
        });
    }
    return fromMap(engine, Fields{{QStringLiteral("questions"), questions}});
}

QJSValue value(QJSEngine& engine, const KelAccount::RecoveryQuestion& result)
{
    return fromMap(engine, Fields{
                               {QStringLiteral("userId"), result.userId},
                               {QStringLiteral("id"), result.id},
                               {QStringLiteral("text"), result.text},
                           });
}

QJSValue value(QJSEngine& engine, const KelAccount::PreAccount& result)
{
    return fromMap(engine, Fields{
                               {QStringLiteral("id"), result.id},
                               {QStringLiteral("userName"), result.userName},
                               {QStringLiteral("mobilePhoneNumber"), result.mobilePhoneNumber},
                               {QStringLiteral("country"), countryCode(result.country)},
                           });
}

QJSValue value(QJSEngine& engine, const KelAccount::Country& result)
{
    return fromMap(engine, Fields{{QStringLiteral("code"), result.code}});
}

QJSValue value(QJSEngine& engine, const KelAccount::MarketingConsent& result)
{
    return fromMap(engine, Fields{{QStringLiteral("variant"), static_cast<int>(result.variant)}});
}

QJSValue value(QJSEngine& engine, const KelAccount::CaptchaRequirement& result)
{
    return fromMap(engine, Fields{{QStringLiteral("isRequired"), result.isRequired}});
}

QJSValue value(QJSEngine& engine, const KelAccount::DeviceAccountState& result)
{
    return fromMap(engine, Fields{{QStringLiteral("isConfigured"), result.isConfigured}});
}

std::optional<QDate> dateOf(const QString& text)
{
    const QDate date = QDate::fromString(text, Qt::ISODate);
    // Qt takes other signs between the numbers, and anything behind them.
    if (isoDate(date) != text)
        return std::nullopt;
    return date;
}

std::optional<KelAccount::Registration> registration(const QVariantMap& fields, QObject* asking)
{
    KelAccount::Registration filled;
    std::optional<QDate> dateOfBirth = QDate();
    const QMap<QString, QString*> texts{
        {QStringLiteral("userName"), &filled.userName},
        {QStringLiteral("password"), &filled.password},
        {QStringLiteral("emailAddress"), &filled.emailAddress},
        {QStringLiteral("mobilePhoneNumber"), &filled.mobilePhoneNumber},
        {QStringLiteral("captchaText"), &filled.captchaText},
        {QStringLiteral("captchaId"), &filled.captchaId},
        {QStringLiteral("firstName"), &filled.firstName},
        {QStringLiteral("lastName"), &filled.lastName},
        {QStringLiteral("language"), &filled.language},
        {QStringLiteral("country"), &filled.country},
        {QStringLiteral("securityQuestionId"), &filled.securityQuestionId},
        {QStringLiteral("securityAnswer"), &filled.securityAnswer},
    };
    const QMap<QString, bool*> choices{
        {QStringLiteral("marketingInfo"), &filled.marketingInfo},
        {QStringLiteral("marketingInfoOnMobile"), &filled.marketingInfoOnMobile},
        {QStringLiteral("marketingInfoOnEmail"), &filled.marketingInfoOnEmail},
    };
    for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
        if (QString* const text = texts.value(it.key()))
            *text = it.value().toString();
        else if (bool* const choice = choices.value(it.key()))
            *choice = it.value().toBool();
        else if (it.key() == QLatin1String("dateOfBirth"))
            dateOfBirth = dateOf(it.value().toString());
        else
            qmlWarning(asking).nospace().noquote()
                << "A registration has no property \"" << it.key() << "\"";
    }
    if (!dateOfBirth)
        return std::nullopt;
    filled.dateOfBirth = *dateOfBirth;
    return filled;
}

} // namespace KelQmlResults
