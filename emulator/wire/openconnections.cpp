// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/openconnections.h"

#include <sys/socket.h>

namespace KelEmulator {

// A connection is shut down, not closed: its thread wakes up, sees the end and closes it itself.

OpenConnections::Entry::Entry(OpenConnections& connections, int descriptor)
    : mConnections(connections), mDescriptor(descriptor)
{
    const std::lock_guard<std::mutex> lock(mConnections.mMutex);
    mConnections.mBusy[descriptor] = false;
    if (mConnections.mClosed)
        ::shutdown(descriptor, SHUT_RDWR);
}

OpenConnections::Entry::~Entry()
{
    const std::lock_guard<std::mutex> lock(mConnections.mMutex);
    mConnections.mBusy.erase(mDescriptor);
}

void OpenConnections::Entry::setBusy(bool busy)
{
    const std::lock_guard<std::mutex> lock(mConnections.mMutex);
    mConnections.mBusy[mDescriptor] = busy;
}

void OpenConnections::closeIdle()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    for (const auto& [descriptor, busy] : mBusy) {
        if (!busy)
            ::shutdown(descriptor, SHUT_RDWR);
    }
}

void OpenConnections::closeAll()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    for (const auto& entry : mBusy)
        ::shutdown(entry.first, SHUT_RDWR);
}

void OpenConnections::closeForGood()
{
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mClosed = true;
    }
    closeAll();
}

} // namespace KelEmulator
