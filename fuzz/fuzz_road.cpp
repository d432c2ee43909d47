// SPDX-License-Identifier: LGPL-2.1-or-later
// The whole road of a reply: bytes of a socket, the network library, the transport, the processor,
// a signal. A line says what happens, in letters; behind it stand the bytes that the service sends.
//
//   operation  "A" is the first one
//   pieces     "." is all at once, "1" and further one, two, ... bytes at a time
//   end        "c"lose, "r"eset, "k"eep open, "h"ang
//   application "1" asks once, "2" asks twice, "a"bandons, "d"eletes; asks once through a "p"roxy,
//   or
//              through its "t"unnel: then it is the proxy that says the bytes
#include "bytesource.h"
#include "fuzztarget.h"
#include "loopbackservice.h"
#include "surroundings.h"

#include "operations/table.h"
#include "rest/picture/captchapicture.h"
#include "rest/request/httprequest.h"
#include "rest/transport/networkhandler.h"
#include "rest/transport/networkreplycontainer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QNetworkProxy>
#include <QTimer>

#include <memory>
#include <optional>

namespace KelFuzz::Road {

namespace {

using namespace KelRestHandler;

constexpr int guardMs = 20;
// Longer than any guard on a busy machine.
constexpr int patienceMs = 20000;

struct Order
{
    int operation = 1;
    char application = '1';
    Said said;
};

Said::End endOf(uint8_t letter)
{
    switch (letter) {
    case 'r':
        return Said::End::Reset;
    case 'k':
        return Said::End::KeepOpen;
    case 'h':
        return Said::End::Hang;
    default:
        return Said::End::Close;
    }
}

Order orderOf(ByteSource& source)
{
    Order order;
    const QByteArray line = source.line().leftJustified(4, '.');
    const auto at = [&line](int index) { return static_cast<uint8_t>(line.at(index)); };
    // "A" is the first.
    order.operation = (at(0) - 'A' + 260) % lastNetRequestType + firstNetRequestType;
    order.said.piece = at(1) == '.' ? 0 : at(1) % 64;
    order.said.end = endOf(at(2));
    order.application = line.at(3);
    order.said.bytes = source.rest();
    return order;
}

/// The signals that answer an operation; the last one is the end of its answer.
QList<QByteArray> signalsOf(int operation)
{
    QList<QByteArray> names;
    const char* const answers = operations::table[operation - 1].answers;
    const auto written = QByteArray(answers).split('|');
    for (const QByteArray& signature : written)
        names.append(signature.left(signature.indexOf('(')));
    return answers ? names : QList<QByteArray>();
}

/// The service as a proxy, while one lives.
class Proxy
{
public:
    explicit Proxy(const LoopbackService& service)
    {
        QNetworkProxy::setApplicationProxy(
            QNetworkProxy(QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), service.port()));
    }
    ~Proxy() { QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy)); }
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;
};

QString baseFor(const LoopbackService& service, char application)
{
    switch (application) {
    case 'p':
        return QStringLiteral("http://service.example/rest/1.0/");
    case 't':
        return QStringLiteral("https://service.example/rest/1.0/");
    default:
        return QString::fromLatin1(service.base());
    }
}

class Asked
{
public:
    Asked(const LoopbackService& service, const Order& order)
        : mOrder(order), mNames(signalsOf(order.operation)),
          mHandler(std::make_unique<NetworkHandler>(nullptr)),
          mCounter(mHandler.get(), ServiceSignals::staticMetaObject),
          mBase(baseFor(service, order.application))
    {
    }

    int send()
    {
        const auto type = static_cast<NetRequestType>(mOrder.operation);
        HttpRequest request(QStringLiteral("key"), type);
        request.setUrl(QUrl(mBase + QStringLiteral("tokens")));
        request.setTypeOfRequest(QStringLiteral("POST"));
        request.setHttpBody(QStringLiteral("XMLContent="));
        require(mHandler->sendNetWorkRequest(&request, type) == 0);
        return request.getRequestId();
    }

    /// Until so many answers are there, or time is up.
    void wait(int answers)
    {
        // So that one that never comes is noticed.
        QTimer wake;
        wake.start(patienceMs / 100);
        QElapsedTimer timer;
        timer.start();
        while (mCounter.count(mNames.last()) < answers && timer.elapsed() < patienceMs)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    /// What is on its way already arrives, but nothing is waited for.
    void settle()
    {
        for (int i = 0; i < 3; ++i) {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }
    void requireAnswers(int answers) const
    {
        for (const QByteArray& name : mNames)
            require(mCounter.count(name) == answers);
        require(mCounter.all() == answers * mNames.size());
    }

    void abandon(int request) { mHandler->abandon(request); }
    void drop() { mHandler.reset(); }
    int answers() const { return mCounter.all(); }
    bool isAnswered() const { return !mNames.isEmpty(); }

private:
    const Order& mOrder;
    QList<QByteArray> mNames;
    std::unique_ptr<NetworkHandler> mHandler;
    SignalCounter mCounter;
    QString mBase;
};

void askTwice(LoopbackService& service, Asked& asked)
{
    asked.send();
    asked.wait(1);
    asked.requireAnswers(1);
    // Whatever the first one left behind in the connection or in front of it.
    Said well;
    well.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";
    service.say({well, well});
    asked.send();
    asked.wait(2);
    asked.settle();
    asked.requireAnswers(2);
}

void run(const uint8_t* data, size_t size)
{
    beApplication();
    static LoopbackService service;
    NetworkReplyContainer::setGuardMilliseconds(guardMs);
    const UnseenPictures unseen;
    ByteSource source(data, size);
    const Order order = orderOf(source);
    service.say({order.said});
    std::optional<Proxy> proxy;
    if (order.application == 'p' || order.application == 't')
        proxy.emplace(service);
    Asked asked(service, order);
    // That of an operation without a signal would never come.
    if (!asked.isAnswered())
        return;
    switch (order.application) {
    case '2':
        askTwice(service, asked);
        break;
    case 'a': {
        const int request = asked.send();
        asked.settle();
        const int before = asked.answers();
        asked.abandon(request);
        asked.settle();
        require(asked.answers() == before);
        break;
    }
    case 'd':
        asked.send();
        asked.settle();
        asked.drop();
        asked.settle();
        break;
    default:
        asked.send();
        asked.wait(1);
        asked.settle();
        asked.requireAnswers(1);
    }
}

} // namespace

} // namespace KelFuzz::Road

KEL_FUZZ_TARGET(road, KelFuzz::Road::run)
