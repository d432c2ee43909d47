// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/mcccountrycodeconverter.h"

#include "device/mcctable.h"

#include <QLatin1String>

MccCountryCodeConverter::MccCountryCodeConverter(QObject* parent) : QObject(parent)
{
    for (const MccEntry* entry = mccTable; QLatin1String(entry->mcc) != QLatin1String("END");
         ++entry)
        mccToCountry.insert(QLatin1String(entry->mcc), QLatin1String(entry->country));
}

QString MccCountryCodeConverter::countryCode(QString mcc)
{
    return mccToCountry.value(mcc);
}
