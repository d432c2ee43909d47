// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "tools/doctor/findings.h"

#include <QString>

// What has to be in order for the library to work, one function for each part of the surroundings.
// Each takes at most some seconds, whatever hangs.
namespace Doctor {

/// The modules and catalogues beside the library.
void checkInstallation(Findings& findings);

/// Session bus, sign-on daemon, and its plugin.
void checkSignOn(Findings& findings);

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
void checkService(const Service& service, Findings& findings);

/// Tag server, modem, SIM, region, locale.
void checkDevice(Findings& findings);

} // namespace Doctor
