// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QNetworkReply>
#include <QObject>
#include <QString>

namespace KelRestHandler {

/// What came back for one request: header lines and body as text, or a transport error.
class HttpResponse : public QObject
{
    Q_OBJECT

public:
    /// `serverTime` starts as the device's UTC clock, so it is valid also when the server sent
    /// none.
    HttpResponse(QNetworkReply::NetworkError error, QString const& data, QString const& consumerKey,
                 int requestId);
    HttpResponse(HttpResponse const& other);
    HttpResponse& operator=(HttpResponse const&) = delete;
    ~HttpResponse() override;

    QString getData() const { return mData; }
    QNetworkReply::NetworkError errorCode() const { return mErrorCode; }
    QString getConsumerKey() const { return mConsumerKey; }
    int getRequestId() const { return mRequestId; }
    QDateTime getServerTime() const { return mServerTime; }
    void setServerTime(QDateTime time) { mServerTime = std::move(time); }

    /// Whose clock a "Date:" in the text is. At first that is left open, so it is every server's.
    enum class Clock { Anybodys, Servers, Nobodys };
    Clock clock() const { return mClock; }
    QString server() const { return mServer; } ///< as TimeStampManager names it
    void setClockOf(QString server);
    /// Nobody vouches for the reply: it came without TLS, or from in front of it.
    void setClockOfNobody() { mClock = Clock::Nobodys; }

    /// The "Retry-After:" of a service that asks to be left alone for a while; else empty.
    QByteArray retryAfter() const { return mRetryAfter; }
    void setRetryAfter(const QByteArray& value) { mRetryAfter = value; }

private:
    QString mData;
    QNetworkReply::NetworkError mErrorCode;
    QString mConsumerKey;
    QDateTime mServerTime;
    qint32 mRequestId;
    Clock mClock = Clock::Anybodys;
    QString mServer;
    QByteArray mRetryAfter;
};

} // namespace KelRestHandler
