// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/serviceconnections.h"

#include "rest/transport/endreply.h"
#include "rest/transport/firsthop.h"
#include "rest/transport/onetimebody.h"
#include "rest/transport/replyfacts.h"
#include "rest/transport/replyproperties.h"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <utility>

namespace KelRestHandler {

namespace {

std::atomic<int> idleLimit{ServiceConnections::idleMilliseconds};
std::atomic<int> preparingLimit{ServiceConnections::preparingMilliseconds};

// Goes on while the device sleeps, as the service's clock does.
qint64 nowMilliseconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return qint64{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

QString originOf(const QUrl& address)
{
    return address.scheme() + QLatin1String("://") + address.host() + QLatin1Char(':') +
           QString::number(portOf(address));
}

// What the network library takes for a request that only opens a connection. It names the port,
// since the usual one is known of usual schemes alone.
QNetworkRequest openingOf(const QUrl& service)
{
    QUrl address = service;
    address.setPort(portOf(service));
    address.setScheme(QLatin1String("preconnect-") + address.scheme());
    QNetworkRequest request(address);
    // As the requests that will use it.
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    attachFacts(request, std::make_shared<ReplyFacts>());
    return request;
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

int ServiceConnections::currentIdleMilliseconds()
{
    return idleLimit;
}

void ServiceConnections::setPreparingMilliseconds(int milliseconds)
{
    preparingLimit = milliseconds;
}

bool ServiceConnections::isTooOld(const Line& line)
{
    return line.isUnsure || nowMilliseconds() - line.idleSince > idleLimit;
}

// The kernel is asked once for each request: a line is looked at from several sides until one is
// posted over it, and the questions would cost more than all else that is done here.
bool ServiceConnections::isCut(Line& line)
{
    const qint64 now = nowMilliseconds();
    if (now == line.lookedAt)
        return line.isCut;
    line.lookedAt = now;
    // The device had the address when the reply before came.
    constexpr int aMoment = 2;
    const bool mayHaveMoved = now - line.idleSince > aMoment;
    line.isCut = std::any_of(line.sockets->begin(), line.sockets->end(), [&](const auto& socket) {
        return wasEndedByPeer(socket) || (mayHaveMoved && hasLostItsAddress(socket));
    });
    return line.isCut;
}

bool ServiceConnections::mustReconnect(Line& line)
{
    return isTooOld(line) || isCut(line);
}

QList<QNetworkReply*> ServiceConnections::repliesOf(const Line& line)
{
    return line.manager->findChildren<QNetworkReply*>(QString(), Qt::FindDirectChildrenOnly);
}

// The network library's thread waits until this one has heard what it tells a reply: that its
// connection is encrypted, say. To close the connections, this thread waits for that one: for five
// seconds in vain, as long as the reply is there to be told.
bool ServiceConnections::isUsable(Line& line)
{
    return !line.isBusy && (!mustReconnect(line) || repliesOf(line).isEmpty());
}

bool ServiceConnections::isReady(Line& line)
{
    return line.stands && !line.isBusy && !mustReconnect(line);
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
    reconnectIfDue(*line);
    auto before = ReceiveWatch::before(request.url(), *line->sockets, isLikelyToReconnect);
    auto onceOnly = std::make_unique<OneTimeBody>(body, nullptr);
    line->server = originOf(request.url());
    QNetworkReply* const reply =
        line->manager->post(isReady(*line) ? request : resuming(*line, request), onceOnly.get());
    onceOnly.release()->setParent(reply);
    line->isBusy = true;
    connect(reply, &QObject::destroyed, &mReplies, [this, line] { onDeleted(*line); });
    new ReceiveWatch(reply, line->sockets, std::move(before)); // the reply's child
    return reply;
}

void ServiceConnections::reconnectIfDue(Line& line)
{
    if (!mustReconnect(line) || !repliesOf(line).isEmpty())
        return;
    line.manager->clearConnectionCache();
    line.isUnsure = false;
    line.stands = false;
}

QNetworkRequest ServiceConnections::resuming(Line& line, const QNetworkRequest& request)
{
    QNetworkRequest result = request;
    QSslConfiguration tls = request.sslConfiguration();
    tls.setSslOption(QSsl::SslOptionDisableSessionPersistence, false);
    const auto session = mSessions.constFind(line.server);
    if (session != mSessions.constEnd() && nowMilliseconds() - session->since < sessionMilliseconds)
        tls.setSessionTicket(session->ticket);
    else
        mSessions.remove(line.server);
    result.setSslConfiguration(tls);
    line.hasNewSession = true;
    return result;
}

// What resumes a session is sent behind the handshake: it is there with the first reply.
void ServiceConnections::keepSession(Line& line, const QNetworkReply& reply)
{
    // Whatever went wrong, it may have been the session.
    if (!line.stands)
        mSessions.remove(line.server);
    if (!std::exchange(line.hasNewSession, false) || !line.stands)
        return;
    const QByteArray ticket = reply.sslConfiguration().sessionTicket();
    if (ticket.isEmpty())
        return;
    const auto before = mSessions.constFind(line.server);
    const qint64 since = before != mSessions.constEnd() ? before->since : nowMilliseconds();
    mSessions[line.server] = {ticket, since};
}

void ServiceConnections::prepare(const QUrl& service)
{
    dropIdleManagers();
    Line* const line = lineForPreparing();
    if (!line)
        return;
    reconnectIfDue(*line);
    line->server = originOf(service);
    auto before = ReceiveWatch::before(service, *line->sockets, true);
    QNetworkReply* const reply = line->manager->get(resuming(*line, openingOf(service)));
    line->isBusy = true;
    line->isPreparing = true;
    connect(reply, &QObject::destroyed, &mReplies, [this, line] { onDeleted(*line); });
    new ReceiveWatch(reply, line->sockets, std::move(before)); // the reply's child
    QTimer::singleShot(preparingLimit.load(), reply, [reply] { endReply(*reply); });
}

void ServiceConnections::onPrepared(Line& line, QNetworkReply* reply)
{
    line.isBusy = false;
    line.isPreparing = false;
    line.idleSince = nowMilliseconds();
    line.lookedAt = 0;
    line.stands = reply->error() == QNetworkReply::NoError;
    line.isUnsure = !line.stands;
    if (!line.stands)
        mSessions.remove(line.server);
    reply->deleteLater();
    Q_EMIT prepared(line.stands);
    Q_EMIT freed();
}

int ServiceConnections::preparing() const
{
    return static_cast<int>(std::count_if(mLines.begin(), mLines.end(),
                                          [](const auto& line) { return line->isPreparing; }));
}

int ServiceConnections::millisecondsReady(const QUrl& service) const
{
    const QString server = originOf(service);
    qint64 longest = 0;
    for (const auto& line : mLines) {
        if (line->server != server || line->isPreparing)
            continue;
        if (line->isBusy)
            longest = idleLimit;
        else if (isReady(*line))
            longest = qMax(longest, idleLimit - (nowMilliseconds() - line->idleSince));
    }
    return static_cast<int>(longest);
}

ServiceConnections::Line& ServiceConnections::makeLine(QNetworkAccessManager* manager)
{
    mLines.push_back(std::make_unique<Line>());
    Line& line = *mLines.back();
    line.manager = manager;
    line.idleSince = nowMilliseconds();
    mSetUp(manager);
    const auto ended = [this, line = &line](QNetworkReply* reply) {
        if (line->isPreparing)
            onPrepared(*line, reply);
        else if (line->isBusy)
            onFinished(*line, *reply);
    };
    connect(manager, &QNetworkAccessManager::finished, this, ended);
    return line;
}

bool ServiceConnections::isFree() const
{
    return mLines.size() < size_t{maximumManagers} ||
           std::any_of(mLines.begin(), mLines.end(),
                       [](const auto& line) { return isUsable(*line); });
}

bool ServiceConnections::isReady() const
{
    return std::any_of(mLines.begin(), mLines.end(),
                       [](const auto& line) { return isReady(*line); });
}

ServiceConnections::Line* ServiceConnections::lineForPost()
{
    const auto ready =
        std::find_if(mLines.begin(), mLines.end(), [](const auto& line) { return isReady(*line); });
    if (ready != mLines.end())
        return ready->get();
    const auto idle = std::find_if(mLines.begin(), mLines.end(),
                                   [](const auto& line) { return isUsable(*line); });
    if (idle != mLines.end())
        return idle->get();
    if (Line* const another = newLine())
        return another;
    // The service may have ended a connection since isFree() found it. A request that goes out over
    // that has an answer; one that does not go out has none.
    const auto checked = std::find_if(mLines.begin(), mLines.end(), [](const auto& line) {
        return !line->isBusy && !line->isUnsure;
    });
    return checked != mLines.end() ? checked->get() : nullptr;
}

// What stands is left for requests that come before the other is ready.
ServiceConnections::Line* ServiceConnections::lineForPreparing()
{
    const auto idle = std::find_if(mLines.begin(), mLines.end(), [](const auto& line) {
        return isUsable(*line) && !isReady(*line);
    });
    return idle != mLines.end() ? idle->get() : newLine();
}

ServiceConnections::Line* ServiceConnections::newLine()
{
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
        return line->owned && !line->isBusy && isTooOld(*line) && repliesOf(*line).isEmpty();
    };
    mLines.erase(std::remove_if(mLines.begin(), mLines.end(), isDue), mLines.end());
}

void ServiceConnections::onFinished(Line& line, const QNetworkReply& reply)
{
    line.isBusy = false;
    line.idleSince = nowMilliseconds();
    line.lookedAt = 0;
    line.stands = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
    line.isUnsure = !line.stands;
    keepSession(line, reply);
    Q_EMIT freed();
}

// One that waits could not be posted while the reply was there.
void ServiceConnections::onDeleted(const Line& line)
{
    if (!line.isBusy)
        Q_EMIT freed();
}

} // namespace KelRestHandler
