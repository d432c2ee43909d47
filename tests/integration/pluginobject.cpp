// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/pluginobject.h"

#include "integration/emulatedservice.h"
#include "support/sessionsandbox.h"

using namespace KelTest;

QVariantMap PluginObject::request(const QVariantMap& more)
{
    QVariantMap data = {{"ConsumerKey"_s, "demo-key"_s}, {"ConsumerSecret"_s, "demo-secret"_s},
                        {"ServerUrlValue"_s, 2},         {"ManualSignIn"_s, true},
                        {"UserName"_s, "alice"_s},       {"Secret"_s, "secret"_s}};
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
                mEvents.append("result"_s);
            });
    connect(mPlugin.get(), &AuthPluginInterface::store, this,
            [this](const SignOn::SessionData& data) {
                mStored = data.toMap();
                mEvents.append("store"_s);
            });
    connect(mPlugin.get(), &AuthPluginInterface::error, this, [this](const SignOn::Error& error) {
        mMessage = error.message();
        mEvents.append(QString::number(error.type()));
    });
}

void PluginObject::process(const char* mechanism, const QVariantMap& data)
{
    mPlugin->process(SignOn::SessionData(data), QLatin1String(mechanism));
}

bool PluginObject::waitForEnd()
{
    return waitUntil([this] { return !mEvents.isEmpty() && mEvents.last() != "store"_s; });
}

QStringList PluginObject::said(const char* mechanism, const QVariantMap& data)
{
    mEvents.clear();
    process(mechanism, data);
    waitForEnd();
    return mEvents;
}

bool PluginObject::hangs(const char* mechanism, const QVariantMap& data)
{
    if (!EmulatedService::orderFaults("hang"))
        return false;
    process(mechanism, data);
    return waitUntil([] { return EmulatedService::faultsLeft().isEmpty(); });
}

bool PluginObject::saysNothingMore(int milliseconds)
{
    const int before = mEvents.size();
    return !waitUntil([&] { return mEvents.size() > before; }, milliseconds);
}
