// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"

#include <SignOn/SessionData>

#include <QByteArray>
#include <QString>

namespace ZorKeLSignOn {

/// What travels to the authentication plugin and back: a map, with a setter and a getter for each
/// key by the sign-on library's convention. The names of the keys are a contract with the plugin.
class ZorAuthSessionData : public SignOn::SessionData
{
public:
    ZorAuthSessionData()
    {
        setManualSignIn(false);
        setVerifyUser(false);
        setKelIdHashRequestType(0);
    }

    // In every request.
    SIGNON_SESSION_DECLARE_PROPERTY(QString, ConsumerKey)
    SIGNON_SESSION_DECLARE_PROPERTY(QString, ConsumerSecret)
    SIGNON_SESSION_DECLARE_PROPERTY(int, ServerUrlValue) // index of the account service's server
    SIGNON_SESSION_DECLARE_PROPERTY(bool, ManualSignIn)  // the user typed the credentials now
    SIGNON_SESSION_DECLARE_PROPERTY(bool, VerifyUser)    // this library never asks for it
    SIGNON_SESSION_DECLARE_PROPERTY(int, KelIdHashRequestType) // nor for this

    // When the plugin is initialised.
    SIGNON_SESSION_DECLARE_PROPERTY(QString, ZorService)
    // Whether a connection to the service is to be open for what comes next.
    SIGNON_SESSION_DECLARE_PROPERTY(bool, Prepare)

    /// Of what nobody else has; a request that was sent is the sign-on library's, too.
    void wipe() { KelAccount::wipe(m_data); }

    // In the answer to "token".
    SIGNON_SESSION_DECLARE_PROPERTY(QString, Token)
};

} // namespace ZorKeLSignOn
