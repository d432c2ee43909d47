// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

/// What is in the process, so that what a schedule leaves behind is seen.
namespace Schedules {

/// Of what LiveObjects watches, and of descriptors and threads. Timers belong to objects.
class Leftovers
{
public:
    /// From what is there now.
    Leftovers();

    /// What there is more than at the beginning, waiting for what is about to end; empty when there
    /// is nothing.
    QString problem() const;

    /// From now on, when it is known that there will be something.
    static void haveLessPatience();

private:
    QString found() const;

    quint64 mObjectsBefore;
    QMap<QString, int> mClassesBefore; ///< in an application that goes on
    QStringList mDescriptors;          ///< what each is of
    int mThreads;
};

} // namespace Schedules
