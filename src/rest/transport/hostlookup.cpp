// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/hostlookup.h"

#include <QHostInfo>

#include <utility>

namespace KelRestHandler {

HostLookup::HostLookup(QObject* owner, Found found) : QObject(owner), mFound(std::move(found))
{
}

void HostLookup::start(const QString& host, QObject* owner, Found found)
{
    auto* const lookup = new HostLookup(owner, std::move(found));
    QHostInfo::lookupHost(host, lookup, SLOT(onFound(QHostInfo)));
}

void HostLookup::onFound(const QHostInfo& info)
{
    deleteLater();
    const Found found = std::move(mFound); // which may end this
    found(info);
}

} // namespace KelRestHandler
