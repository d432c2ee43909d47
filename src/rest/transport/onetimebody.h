// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QIODevice>

namespace KelRestHandler {

/// The body of a request that goes over the wire once.
///
/// When a connection ends before its reply, QNetworkAccessManager rewinds the body and sends the
/// request again, though the service may have carried it out already. A body that does not let
/// itself be rewound ends the reply instead, with ContentReSendError. An empty body serves as well.
class OneTimeBody : public QIODevice
{
    Q_OBJECT

public:
    OneTimeBody(const QByteArray& bytes, QObject* parent);
    ~OneTimeBody() override; ///< wipes it: it may hold a password

    bool reset() override { return false; }
    qint64 size() const override { return mBytes.size(); }

protected:
    qint64 readData(char* data, qint64 maximum) override;
    qint64 writeData(const char* data, qint64 length) override;

private:
    QByteArray mBytes;
};

} // namespace KelRestHandler
