// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QHostAddress>
#include <QList>

namespace KelRestHandler {

/// The addresses of the device's network interfaces, in QNetworkInterface's order.
///
/// Listing them takes the kernel some 20 microseconds, more than the whole rest of a request. So
/// the list is kept, beside a netlink socket on which the kernel announces every change of a link
/// or an address (rtnetlink(7)); only after an announcement is it read again. Where no such socket
/// can be had, the list is read every time.
class InterfaceAddresses
{
public:
    InterfaceAddresses();
    ~InterfaceAddresses();
    InterfaceAddresses(const InterfaceAddresses&) = delete;
    InterfaceAddresses& operator=(const InterfaceAddresses&) = delete;

    /// The addresses of this moment.
    QList<QHostAddress> current();

private:
    bool changedSinceLastTime();

    int mAnnouncements = -1;
    bool mKnown = false;
    QList<QHostAddress> mAddresses;
};

} // namespace KelRestHandler
