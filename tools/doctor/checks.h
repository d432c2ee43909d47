// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "tools/doctor/findings.h"

#include <QString>

// What has to be in order for the library to work, one function for each part of the surroundings.
// Each waits for whom it asks no longer than it is told.
namespace Doctor {

/// How long to wait for whom a check asks.
struct Patience
{
    int ms = 10000;        ///< for each answer
    int serviceMs = 70000; ///< for the service to judge a signed request
    /// "session" or "system": a bus that hangs, and with it whoever uses the library. The library
    /// and Qt's network classes reach for both, in ways that wait without end.
    QString hangingBus = {};
};

/// The modules and catalogues beside the library.
void checkInstallation(Findings& findings);

/// Session bus, sign-on daemon, and its plugin. Finds out whether a bus hangs.
void checkSignOn(Patience& patience, Findings& findings);

/// Provider and service files, accounts database, and where the daemon keeps secrets.
void checkAccounts(Findings& findings);

/// Whom the network checks ask.
struct Service
{
    QString host;
    int server = 0;
    QString name;
    QString consumerKey; ///< empty: none was given
    QString consumerSecret;
};

/// Proxy, name, TLS, clock, consumer key.
void checkService(const Service& service, Patience patience, Findings& findings);

/// Tag server, modem, SIM, region, locale.
void checkDevice(Patience patience, Findings& findings);

} // namespace Doctor
