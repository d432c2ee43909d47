// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/serviceaddress.h"

#include "rest/request/servicehosts.h"

#include <array>

namespace KelRestHandler {

namespace {

constexpr int productionIndex = 2;

constexpr std::array serverHosts = {
    KELACCOUNT_HOST_TEST_A,  KELACCOUNT_HOST_TEST_B, KELACCOUNT_HOST_PRODUCTION,
    KELACCOUNT_HOST_STAGING, KELACCOUNT_HOST_TEST_C, KELACCOUNT_HOST_TEST_D,
};

} // namespace

const char RestSchemaNamespace[] = "https://" KELACCOUNT_HOST_PRODUCTION "/schemas/rest/v1_0";

const char OAuthRealm[] = "OAuth realm=\"https://" KELACCOUNT_HOST_PRODUCTION "\"";

QString serverBaseAddress(int serverIndex)
{
    const bool known = serverIndex >= 0 && serverIndex < static_cast<int>(serverHosts.size());
    const char* host = serverHosts[static_cast<size_t>(known ? serverIndex : productionIndex)];
    return QStringLiteral("https://%1/rest/1.0/").arg(QLatin1String(host));
}

} // namespace KelRestHandler
