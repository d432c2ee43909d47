// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace KelRestHandler {

/// What is known of an answer besides what its signal says.
struct AnswerDetails
{
    int status = 0; ///< also where the signal's is always 0
    /// How long the service wants not to be asked again; -1 when it did not say.
    int retryAfterSeconds = -1;
    QByteArray picture; ///< a captcha as it was received, whether or not it can be decoded
    QString pictureFormat;
    QStringList order; ///< the keys of the signal's map as the reply has them
};

/// A request whose answer is being emitted.
struct AnsweredRequest
{
    int requestId = -1; ///< none
    AnswerDetails details;
};

} // namespace KelRestHandler
