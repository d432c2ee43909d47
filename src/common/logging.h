// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QLoggingCategory>

// Every logging category of the library. No secret, token, password, answer or whole body is ever
// written to any of them, at any level.
Q_DECLARE_LOGGING_CATEGORY(logRest)      // kelaccount.rest
Q_DECLARE_LOGGING_CATEGORY(logSignon)    // kelaccount.signon
Q_DECLARE_LOGGING_CATEGORY(logConfigure) // kelaccount.configure
Q_DECLARE_LOGGING_CATEGORY(logDevice)    // kelaccount.device
Q_DECLARE_LOGGING_CATEGORY(logAccount)   // kelaccount.account
