// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// A test program that runs itself once more inside an emulator of its own, with every log turned
/// on and all output caught: outside it reads what it wrote inside.
namespace KelTest::LoudRun {

/// Whether this is the run inside.
bool isInside();
/// Inside: what the run outside is to look for, and what bus, daemon and plugins wrote until now.
bool handOver(const QStringList& secrets);

struct Result
{
    int exitCode = -1;
    QByteArray output;
    QByteArray sessionLog;
    QByteArray traces;
    QStringList secrets;
};

/// Outside. The emulator expects the consumer secret. The output of a run that failed is shown.
Result run(const QString& consumerSecret, const QString& loggingRules);

} // namespace KelTest::LoudRun
