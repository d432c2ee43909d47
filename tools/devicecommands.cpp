// SPDX-License-Identifier: LGPL-2.1-or-later
#include "devicecommands.h"

// The one command that shows what the library keeps inside looks inside.
#include "device/devicedescription.h"
#include "device/deviceinfoutil.h"

using KelAccount::ErrorStatus;
using KelAccount::KelAccounts;

namespace {

// For what is answered by a return value.
const auto noSignal = QStringLiteral("none, answered at once");

void country(KelAccounts& accounts, QObject* context, const CommandInput& /*input*/,
             const Report& report)
{
    QObject::connect(&accounts, &KelAccounts::retrieveCountryCodeResponse, context,
                     [report](ErrorStatus status, const QString& code) {
                         report({QStringLiteral("retrieveCountryCodeResponse"),
                                 status,
                                 {{QStringLiteral("country"), code}}});
                     });
    accounts.retrieveCountryCode();
}

void captchaRequired(KelAccounts& accounts, QObject* /*context*/, const CommandInput& /*input*/,
                     const Report& report)
{
    report({noSignal, 0, {{QStringLiteral("required"), accounts.isCaptchaRequired()}}});
}

void isConfigured(KelAccounts& accounts, QObject* /*context*/, const CommandInput& /*input*/,
                  const Report& report)
{
    report({noSignal, 0, {{QStringLiteral("configured"), accounts.isKeLAccountConfigured()}}});
}

void deviceInfo(KelAccounts& /*accounts*/, QObject* /*context*/, const CommandInput& input,
                const Report& report)
{
    const KelRestHandler::DeviceDescription description = KelRestHandler::readDeviceDescription();
    KelRestHandler::DeviceInfoUtil device;
    Outcome outcome{noSignal,
                    0,
                    {{QStringLiteral("manufacturer"), description.manufacturer},
                     {QStringLiteral("model"), description.model},
                     {QStringLiteral("firmware"), description.firmwareVersion},
                     {QStringLiteral("SIM"), device.simStatus()},
                     {QStringLiteral("home MCC"), device.deviceMCC()},
                     {QStringLiteral("home MNC"), device.deviceMNC()}}};
    const bool show = !input.option("--show-identifiers").isEmpty();
    const auto identifier = [show](const QString& value) {
        const QString hidden = QStringLiteral("known; --show-identifiers shows it");
        return show || value.isEmpty() ? value : hidden;
    };
    outcome.values.push_back({QStringLiteral("IMEI"), identifier(device.deviceIMEI())});
    outcome.values.push_back({QStringLiteral("IMSI"), identifier(device.deviceIMSI())});
    report(outcome);
}

} // namespace

std::vector<Command> deviceCommands()
{
    return {
        {"country", "", "", "", "the country of the device", "retrieveCountryCode", false, country},
        {"captcha-required", "", "", "", "must a registration solve a captcha?",
         "isCaptchaRequired", false, captchaRequired},
        {"is-configured", "", "", "", "has the device an account?", "isKeLAccountConfigured", false,
         isConfigured},
        {"device-info", "", "--show-identifiers", "", "what the library sees of the device",
         "device facts", false, deviceInfo},
    };
}
