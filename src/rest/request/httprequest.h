// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/netrequesttype.h"

#include <QAtomicInt>
#include <QMap>
#include <QObject>
#include <QString>
#include <QUrl>

namespace KelRestHandler {

/// One call to the account service, ready to be posted.
///
/// The operation classes fill it while they are constructed; the transport only reads it, so the
/// same object can be sent again. Identifiers are unique within the process.
class HttpRequest : public QObject
{
    Q_OBJECT

public:
    HttpRequest(QString const& consumerKey, NetRequestType type);

    /// A copy is the same request, not a new one: it keeps the identifier and the parent object.
    HttpRequest(HttpRequest const& other);
    HttpRequest& operator=(HttpRequest const&) = delete;
    ~HttpRequest() override;

    QUrl getUrl() const { return mUrl; }
    QString getTypOfRequest() const { return mTypeOfRequest; } ///< the REST verb
    QString getHttpBody() const { return mHttpBody; }
    QMap<QString, QString> getHeaders() const { return mHeaders; }
    qint32 RetryCount() const { return mRetryCount; }
    QString getConsumerKey() const { return mConsumerKey; }
    NetRequestType getRequestType() const { return mRequestType; }
    qint32 getRequestId() const { return mRequestId; }

    void setUrl(QUrl const& newUrl) { mUrl = newUrl; }
    void setTypeOfRequest(QString const& verb) { mTypeOfRequest = verb; }
    void setHttpBody(QString const& body) { mHttpBody = body; }

    /// Replaces the whole header map.
    void setHeaders(QMap<QString, QString> const& newHeaders) { mHeaders = newHeaders; }

    /// For whoever sends the request again.
    void incrementRetryCount() { ++mRetryCount; }

private:
    QUrl mUrl;
    QString mTypeOfRequest;
    QString mHttpBody;
    QMap<QString, QString> mHeaders;
    qint32 mRetryCount = 0;
    QString mConsumerKey;
    NetRequestType mRequestType;
    qint32 mRequestId;

    static QAtomicInt mRequestCounter;
};

} // namespace KelRestHandler
