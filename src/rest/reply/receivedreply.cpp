// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/receivedreply.h"

#include "rest/reply/msgparser.h"
#include "rest/reply/replydocument.h"

namespace KelRestHandler {

namespace {

bool isSuccess(int httpStatus)
{
    return httpStatus >= 200 && httpStatus <= 299;
}

// An answer or an error of the service; any other page decides nothing.
bool decides(QStringView document)
{
    RequestInfoData ignored;
    return !document.isNull() && !MsgParser::processXml(ignored, document.toString()).isNull();
}

} // namespace

ReceivedReply receivedReply(QNetworkReply::NetworkError error, int httpStatus, const QString& text)
{
    const ReceivedReply unreadable{QNetworkReply::ProtocolFailure, QString()};
    const QStringView document = documentIn(text);
    if (!isWithinReplyBounds(document))
        return unreadable;
    if (error == QNetworkReply::NoError && !isSuccess(httpStatus) && !decides(document))
        return unreadable;
    return {error, text};
}

} // namespace KelRestHandler
