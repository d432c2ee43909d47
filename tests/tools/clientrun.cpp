// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/clientrun.h"
#include "support/literals.h"

#include "emulator/emulatorprocess.h"

#include <QJsonDocument>

namespace KelTest {

QJsonObject ClientRun::json() const
{
    return isOneLine(output) ? QJsonDocument::fromJson(output).object() : QJsonObject();
}

bool ClientRun::isOneLine(const QByteArray& text)
{
    return text.size() > 1 && text.endsWith('\n') && text.count('\n') == 1;
}

Client::Client(const QMap<QString, QString>& environment) : mEnvironment(environment)
{
    set("KELACCOUNT_CONSUMER_KEY"_s, "demo-key"_s);
    set("KELACCOUNT_CONSUMER_SECRET"_s, "demo-secret"_s);
    set("LC_ALL"_s, "C.UTF-8"_s);
}

ClientRun Client::run(const QStringList& arguments, const QByteArray& input) const
{
    constexpr int patience = 60000;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto it = mEnvironment.cbegin(); it != mEnvironment.cend(); ++it) {
        if (it.value().isEmpty())
            environment.remove(it.key());
        else
            environment.insert(it.key(), it.value());
    }
    BoundProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(KELACCOUNT_CLIENT_PROGRAM), arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(patience) || process.exitStatus() != QProcess::NormalExit)
        return {-1, process.readAllStandardOutput(), process.readAllStandardError()};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

} // namespace KelTest
