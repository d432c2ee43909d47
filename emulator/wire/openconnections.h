// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <map>
#include <mutex>

namespace KelEmulator {

/// The connections that are open, so that others than their threads can end them.
class OpenConnections
{
public:
    /// Registers a descriptor for as long as it lives.
    class Entry
    {
    public:
        Entry(OpenConnections& connections, int descriptor);
        ~Entry();
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;
        void setBusy(bool busy);

    private:
        OpenConnections& mConnections;
        const int mDescriptor;
    };

    /// Ends the connections in which no request is being answered.
    void closeIdle();
    void closeAll();
    /// As closeAll, and every later connection is ended as soon as it comes.
    void closeForGood();

private:
    std::mutex mMutex;
    std::map<int, bool> mBusy; ///< by descriptor
    bool mClosed = false;
};

} // namespace KelEmulator
