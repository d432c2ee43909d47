// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "outcome.h"

#include <kelaccount/kelaccounts.h>

#include <QStringList>

#include <functional>
#include <vector>

/// Receives a command's outcome; it is called once.
using Report = std::function<void(const Outcome&)>;

/// One operation of the library on the command line.
struct Command
{
    const char* name;
    const char* arguments; ///< their names, blank-separated, as the help shows them
    const char* summary;
    const char* operation; ///< the method that is called

    /// Connects to the answering signal with `context`, and calls the operation.
    void (*start)(KelAccount::KelAccounts& accounts, QObject* context, const QStringList& arguments,
                  const Report& report);

    int argumentCount() const;
};

const std::vector<Command>& commands();
const Command* findCommand(const QString& name);
