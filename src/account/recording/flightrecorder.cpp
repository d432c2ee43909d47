// SPDX-License-Identifier: LGPL-2.1-or-later
#include <kelaccount/flightrecorder.h>

#include "account/recording/writers.h"

namespace KelAccount {

QByteArray flightRecording(RecordingFormat format)
{
    const std::vector<RecordedCall> calls = recordedCalls(FlightRecord::kept());
    const qint64 now = FlightRecord::now();
    return format == RecordingFormat::Har ? harOf(calls, now) : traceOf(calls, now);
}

} // namespace KelAccount
