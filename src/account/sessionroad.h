// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/calls.h"
#include "account/settings.h"
#include "signon/kelauthsessioninterface.h"

namespace KelAccount {

/// The road of the calls that need credentials: a session with the plugin is opened on them, and
/// the plugin asked in the call's name.
class SessionRoad
{
public:
    using Session = KelAuthSessionInterface;

    /// All of these outlive this object.
    SessionRoad(Session* session, Calls& calls, const Settings& settings, RefuseCall refuse);

    /// Whether a session is open on the credentials then; 0 stands for the device account's. False
    /// when the session came to its end while this waited for the plugin: then this one may have,
    /// too.
    bool open(quint32 credentialsId);
    /// The same for a call, which is refused when none can be had. Also false when the call was
    /// abandoned meanwhile.
    bool openFor(OpenCall call, quint32 credentialsId);

    /// Has the plugin do it, or refuses the call.
    template <class... Taken, class... Given>
    void ask(OpenCall call, quint32 credentialsId, void (Session::*operation)(Taken...),
             const Given&... arguments)
    {
        if (openFor(call, credentialsId))
            (mSession->*operation)(arguments...);
    }

    /// What is being answered of the plugin.
    Answer answer(int status) const;

private:
    Session* mSession;
    Calls& mCalls;
    const Settings& mSettings;
    RefuseCall mRefuse;
};

} // namespace KelAccount
