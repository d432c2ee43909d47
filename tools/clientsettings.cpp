// SPDX-License-Identifier: LGPL-2.1-or-later
#include "clientsettings.h"

#include "tools/commandline/checks.h"

#include <QFile>

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

constexpr int longestSecret = 4096;

// In the order of their indexes.
const char* const servers[] = {"test-a", "test-b", "production", "staging", "test-c", "test-d"};

bool readServer(const std::string& text, int& server)
{
    const auto named = std::find(std::begin(servers), std::end(servers), text);
    std::int64_t index = named - std::begin(servers);
    if (named == std::end(servers) &&
        !CommandLine::readNumber(text, std::numeric_limits<int>::min(),
                                 std::numeric_limits<int>::max(), index))
        return false;
    server = static_cast<int>(index);
    return true;
}

int readInt(const std::string& text, int otherwise)
{
    std::int64_t number = otherwise;
    CommandLine::readNumber(text, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(),
                            number);
    return static_cast<int>(number);
}

QString fromLocal(const std::string& text)
{
    return QString::fromLocal8Bit(text.data(), static_cast<int>(text.size()));
}

} // namespace

const std::vector<std::string>& serverNames()
{
    static const std::vector<std::string> names(std::begin(servers), std::end(servers));
    return names;
}

std::string serverProblem(const std::string& text)
{
    int server = 0;
    if (readServer(text, server))
        return {};
    return "needs production, staging, test-a to test-d or a server's index, not '" + text + '\'';
}

std::string traceProblem(const std::string& text)
{
    const QString name = fromLocal(text);
    if (name.endsWith(QLatin1String(".har")) || name.endsWith(QLatin1String(".json")))
        return {};
    return "needs a name that ends in .har or .json, not '" + text + '\'';
}

ClientSettings ClientSettings::from(const CommandLine::Line& line)
{
    ClientSettings settings;
    settings.consumerKey = fromLocal(line.value("--consumer-key"));
    settings.hasSecretFile = line.has("--consumer-secret-file");
    settings.secretFile = fromLocal(line.value("--consumer-secret-file"));
    readServer(line.value("--server", "production"), settings.server);
    if (line.has("--service"))
        settings.service = fromLocal(line.value("--service"));
    settings.timeLimitSeconds = readInt(line.value("--timeout"), settings.timeLimitSeconds);
    settings.passwordDescriptor = readInt(line.value("--password-fd"), settings.passwordDescriptor);
    if (line.has("--line"))
        settings.format = OutputFormat::Line;
    if (line.has("--json"))
        settings.format = OutputFormat::Json;
    settings.verbose = line.has("--verbose");
    settings.traceFile = fromLocal(line.value("--trace"));
    return settings;
}

void ClientSettings::findCredentials(QString& problem)
{
    if (consumerKey.isEmpty())
        consumerKey = qEnvironmentVariable("KELACCOUNT_CONSUMER_KEY");
    if (consumerKey.isEmpty()) {
        problem = QStringLiteral("no consumer key: give --consumer-key KEY or set "
                                 "KELACCOUNT_CONSUMER_KEY");
        return;
    }
    if (hasSecretFile && secretFile.isEmpty()) {
        problem = QStringLiteral("the name of the secret file is empty");
        return;
    }
    if (!hasSecretFile) {
        consumerSecret = qEnvironmentVariable("KELACCOUNT_CONSUMER_SECRET");
    } else {
        QFile file(secretFile);
        if (!file.open(QIODevice::ReadOnly)) {
            problem = QStringLiteral("cannot read the secret file '%1': %2")
                          .arg(secretFile, file.errorString());
            return;
        }
        consumerSecret = QString::fromUtf8(file.read(longestSecret)).trimmed();
    }
    if (consumerSecret.isEmpty()) {
        problem = QStringLiteral("no consumer secret: set KELACCOUNT_CONSUMER_SECRET or give "
                                 "--consumer-secret-file FILE");
    }
}
