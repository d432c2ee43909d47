// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "client/clientthread.h"
#include "client/handover.h"

#include <kelaccount/client.h>

#include <memory>
#include <type_traits>
#include <utility>

namespace KelAccount {

/// What a client has on the application's thread.
class ClientPrivate
{
public:
    ClientPrivate();
    ~ClientPrivate();
    Q_DISABLE_COPY(ClientPrivate)

    /// Nothing is answered any more, and the client's thread ends. For a client that lives on when
    /// the application ends, too.
    void end();

    /// A call of the operation, which gives the result itself or nothing, when a signal does.
    template <class Result, class Operation>
    Call<Result> ask(const char* name, Operation operation, When when = {})
    {
        return Call<Result>(begin(name, performing<Result>(std::move(operation)), when));
    }

private:
    template <class Result, class Operation>
    static CallState::Operation performing(Operation operation)
    {
        return [operation](KelAccountsPrivate& accounts) mutable -> std::optional<Ending> {
            if constexpr (std::is_void_v<decltype(operation(accounts))>) {
                operation(accounts);
                return std::nullopt;
            } else {
                return Ending{std::make_shared<const Result>(operation(accounts)), nullptr};
            }
        };
    }

    HandOver::Call begin(const char* name, CallState::Operation operation, When when);
    void deliver();

    const std::shared_ptr<HandOver> mHandOver = std::make_shared<HandOver>();
    Doorbell mBell;
    std::unique_ptr<ClientThread> mThread; // null when it was told to end
};

} // namespace KelAccount
