// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/reply/servicesignals.h"
#include "support/signalrecorder.h"

#include <QPixmap>
#include <QStringList>

/// Writes down every signal of the REST layer with all that it carries, one field per line, in the
/// form of the .expect files in data/.
class RecordedAnswers : public SignalRecorder
{
public:
    explicit RecordedAnswers(KelRestHandler::ServiceSignals& source)
        : SignalRecorder(&source, KelRestHandler::ServiceSignals::staticMetaObject)
    {
    }

    /// Of all answers so far; each begins with "signal: NAME".
    const QStringList& lines() const { return mLines; }
    /// Names of the signals so far.
    const QStringList& names() const { return mNames; }

    QPixmap lastPicture;

private:
    void record(const QMetaMethod& signal, void** arguments) override;

    QStringList mLines;
    QStringList mNames;
};
