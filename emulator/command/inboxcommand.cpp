// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/command/inboxcommand.h"

#include "emulator/common/percentencoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdlib>
#include <httplib.h>

namespace KelEmulator {

namespace {

constexpr const char* addressVariable = "KELACCOUNT_EMULATOR_ADMIN";

/// Text of somebody's for a terminal.
std::string printable(const QJsonValue& value)
{
    std::string text = value.toString().toStdString();
    for (char& character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if ((byte < 0x20 && character != '\n') || byte == 0x7f)
            character = '?';
    }
    return text;
}

std::string described(const QJsonObject& message)
{
    const auto value = [&message](const char* name) {
        return printable(message.value(QLatin1String(name)));
    };
    std::string text = "To:   " + value("recipient") + " (" + value("user") + ")\n" +
                       "Sent: " + value("sent") + "\n\n    ";
    for (const char character : value("text"))
        text += character == '\n' ? "\n    " : std::string(1, character);
    return text + '\n';
}

} // namespace

bool readInbox(const std::string& name, std::string& text, std::string& problem)
{
    const char* const address = std::getenv(addressVariable);
    if (!address || !*address) {
        problem = std::string(addressVariable) +
                  " is not set: say it inside the emulator (run, or serve's environment)";
        return false;
    }
    httplib::Client client(address);
    client.set_connection_timeout(5);
    client.set_read_timeout(5);
    const auto answer = client.Get("/inbox?name=" + percentEncode(name));
    if (!answer || answer->status != 200) {
        problem = std::string("no emulator answers at ") + address;
        return false;
    }
    const QJsonArray messages =
        QJsonDocument::fromJson(QByteArray::fromStdString(answer->body)).array();
    text = messages.isEmpty() ? "No messages.\n" : "";
    for (const QJsonValue& message : messages)
        text += (text.empty() ? "" : "\n") + described(message.toObject());
    return true;
}

} // namespace KelEmulator
