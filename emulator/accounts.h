// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/database.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace KelEmulator {

/// The accounts of the emulated service. Names differ in more than ASCII letter case.
class Accounts
{
public:
    enum class NameState { Free, Taken, Reserved };

    static constexpr size_t longestName = 64;

    /// `file` is a path or ":memory:". Null, and why in `problem`, when it cannot be used.
    static std::unique_ptr<Accounts> open(const std::string& file, std::string& problem);

    /// One to `longestName` ASCII letters, digits or ". _ - @ +".
    static bool isWellFormed(const std::string& name);

    /// Makes an account, unless one has the name already. False for a name not well-formed.
    bool add(const std::string& name);
    /// Keeps a name from being given to anybody.
    bool reserve(const std::string& name);

    NameState state(const std::string& name);
    /// Up to `count` names that are free now and resemble `name`.
    std::vector<std::string> suggestions(const std::string& name, size_t count);

private:
    explicit Accounts(std::unique_ptr<Database> database);
    NameState lookUp(const std::string& name);

    std::mutex mMutex;
    std::unique_ptr<Database> mDatabase;
    Statement mAdd;
    Statement mReserve;
    Statement mFind;
};

} // namespace KelEmulator
