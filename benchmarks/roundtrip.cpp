// SPDX-License-Identifier: LGPL-2.1-or-later
// Round trips to the emulator over TLS and its tunnel: this library's transport beside a bare
// QNetworkAccessManager that posts the very same requests, in turns, in one process.
// Run it as: kelaccount-emulator run -- roundtrip
#include "rest/operations/retrieveemailidavailabilityrequest.h"
#include "rest/request/cryptographicutils.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/timestampmanager.h"
#include "rest/transport/networkhandler.h"
#include "rest/transport/serviceconnections.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QNetworkProxy>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <numeric>
#include <vector>

using namespace KelRestHandler;

namespace {

class Signer : public ISignatureProvider
{
public:
    QString getToken(QString const& /*consumerKey*/) override { return {}; }
    QString createSignature(QString const& /*consumerKey*/, QString const& base,
                            bool /*useToken*/) override
    {
        return CryptographicUtils::HMACSHA1(base, QStringLiteral("demo-secret&"));
    }
    QString getTimeStamp() override { return TimeStampManager::getTimeStampManager()->timeStamp(); }
};

ISignatureProvider& signer()
{
    static Signer instance;
    return instance;
}

// The question for an e-mail address: it carries a document of some 700 bytes, as most operations
// carry one. Without a body there would be no second write to wait for.
std::unique_ptr<OAuthRequest> makeRequest()
{
    static const QByteArray serviceTag = QByteArray(400, 'x').toBase64();
    return std::make_unique<RetrieveEmailIdAvailabilityRequest>(
        signer(), QStringLiteral("bob@example.org"), serviceTag, QStringLiteral("demo-key"),
        serverBaseAddress(2), RetrieveEmailIdAvailability);
}

/// Posts one request; `done` is called with whether it succeeded.
using Post = std::function<void(const std::function<void(bool)>& done)>;

class OwnTransport : public QObject
{
public:
    OwnTransport()
    {
        connect(&mHandler, &NetworkHandler::emailIdAvailabilityResponse, this, [this](int status) {
            const auto done = mWaiting.back();
            mWaiting.pop_back();
            done(status == 0);
        });
    }
    void post(const std::function<void(bool)>& done)
    {
        mWaiting.push_back(done);
        mHandler.sendOwnedRequest(makeRequest(), RetrieveEmailIdAvailability);
    }

private:
    NetworkHandler mHandler{nullptr};
    std::vector<std::function<void(bool)>> mWaiting;
};

class BareManager : public QObject
{
public:
    void post(const std::function<void(bool)>& done)
    {
        const std::unique_ptr<OAuthRequest> request = makeRequest();
        QNetworkRequest message(request->getUrl());
        const auto headers = request->getHeaders();
        for (auto it = headers.cbegin(); it != headers.cend(); ++it)
            message.setRawHeader(it.key().toLatin1(), it.value().toLatin1());
        message.setRawHeader("rest-verb", request->getTypOfRequest().toLatin1());
        QNetworkReply* const reply = mManager.post(message, request->getHttpBody().toUtf8());
        connect(reply, &QNetworkReply::finished, this, [reply, done] {
            const bool free = reply->error() == QNetworkReply::NoError;
            reply->readAll();
            reply->deleteLater();
            done(free);
        });
    }

private:
    QNetworkAccessManager mManager;
};

double cpuSeconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

long residentKilobytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).simplified().split(' ').value(0).toLong();
    }
    return 0;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

void require(bool good)
{
    if (!good) {
        std::fprintf(stderr, "roundtrip: a call failed; run it inside kelaccount-emulator run\n");
        std::exit(1);
    }
}

// One after the other; milliseconds of each but the first, which connects.
std::vector<double> oneByOne(const Post& post, int count)
{
    std::vector<double> times;
    for (int i = 0; i <= count; ++i) {
        QElapsedTimer clock;
        clock.start();
        QEventLoop loop;
        bool good = false;
        post([&](bool free) {
            good = free;
            loop.quit();
        });
        loop.exec();
        require(good);
        if (i > 0)
            times.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
    }
    return times;
}

