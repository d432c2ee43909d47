// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/wirerequest.h"
#include "emulator/service/fault.h"
#include "emulator/service/reply.h"
#include "emulator/wire/requesthead.h"

#include <functional>

namespace KelEmulator {

class AccountService;
class TlsStream;
struct RequestRecord;

/// Serves one client's connection: one request after the other, each answered as the service and an
/// ordered fault want it.
///
/// No HTTP library stands in between: what clients get wrong has to be seen as they sent it, and an
/// ordered fault has to reach every byte of a reply.
class Connection
{
public:
    /// `setBusy` is told when a request begins (true) and when it is answered.
    Connection(AccountService& service, TlsStream& stream, std::function<void(bool)> setBusy);

    /// Returns when the connection is to be closed.
    void run();

private:
    /// False when the connection is to be closed.
    bool serveRequest();
    /// Refuses what cannot be served; true when `body` is there.
    bool readBody(std::string& body);
    void refuse(int status, const char* code, const char* text, const std::string& why);
    bool answer(WireRequest wire);
    void log(RequestRecord record, const Reply& reply, const Fault& fault);
    /// What the fault makes of the reply. Waits as long as it says.
    void applyFault(const Fault& fault, Reply& reply);
    bool send(Reply reply, const Fault& fault, bool keeps);

    AccountService& mService;
    TlsStream& mStream;
    std::function<void(bool)> mSetBusy;
    RequestHead mHead;
};

} // namespace KelEmulator
