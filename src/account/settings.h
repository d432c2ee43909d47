// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"

#include <kelaccount/errorstatus.h>

#include <QString>

namespace KelAccount {

/// What initialize() was given, which is given once.
class Settings
{
public:
    /// Why they are not taken; ErrorNone when they are.
    ErrorStatus initialize(const QString& consumerKey, const QString& consumerSecret, int server,
                           const QString& zorService);
    bool areGiven() const { return mInitialized != 0; }

    const QString& consumerKey() const { return mConsumerKey; }
    const QString& consumerSecret() const { return mConsumerSecret; }
    /// The server's base address, and the index that it was chosen by.
    const QString& serverUrl() const { return mServerUrl; }
    int serverIndex() const { return mServerIndex; }
    const QString& zorService() const { return mZorService; }

private:
    QString mConsumerKey;
    SecretText mConsumerSecret;
    QString mServerUrl;
    int mServerIndex = 0;
    QString mZorService;
    int mInitialized = 0;
};

} // namespace KelAccount
