// SPDX-License-Identifier: LGPL-2.1-or-later
// Daemon, plugin and bus.
#include "matrix/breakages.h"
#include "matrix/sessionprocesses.h"
#include "matrix/state.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"

#include <QFile>
#include <QList>

#include <csignal>
#include <functional>
#include <sys/stat.h>
#include <thread>

using namespace KelTest;

namespace Matrix {

namespace {

/// Processes that get a signal, at the beginning or when the service is asked.
class Signalled : public Breakage
{
public:
    using Who = std::function<QList<pid_t>()>;
    enum class When { Before, Asked };

    Signalled(Who who, int signal, When when, bool isOfTheDaemon)
        : mWho(std::move(who)), mSignal(signal), mWhen(when), mIsOfTheDaemon(isOfTheDaemon)
    {
    }
    ~Signalled() override
    {
        if (mWaking.joinable())
            mWaking.join();
    }

    bool begin() override
    {
        mTalks = sharedState()->talks;
        if (mWhen == When::Before) {
            DaemonControl::start();
            strike();
            if (mSignal != SIGSTOP)
                waitUntilGone(mStruck, !mIsOfTheDaemon);
        }
        return true;
    }
    void onAsked() override
    {
        if (mWhen == When::Asked && !mIsDone)
            strike();
    }
    bool end() override
    {
        if (mWaking.joinable())
            mWaking.join();
        // What comes next is not to meet the end of the old ones.
        if (mIsDone && mSignal != SIGSTOP) {
            waitUntilGone(mStruck);
            DaemonControl::letThisProgramHear();
        }
        return true;
    }
    int met() const override
    {
        return mWhen == When::Asked ? (mIsDone ? 1 : 0) : sharedState()->talks - mTalks;
    }

private:
    void strike()
    {
        mStruck = mWho();
        mIsDone = true;
        signalAll(mStruck, mSignal);
        // One that is killed while it starts a plugin leaves its copy behind.
        if (mSignal == SIGKILL && !mStruck.isEmpty() && mStruck.first() != plugins().value(0))
            signalAll(mWho(), SIGKILL);
        if (mSignal == SIGSTOP)
            mWaking = std::thread([struck = mStruck] {
                std::this_thread::sleep_for(std::chrono::milliseconds(stillMs));
                signalAll(struck, SIGCONT);
            });
    }

    const Who mWho;
    const int mSignal;
    const When mWhen;
    const bool mIsOfTheDaemon; ///< who hears of its end
    bool mIsDone = false;
    int mTalks = 0;
    QList<pid_t> mStruck;
    std::thread mWaking;
};

/// The bus starts what never takes the daemon's name.
class DaemonHangs : public Breakage
{
public:
    bool begin() override
    {
        endMadeDaemon();
        DaemonControl::setInstalled(sessionFolder(), false);
        QFile other(file());
        if (!other.open(QIODevice::WriteOnly) ||
            other.write("[D-BUS Service]\nName=com.google.code.AccountsSSO.SingleSignOn\n"
                        "Exec=/bin/sleep 1000\n") < 0)
            return false;
        other.close();
        DaemonControl::setInstalled(sessionFolder(), true); // which is in place, and read
        mTalks = sharedState()->talks;
        return true;
    }
    bool end() override
    {
        const bool isAway = QFile::remove(file());
        DaemonControl::setInstalled(sessionFolder(), true);
        endSleepers();
        DaemonControl::letThisProgramHear();
        return isAway;
    }
    int met() const override { return sharedState()->talks - mTalks; }

private:
    static QString file()
    {
        return sessionFolder() + "/bus-services/com.google.code.AccountsSSO.SingleSignOn.service"_s;
    }

    int mTalks = 0;
};

/// Whoever opens the plugin's file waits for somebody who writes into it.
class PluginHangs : public Breakage
{
public:
    explicit PluginHangs(QString file) : mFile(std::move(file)) {}
    bool begin() override
    {
        endMadeDaemon();
        mTalks = sharedState()->talks;
        return QFile::rename(mFile, mFile + ".away"_s) &&
               ::mkfifo(QFile::encodeName(mFile).constData(), 0600) == 0;
    }
    bool end() override
    {
        endDaemon();
        const bool isBack = QFile::remove(mFile) && QFile::rename(mFile + ".away"_s, mFile);
        DaemonControl::letThisProgramHear();
        return isBack;
    }
    int met() const override { return sharedState()->talks - mTalks; }

private:
    const QString mFile;
    int mTalks = 0;
};

class DaemonAbsent : public Breakage
{
public:
    bool begin() override
    {
        endMadeDaemon();
        DaemonControl::setInstalled(sessionFolder(), false);
        mTalks = sharedState()->talks;
        return true;
    }
    bool end() override
    {
        DaemonControl::setInstalled(sessionFolder(), true);
        DaemonControl::letThisProgramHear();
        return true;
    }
    int met() const override { return sharedState()->talks - mTalks; }

private:
    int mTalks = 0;
};

} // namespace

std::unique_ptr<Breakage> brokenProcess(const std::string& name)
{
    const struct
    {
        const char* name;
        Signalled::Who who;
        int signal;
        Signalled::When when;
    } table[] = {
        {"daemon-killed", daemons, SIGKILL, Signalled::When::Before},
        {"daemon-ended", daemons, SIGTERM, Signalled::When::Before},
        {"daemon-stopped", daemons, SIGSTOP, Signalled::When::Before},
        {"daemon-killed-asking", daemons, SIGKILL, Signalled::When::Asked},
        {"daemon-ended-asking", daemons, SIGTERM, Signalled::When::Asked},
        {"daemon-stopped-asking", daemons, SIGSTOP, Signalled::When::Asked},
        {"plugin-killed", plugins, SIGKILL, Signalled::When::Before},
        {"plugin-stopped", plugins, SIGSTOP, Signalled::When::Before},
        {"plugin-killed-asking", plugins, SIGKILL, Signalled::When::Asked},
        {"plugin-ended-asking", plugins, SIGTERM, Signalled::When::Asked},
        {"plugin-stopped-asking", plugins, SIGSTOP, Signalled::When::Asked},
        {"bus-stopped", buses, SIGSTOP, Signalled::When::Before},
        {"bus-stopped-asking", buses, SIGSTOP, Signalled::When::Asked},
        {"bus-killed", buses, SIGKILL, Signalled::When::Before},
        {"bus-ended", buses, SIGTERM, Signalled::When::Before},
        {"bus-killed-asking", buses, SIGKILL, Signalled::When::Asked},
        {"bus-ended-asking", buses, SIGTERM, Signalled::When::Asked},
    };
    for (const auto& row : table) {
        if (name == row.name)
            return std::make_unique<Signalled>(row.who, row.signal, row.when,
                                               name.rfind("plugin", 0) == 0);
    }
    if (name == "daemon-absent")
        return std::make_unique<DaemonAbsent>();
    if (name == "daemon-start-hangs")
        return std::make_unique<DaemonHangs>();
    const QString plugin = variable("SSO_PLUGINS_DIR") + "/libzorauthplugin.so"_s;
    if (name == "plugin-start-hangs")
        return std::make_unique<PluginHangs>(plugin);
    if (name == "plugin-absent")
        return replacedFile(plugin, QByteArray(), talks);
    if (name == "plugin-nonsense")
        return replacedFile(plugin, QByteArray(8192, 'x'), talks);
    return nullptr;
}

int talks()
{
    return sharedState()->talks;
}

} // namespace Matrix
