// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/endreply.h"

#include <QEvent>
#include <QNetworkReply>

namespace KelRestHandler {

namespace {

/// What other threads tell an object does not reach it any more.
class Deafness : public QObject
{
public:
    explicit Deafness(QObject* object) : QObject(object) { object->installEventFilter(this); }

    bool eventFilter(QObject* /*object*/, QEvent* event) override
    {
        return event->type() == QEvent::MetaCall;
    }
};

} // namespace

void endReply(QNetworkReply& reply)
{
    if (reply.error() != QNetworkReply::NoError)
        return;
    new Deafness(&reply);
    reply.abort();
}

void deleteEnded(QNetworkReply& reply)
{
    if (reply.isFinished())
        reply.deleteLater();
    else
        QObject::connect(&reply, &QNetworkReply::finished, &reply, &QObject::deleteLater);
}

} // namespace KelRestHandler
