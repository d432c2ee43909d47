// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace KelEmulator {

/// Changes to an environment: a value, or none to take the variable out.
struct EnvironmentChange
{
    std::string name;
    std::string value;
    bool isSet = true;
};

/// Holds back the signals that `Command::wait` and `waitForEnd` take, in this thread and those it
/// starts. Make one before any thread is started.
class SignalGuard
{
public:
    SignalGuard();
    const sigset_t& held() const { return mHeld; }
    /// What a command starts with: as it was before.
    const sigset_t& maskBefore() const { return mMaskBefore; }
    const struct sigaction& pipeActionBefore() const { return mPipeActionBefore; }

private:
    sigset_t mHeld;
    sigset_t mMaskBefore;
    struct sigaction mPipeActionBefore;
};

/// A command that this process starts, waits for and passes signals on to. It dies when this
/// process dies, and what it has started with it.
class Command
{
public:
    static constexpr int cannotStart = 125;
    static constexpr int cannotBeRun = 126;
    static constexpr int notFound = 127;

    /// Starts it; to be called by the main thread. Returns 0, or the exit status that tells why
    /// not, with one line in `problem`.
    int start(const std::vector<std::string>& words, const std::vector<EnvironmentChange>& changes,
              const SignalGuard& signals, std::string& problem);

    /// Waits for its end and returns the exit status as a shell has it.
    int wait(const SignalGuard& signals) const;

private:
    pid_t mChild = -1; ///< the command's guard
};

/// Waits for a signal that asks this process to end. A `SignalGuard` must hold it back.
void waitForEnd();

} // namespace KelEmulator
