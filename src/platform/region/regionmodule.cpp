// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/region/configurationvalue.h"

extern "C" Q_DECL_EXPORT void kelaccount_configuration_value(const QString& key, QVariant& value)
{
    value = configurationValue(key);
}
