// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/pluginobject.h"

#include "support/sessionsandbox.h"

QVariantMap PluginObject::request(const QVariantMap& more)
{
    QVariantMap data = {{QStringLiteral("ConsumerKey"), QStringLiteral("demo-key")},
                        {QStringLiteral("ConsumerSecret"), QStringLiteral("demo-secret")},
                        {QStringLiteral("ServerUrlValue"), 2},
                        {QStringLiteral("ManualSignIn"), true},
                        {QStringLiteral("UserName"), QStringLiteral("alice")},
                        {QStringLiteral("Secret"), QStringLiteral("secret")}};
    for (auto entry = more.cbegin(); entry != more.cend(); ++entry)
        data.insert(entry.key(), entry.value());
    return data;
}

void PluginObject::makePlugin()
{
    mEvents.clear();
    mAnswer.clear();
    mStored.clear();
    mPlugin = std::make_unique<ZorAuth::ZorAuthPlugin>();
    connect(mPlugin.get(), &AuthPluginInterface::result, this,
            [this](const SignOn::SessionData& data) {
                mAnswer = data.toMap();
                mEvents.append(QStringLiteral("result"));
            });
    connect(mPlugin.get(), &AuthPluginInterface::store, this,
            [this](const SignOn::SessionData& data) {
                mStored = data.toMap();
                mEvents.append(QStringLiteral("store"));
            });
    connect(mPlugin.get(), &AuthPluginInterface::error, this,
            [this](const SignOn::Error& error) { mEvents.append(QString::number(error.type())); });
}

void PluginObject::process(const char* mechanism, const QVariantMap& data)
{
    mPlugin->process(SignOn::SessionData(data), QLatin1String(mechanism));
}

bool PluginObject::waitForEnd()
{
    return KelTest::waitUntil(
        [this] { return !mEvents.isEmpty() && mEvents.last() != QLatin1String("store"); });
}
