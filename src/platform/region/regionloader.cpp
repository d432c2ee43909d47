// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/demandedmodule.h"
#include "platform/region/configurationvalue.h"

QVariant configurationValue(const QString& key)
{
    using ConfigurationValue = void (*)(const QString&, QVariant&);
    static const auto function = reinterpret_cast<ConfigurationValue>(
        KelAccount::demandedFunction("region", "kelaccount_configuration_value"));
    QVariant value;
    if (function)
        function(key, value);
    return value;
}
