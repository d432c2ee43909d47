// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "matrix/breakage.h"
#include "matrix/call.h"
#include "matrix/cell.h"
#include "matrix/state.h"

#include <functional>
#include <memory>
#include <vector>

class LoopWatch;

namespace Matrix {

/// Runs cells in this process: many at once where each has what it needs for itself, one after the
/// other where the device is shared.
class Run
{
public:
    using Done = std::function<void(const Cell&)>;

    Run(LoopWatch& watch, Done done);

    /// The cell of that row and that row of the table of faults, later.
    void add(const Row& row, int fault);
    /// Runs what was added; false when the machine could not be brought to it.
    bool all();

private:
    struct Job
    {
        Row row;
        int fault = 0;
        int slot = 0;
        int server = 0;
        std::unique_ptr<Caller> caller;
        std::unique_ptr<Breakage> breakage = {};
        Cell cell;
    };

    static bool isOfTheDevice(const Row& row) { return row.needs > Needs::Service; }
    bool runTogether(std::vector<Job>& jobs);
    bool breakTheWorld(std::vector<Job>& jobs);
    bool mendTheWorld(std::vector<Job>& jobs);
    bool haveAnswered(std::vector<Job>& jobs);
    void callAgain(std::vector<Job>& jobs);
    void askAgain(std::vector<Job>& jobs);
    QString afterSigningInAnew(Job& job);
    bool prepare(Job& job);
    bool signIn(Job& job);
    void setFault(const Job& job, int fault);
    void setGuard(int milliseconds);
    bool waitFor(const std::function<bool()>& condition, int milliseconds);
    void letPass(int milliseconds);
    int serverFor(const Job& job);

    LoopWatch& mWatch;
    Done mDone;
    State* const mState;
    std::vector<Job> mJobs;
    int mCells = 0;
    int mSignedIn = -1; ///< the "server" of the device's account; -1: there may be anything
};

} // namespace Matrix
