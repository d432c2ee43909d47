// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "client/handover.h"

#include <QThread>

#include <memory>

namespace KelAccount {

/// The thread of a client. It ends soon after it was told to, but for what has to be taken back
/// from the device, and a wait that cannot be interrupted.
class ClientThread : public QThread
{
public:
    explicit ClientThread(std::shared_ptr<HandOver> handOver);

protected:
    void run() override;

private:
    const std::shared_ptr<HandOver> mHandOver;
};

/// Has the thread end: in a moment, which is waited for, or else behind the caller's back.
void retire(std::unique_ptr<ClientThread> thread);

/// Waits for the threads that still run, for as long as something may have to be taken back. What
/// runs after that is left to the end of the process.
void awaitRetired();

} // namespace KelAccount
