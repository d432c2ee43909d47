// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/interfaceaddresses.h"

#include <QNetworkInterface>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

namespace KelRestHandler {

InterfaceAddresses::InterfaceAddresses()
    : mAnnouncements(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE))
{
    if (mAnnouncements < 0)
        return;
    sockaddr_nl groups{};
    groups.nl_family = AF_NETLINK;
    groups.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
    if (::bind(mAnnouncements, reinterpret_cast<const sockaddr*>(&groups), sizeof groups) != 0) {
        ::close(mAnnouncements);
        mAnnouncements = -1;
    }
}

InterfaceAddresses::~InterfaceAddresses()
{
    if (mAnnouncements >= 0)
        ::close(mAnnouncements);
}

QList<QHostAddress> InterfaceAddresses::current()
{
    // Announcements are taken off the socket before the list is read: a change that comes in
    // between is announced again and costs one more reading, never a stale list.
    if (changedSinceLastTime() || !mKnown) {
        mAddresses = QNetworkInterface::allAddresses();
        mKnown = mAnnouncements >= 0;
    }
    return mAddresses;
}

bool InterfaceAddresses::changedSinceLastTime()
{
    if (mAnnouncements < 0)
        return true;
    std::array<char, 4096> announcement{};
    bool changed = false;
    for (;;) {
        const ssize_t length =
            ::recv(mAnnouncements, announcement.data(), announcement.size(), MSG_DONTWAIT);
        if (length > 0) {
            changed = true;
            continue;
        }
        if (length < 0 && errno == EINTR)
            continue;
        // ENOBUFS says that announcements were lost, which is news enough.
        if (length < 0 && errno == ENOBUFS) {
            changed = true;
            continue;
        }
        return changed;
    }
}

} // namespace KelRestHandler
