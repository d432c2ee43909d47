// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/httprequest.h"

#include <QNetworkRequest>
#include <QPair>
#include <QString>

#include <vector>

namespace KelRestHandler {

/// Makes of a request what the network library takes, with facts of its own attached.
///
/// The requests of a process have the same headers, as a rule, but for their signature. Setting one
/// takes the network library longer than making its text; so what the request before had is kept.
/// The signature is not: a token stands beside it.
class MessageMaker
{
public:
    MessageMaker();

    QNetworkRequest messageFor(const HttpRequest& request);

private:
    bool isAsBefore(const QMap<QString, QString>& headers, const QString& verb) const;
    void keep(const QMap<QString, QString>& headers, const QString& verb);

    QNetworkRequest mBare;
    QNetworkRequest mUsual; ///< with the headers below
    std::vector<QPair<QString, QString>> mHeaders;
    QString mVerb;
};

} // namespace KelRestHandler
