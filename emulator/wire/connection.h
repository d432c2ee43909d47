// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/wirerequest.h"
#include "emulator/service/fault.h"
#include "emulator/wire/tlsstream.h"

#include <functional>
#include <httplib.h>

namespace KelEmulator {

class AccountService;
struct Reply;
struct RequestRecord;

/// Serves one client's connection: the HTTP library reads requests from and writes replies to our
/// stream. The library's own listening socket is not used; connections come from the proxy.
class Connection : private httplib::Server
{
public:
    /// `setBusy` is told when a request begins (true) and when it is answered.
    Connection(AccountService& service, TlsStream& stream, std::function<void(bool)> setBusy);
    ~Connection() override;

    /// Returns when the connection is to be closed.
    void run();

private:
    void prepare(httplib::Request& request);
    HandlerResponse beforeBody(const httplib::Request& request, httplib::Response& response);
    void answer(const httplib::Request& request, httplib::Response& response,
                const httplib::ContentReader& content);
    bool readBody(const httplib::ContentReader& content, std::string& body) const;
    /// False when the request gets no answer.
    bool applyFault(const Fault& fault, Reply& reply);
    void finish(RequestRecord record, Reply reply, const Fault& fault, httplib::Response& response);
    void completeError(const httplib::Request& request, httplib::Response& response);

    AccountService& mService;
    TlsStream& mStream;
    std::function<void(bool)> mSetBusy;
    std::string mMethod;    ///< on the wire
    bool mAnswered = false; ///< whether the request reached `answer` whole
};

} // namespace KelEmulator
