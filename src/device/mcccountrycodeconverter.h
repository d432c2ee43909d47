// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QMap>
#include <QObject>
#include <QString>

/// Mobile country codes to ISO 3166-1 alpha-2 codes.
class MccCountryCodeConverter : public QObject
{
    Q_OBJECT

public:
    explicit MccCountryCodeConverter(QObject* parent = nullptr);

    /// The upper-case two-letter code; empty for a code that the table does not have.
    QString countryCode(QString mcc);

private:
    QMap<QString, QString> mccToCountry;
};
