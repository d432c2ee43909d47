// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QMap>
#include <QSet>
#include <QString>

namespace Schedules {

/// Which statuses each operation can carry, as the header of the facade says: the numbers in what
/// it writes behind "Answered by", and in what it says of all operations of the service.
class Documented
{
public:
    explicit Documented(const QString& header);

    /// Empty when every operation was found, with statuses of its own.
    QString problem() const;
    bool has(const QString& operation, int status) const;

private:
    void readComment(const QString& operation, const QString& comment);

    QSet<int> mOfTheService;
    QSet<int> mReported; ///< by plugin or daemon
    QMap<QString, QSet<int>> mStatuses;
};

} // namespace Schedules
