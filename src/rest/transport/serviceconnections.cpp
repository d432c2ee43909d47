// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/serviceconnections.h"

#include "rest/transport/onetimebody.h"
#include "rest/transport/replyproperties.h"

#include <QNetworkReply>
#include <QNetworkRequest>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <utility>

namespace KelRestHandler {

namespace {

std::atomic<int> idleLimit{ServiceConnections::idleMilliseconds};

// Goes on while the device sleeps, as the service's clock does.
qint64 nowMilliseconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return qint64{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

} // namespace

ServiceConnections::ServiceConnections(QNetworkAccessManager* first, SetUp setUp, QObject* parent)
    : QObject(parent), mSetUp(std::move(setUp))
{
    makeLine(first);
}

ServiceConnections::~ServiceConnections() = default;

void ServiceConnections::setIdleMilliseconds(int milliseconds)
{
    idleLimit = milliseconds;
}

bool ServiceConnections::mustReconnect(const Line& line)
{
    return line.isUnsure || nowMilliseconds() - line.idleSince > idleLimit ||
           std::any_of(line.sockets->begin(), line.sockets->end(), [](const auto& socket) {
               return wasEndedByPeer(socket) || hasLostItsAddress(socket);
           });
}

QList<QNetworkReply*> ServiceConnections::repliesOf(const Line& line)
{
    return line.manager->findChildren<QNetworkReply*>(QString(), Qt::FindDirectChildrenOnly);
}

// The network library's thread waits until this one has heard what it tells a reply: that its
// connection is encrypted, say. To close the connections, this thread waits for that one: for five
// seconds in vain, as long as the reply is there to be told.
bool ServiceConnections::isUsable(const Line& line)
{
    return !line.isBusy && (repliesOf(line).isEmpty() || !mustReconnect(line));
}

QNetworkReply* ServiceConnections::post(const QNetworkRequest& request, const QByteArray& body)
{
    dropIdleManagers();
    Line* const line = lineForPost();
    if (!line)
        return nullptr;
    // Looking for sockets takes a tenth of a quick call: not between two of them.
    constexpr int quickSuccession = 50;
    const bool isLikelyToReconnect = nowMilliseconds() - line->idleSince > quickSuccession;
    if (mustReconnect(*line)) {
        line->manager->clearConnectionCache();
        line->isUnsure = false;
    }
    auto onceOnly = std::make_unique<OneTimeBody>(body, nullptr);
    QNetworkReply* const reply = line->manager->post(request, onceOnly.get());
    onceOnly.release()->setParent(reply);
    line->isBusy = true;
    connect(reply, &QNetworkReply::finished, this, [this, reply] { onFinished(reply); });
    connect(reply, &QObject::destroyed, &mReplies, [this, line] { onDeleted(*line); });
    new ReceiveWatch(reply, line->sockets, isLikelyToReconnect); // the reply's child
    return reply;
}

ServiceConnections::Line& ServiceConnections::makeLine(QNetworkAccessManager* manager)
{
    mLines.push_back(std::make_unique<Line>());
    Line& line = *mLines.back();
    line.manager = manager;
    line.idleSince = nowMilliseconds();
    mSetUp(manager);
    return line;
}

bool ServiceConnections::isFree() const
{
    return mLines.size() < size_t{maximumManagers} ||
           std::any_of(mLines.begin(), mLines.end(),
                       [](const auto& line) { return isUsable(*line); });
}

ServiceConnections::Line* ServiceConnections::lineForPost()
{
    const auto idle = std::find_if(mLines.begin(), mLines.end(),
                                   [](const auto& line) { return isUsable(*line); });
    if (idle != mLines.end())
        return idle->get();
    if (mLines.size() >= size_t{maximumManagers})
        return nullptr;
    auto manager = std::make_unique<QNetworkAccessManager>();
    manager->setParent(this);
    Line& line = makeLine(manager.get());
    line.owned = std::move(manager);
    return &line;
}

QNetworkReply* ServiceConnections::replyTo(int requestId) const
{
    for (const auto& line : mLines) {
        const auto replies = repliesOf(*line);
        for (QNetworkReply* const reply : replies) {
            const QVariant id = reply->property(ReplyProperty::requestId);
            if (id.isValid() && id.toInt() == requestId)
                return reply;
        }
    }
    return nullptr;
}

// A manager with a reply is kept: the reply may still have to be read.
void ServiceConnections::dropIdleManagers()
{
    const auto isDue = [](const std::unique_ptr<Line>& line) {
        return line->owned && !line->isBusy && mustReconnect(*line) && repliesOf(*line).isEmpty();
    };
    mLines.erase(std::remove_if(mLines.begin(), mLines.end(), isDue), mLines.end());
}

void ServiceConnections::onFinished(QNetworkReply* reply)
{
    const auto line = std::find_if(mLines.begin(), mLines.end(), [reply](const auto& candidate) {
        return candidate->manager == reply->manager();
    });
    if (line == mLines.end())
        return;
    (*line)->isBusy = false;
    (*line)->idleSince = nowMilliseconds();
    (*line)->isUnsure = !reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
    Q_EMIT freed();
}

// One that waits could not be posted while the reply was there.
void ServiceConnections::onDeleted(const Line& line)
{
    if (!line.isBusy)
        Q_EMIT freed();
}

} // namespace KelRestHandler
