// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QString>

#include <functional>

class QHostInfo;

namespace KelRestHandler {

/// Looks a host's addresses up for an object, which may end before they are found.
///
/// QHostInfo keeps a function for good that nobody is there for any more when the answer comes; of
/// a slot by its name nothing remains.
class HostLookup : public QObject
{
    Q_OBJECT

public:
    using Found = std::function<void(const QHostInfo&)>;

    /// `found` is called from the event loop, once, while `owner` lives.
    static void start(const QString& host, QObject* owner, Found found);

private Q_SLOTS:
    void onFound(const QHostInfo& info);

private:
    HostLookup(QObject* owner, Found found);

    Found mFound;
};

} // namespace KelRestHandler
