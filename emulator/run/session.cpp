// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/run/session.h"

#include "emulator/run/ownfiles.h"
#include "emulator/sandbox/sandbox.h"

#include <algorithm>

namespace KelEmulator {

namespace {

constexpr const char* pluginName = "libzorauthplugin.so";
constexpr const char* providerName = "zor.provider";
constexpr const char* serviceName = KELACCOUNT_SERVICE_NAME ".service";

QString fromLocal(const std::string& text)
{
    return QString::fromLocal8Bit(text.data(), static_cast<int>(text.size()));
}

bool addFiles(Sandbox& sandbox, std::string& problem)
{
    const std::string plugin = findSignonPlugin(pluginName);
    const std::string provider = findSharedFile(std::string("accounts/providers/") + providerName);
    const std::string service = findSharedFile(std::string("accounts/services/") + serviceName);
    const struct
    {
        const char* name;
        const std::string& file;
    } needed[] = {{pluginName, plugin}, {providerName, provider}, {serviceName, service}};
    for (const auto& entry : needed) {
        if (entry.file.empty()) {
            problem =
                std::string(entry.name) + " is missing; build or install it with the emulator";
            return false;
        }
    }
    sandbox.setPlugin(QStringLiteral("zorauth"), fromLocal(plugin));
    sandbox.addProvider(fromLocal(provider));
    sandbox.addService(fromLocal(service));
    return true;
}

} // namespace

Session::Session() : mSandbox(std::make_unique<Sandbox>())
{
}

Session::~Session() = default;

std::unique_ptr<Session> Session::start(const std::string& folder,
                                        const std::vector<EnvironmentChange>& outside,
                                        std::string& problem)
{
    std::unique_ptr<Session> session(new Session);
    Sandbox& sandbox = *session->mSandbox;
    if (!addFiles(sandbox, problem))
        return nullptr;
    session->mOutside = outside;
    sandbox.setParentFolder(fromLocal(folder));
    for (const EnvironmentChange& change : outside)
        sandbox.setVariable(fromLocal(change.name),
                            change.isSet ? fromLocal(change.value) : QString());
    if (sandbox.start())
        return session;
    problem = sandbox.errorText().toStdString();
    return nullptr;
}

// Only what differs, so that a reader sees what is the session's.
std::vector<EnvironmentChange> Session::environment() const
{
    const QProcessEnvironment before = QProcessEnvironment::systemEnvironment();
    const QProcessEnvironment inside = mSandbox->environment();
    const auto local = [](const QString& text) { return text.toLocal8Bit().toStdString(); };
    std::vector<EnvironmentChange> changes;
    const auto add = [&](const EnvironmentChange& change) {
        const bool known = std::any_of(mOutside.begin(), mOutside.end(),
                                       [&](const auto& one) { return one.name == change.name; });
        if (!known)
            changes.push_back(change);
    };
    const QStringList set = inside.keys();
    for (const QString& name : set) {
        if (!before.contains(name) || before.value(name) != inside.value(name))
            add({local(name), local(inside.value(name))});
    }
    const QStringList were = before.keys();
    for (const QString& name : were) {
        if (!inside.contains(name))
            add({local(name), std::string(), false});
    }
    changes.insert(changes.end(), mOutside.begin(), mOutside.end());
    return changes;
}

} // namespace KelEmulator
