// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/export.h>

#include <QByteArray>
#include <QString>

namespace KelAccount {

// What happened to the last calls of this process, about two hundred of them, when, and how each
// ended. It is always written down, in memory of a fixed size, and read by these functions, which
// may be called on any thread, before there is an application object, too.
//
// There are numbers, times, and names of operations and statuses in it; nothing that a user, an
// application or the service has written: no name, password, token, address or body.
//
// With KELACCOUNT_TRACE=FILE in the environment, a process writes the same into that file when a
// call has failed and when the object that made it ends: a file whose name ends in ".har" in the
// first format below, any other in the second. docs/flight-recorder.md says more.

struct Failure;

enum class RecordingFormat {
    Har,        ///< HAR 1.2, which the network view of a browser's developer tools opens
    TraceEvents ///< trace events in JSON, which trace viewers show on a time line
};

/// What is kept now, as a JSON document.
KELACCOUNT_EXPORT QByteArray flightRecording(RecordingFormat format);

/// The call that failed, as the recording names it: the field "_call" of its entries in the one
/// format, "id" of its events in the other. Empty when the failure is not one that a client's call
/// was answered with, as when it was cancelled or its client came to its end.
KELACCOUNT_EXPORT QString recordedId(const Failure& failure);

} // namespace KelAccount
