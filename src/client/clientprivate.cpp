// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/clientprivate.h"

#include "client/clients.h"
#include "common/wantedlanguage.h"

#include <QTimer>

namespace KelAccount {

ClientPrivate::ClientPrivate()
    : mBell([this] { deliver(); }), mThread(std::make_unique<ClientThread>(mHandOver))
{
    Clients::add(this);
    // The client's thread will want the texts of failures, while the application asks for others.
    settleSystemLanguages();
    mHandOver->setApplicationsBell(&mBell);
    mThread->start();
}

ClientPrivate::~ClientPrivate()
{
    Clients::remove(this);
    end();
}

void ClientPrivate::end()
{
    // What the end of a call destroys may come back here.
    const auto handOver = mHandOver;
    std::unique_ptr<ClientThread> thread = std::move(mThread);
    handOver->end();
    if (thread)
        retire(std::move(thread));
}

HandOver::Call ClientPrivate::begin(const char* name, CallState::Operation operation, When when)
{
    if (when.newestOnly())
        mHandOver->cancelAll(name);
    const auto call = std::make_shared<CallState>(mHandOver, name);
    call->perform = std::move(operation);
    mHandOver->open(call);
    if (when.pause().count() > 0)
        QTimer::singleShot(when.pause(), &mBell, [call] { call->handOver->perform(call); });
    else
        mHandOver->perform(call);
    return call;
}

// An application may do anything in the functions, such as delete this object.
void ClientPrivate::deliver()
{
    const HandOver::Call call = mHandOver->takeAnswered();
    if (!call)
        return;
    const std::vector<CallState::Receiver> receivers = std::exchange(call->receivers, {});
    for (const CallState::Receiver& receiver : receivers) {
        const Ending* const ending = HandOver::deliveredEnding(*call);
        if (ending && receiver.context)
            receiver.tell(*ending);
    }
}

} // namespace KelAccount