// `width` calls under way at any time; returns calls a second.
double atOnce(const Post& post, int width, int count)
{
    QElapsedTimer clock;
    QEventLoop loop;
    int started = 0;
    int finished = 0;
    std::function<void(bool)> onDone = [&](bool free) {
        require(free);
        if (++finished == count)
            loop.quit();
        if (started < count) {
            ++started;
            post(onDone);
        }
    };
    clock.start();
    for (; started < width;) {
        ++started;
        post(onDone);
    }
    loop.exec();
    return count / (static_cast<double>(clock.nsecsElapsed()) / 1e9);
}

struct Figures
{
    std::vector<double> p50;
    std::vector<double> mean;
    std::vector<double> rate;
    std::vector<double> cpuMicroseconds;
};

template <class Transport>
void measure(Figures& figures, int sequential, int parallel)
{
    Transport transport;
    const Post post = [&](const std::function<void(bool)>& done) { transport.post(done); };
    const std::vector<double> times = oneByOne(post, sequential);
    figures.p50.push_back(median(times));
    figures.mean.push_back(std::accumulate(times.begin(), times.end(), 0.0) / sequential);
    const double before = cpuSeconds();
    figures.rate.push_back(atOnce(post, 64, parallel));
    figures.cpuMicroseconds.push_back((cpuSeconds() - before) * 1e6 / parallel);
}

void printRow(const char* name, double own, double bare, const char* unit, double ratio)
{
    std::printf("| %s | %.3g %s | %.3g %s | %.2f |\n", name, own, unit, bare, unit, ratio);
}

// Each call with TCP, CONNECT and TLS before it, as after a pause.
void printFresh()
{
    constexpr int calls = 100;
    OwnTransport transport;
    const Post post = [&](const std::function<void(bool)>& done) { transport.post(done); };
    const double warm = median(oneByOne(post, calls));
    constexpr int always = -1;
    ServiceConnections::setIdleMilliseconds(always);
    const double fresh = median(oneByOne(post, calls));
    ServiceConnections::setIdleMilliseconds(ServiceConnections::idleMilliseconds);
    std::printf("\np50 of a call on a kept connection: %.3g ms, on a fresh one: %.3g ms\n", warm,
                fresh);
}

void printGrowth()
{
    OwnTransport transport;
    const Post post = [&](const std::function<void(bool)>& done) { transport.post(done); };
    atOnce(post, 16, 1000);
    const long early = residentKilobytes();
    atOnce(post, 16, 9000);
    const long late = residentKilobytes();
    std::printf("\nresident after 1,000 calls: %ld KiB, after 10,000: %ld KiB (%+ld KiB)\n", early,
                late, late - early);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const NetworkHandler installsTheProxy(nullptr);
    constexpr int repetitions = 9;
    Figures own;
    Figures bare;
    for (int i = 0; i < repetitions; ++i) {
        // The bare manager gets fewer calls: it waits through most of its time.
        measure<OwnTransport>(own, 200, 640);
        measure<BareManager>(bare, 40, 256);
        std::fprintf(stderr, "round %d of %d\r", i + 1, repetitions);
    }
    std::fprintf(stderr, "\n");
    std::printf("| | this library | bare QNetworkAccessManager | ratio |\n|---|---|---|---|\n");
    printRow("p50 of a warm call", median(own.p50), median(bare.p50), "ms",
             median(own.p50) / median(bare.p50));
    printRow("mean of a warm call", median(own.mean), median(bare.mean), "ms",
             median(own.mean) / median(bare.mean));
    printRow("64 calls at once", median(own.rate), median(bare.rate), "calls/s",
             median(own.rate) / median(bare.rate));
    printRow("client CPU per call", median(own.cpuMicroseconds), median(bare.cpuMicroseconds), "us",
             median(own.cpuMicroseconds) / median(bare.cpuMicroseconds));
    printFresh();
    printGrowth();
    return 0;
}
