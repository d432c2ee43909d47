// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/recordedcalls.h"

#include "device/processcalls.h"
#include "support/literals.h"

#include <cerrno>

namespace {

QVector<KelTest::RecordedCalls::Answer> answers;
QStringList calls;

int recordKill(pid_t process, int signal)
{
    calls.append("kill %1 %2"_s.arg(process).arg(signal));
    return 0;
}

pid_t recordWaitpid(pid_t process, int* /*status*/, int options)
{
    calls.append("waitpid %1 %2"_s.arg(process).arg(options));
    const auto answer =
        answers.isEmpty() ? KelTest::RecordedCalls::Answer{-1, ECHILD} : answers.takeFirst();
    errno = answer.error;
    return answer.result;
}

} // namespace

const KelRestHandler::ProcessCalls& KelRestHandler::processCalls()
{
    static const ProcessCalls recording = {recordKill, recordWaitpid};
    return recording;
}

void KelTest::RecordedCalls::start(const QVector<Answer>& newAnswers)
{
    calls.clear();
    answers = newAnswers;
}

QStringList KelTest::RecordedCalls::made()
{
    return calls;
}
