// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/mgconfitem.h"

#include "platform/region/configurationvalue.h"

MGConfItem::MGConfItem(const QString& key, QObject* parent) : QObject(parent), mKey(key)
{
}

QVariant MGConfItem::value() const
{
    return configurationValue(mKey);
}
