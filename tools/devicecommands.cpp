// SPDX-License-Identifier: LGPL-2.1-or-later
#include "devicecommands.h"

// The one command that shows what the library keeps inside looks inside.
#include "device/devicedescription.h"
#include "device/deviceinfoutil.h"

#include <kelaccount/kelaccounts.h>

using KelAccount::KelAccounts;

namespace {

// For what is answered by a return value.
const auto noSignal = QStringLiteral("none, answered at once");

void captchaRequired(KelAccounts& accounts, const CommandInput& /*input*/, const Report& report)
{
    report({noSignal, 0, {{QStringLiteral("required"), accounts.isCaptchaRequired()}}});
}

void isConfigured(KelAccounts& accounts, const CommandInput& /*input*/, const Report& report)
{
    report({noSignal, 0, {{QStringLiteral("configured"), accounts.isKeLAccountConfigured()}}});
}

void deviceInfo(KelAccounts& /*accounts*/, const CommandInput& input, const Report& report)
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
    const bool show = input.has("--show-identifiers");
    const auto identifier = [show](const QString& value) {
        const QString hidden = QStringLiteral("known; --show-identifiers shows it");
        return show || value.isEmpty() ? value : hidden;
    };
    outcome.values.push_back({QStringLiteral("IMEI"), identifier(device.deviceIMEI())});
    outcome.values.push_back({QStringLiteral("IMSI"), identifier(device.deviceIMSI())});
    report(outcome);
}

} // namespace

std::vector<ClientCommand> deviceCommands()
{
    return {
        {{"country", {}, {}, "show the country of the device", "country"},
         {},
         "retrieveCountryCode",
         false,
         {{"country"}},
         [](KelAccounts& a, const CommandInput& /*input*/) { a.retrieveCountryCode(); }},
        {{"captcha-required",
          {},
          {},
          "say whether a registration must solve a captcha",
          "captcha-required"},
         {},
         "isCaptchaRequired",
         false,
         {{"required", Field::Type::YesNo}},
         nullptr,
         captchaRequired},
        {{"is-configured", {}, {}, "say whether the device has an account", "is-configured"},
         {},
         "isKeLAccountConfigured",
         false,
         {{"configured", Field::Type::YesNo}},
         nullptr,
         isConfigured},
        {{"device-info",
          {},
          {{"--show-identifiers", {}, "show IMEI and IMSI, too"}},
          "show what the library sees of the device",
          "device-info"},
         {},
         "device facts",
         false,
         {{"manufacturer"},
          {"model"},
          {"firmware"},
          {"SIM", Field::Type::YesNo},
          {"home MCC"},
          {"home MNC"},
          {"IMEI"},
          {"IMSI"}},
         nullptr,
         deviceInfo},
    };
}
