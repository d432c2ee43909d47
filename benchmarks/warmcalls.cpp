// SPDX-License-Identifier: LGPL-2.1-or-later
#include "warmcalls.h"

#include "handwritten.h"

#include "rest/operations/downloadprofilerequest.h"
#include "rest/operations/retrieveemailidavailabilityrequest.h"
#include "rest/request/consumersignature.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/timestampmanager.h"
#include "rest/restrequesthandler.h"

#include <kelaccount/errorstatus.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <dlfcn.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <deque>
#include <unordered_map>

using namespace KelRestHandler;

namespace {

std::atomic<bool> connectsPromptly{false};
std::atomic<long> allocated{0};

} // namespace

// In the place of the C library's, which it calls: the manager knows nothing of it.
extern "C" __attribute__((visibility("default"))) int
connect(int descriptor, const sockaddr* address, socklen_t length)
{
    static const auto original =
        reinterpret_cast<int (*)(int, const sockaddr*, socklen_t)>(::dlsym(RTLD_NEXT, "connect"));
    const int on = 1;
    // Fails on what is no TCP socket, as it should.
    if (connectsPromptly)
        ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return original(descriptor, address, length);
}

extern "C" void* __libc_malloc(size_t size);
extern "C" __attribute__((visibility("default"))) void* malloc(size_t size)
{
    allocated.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

namespace WarmCalls {

namespace {

QString consumerKey()
{
    return QStringLiteral("demo-key");
}

QString consumerSecret()
{
    return QStringLiteral("demo-secret");
}

class Signer : public ISignatureProvider
{
public:
    QString getToken(QString const& /*consumerKey*/) override { return mToken; }
    QString createSignature(QString const& /*consumerKey*/, QString const& base,
                            bool /*useToken*/) override
    {
        return consumerSignature(base, consumerSecret());
    }
    QString getTimeStamp() override
    {
        return TimeStampManager::clockOf(serverBaseAddress(2)).timeStamp();
    }
    void setUser(const TokenCreationResponse& answer)
    {
        mToken = answer.tokenInfo.token;
        mAccountId = answer.accountInfo.accountId;
    }
    QString accountId() const { return mAccountId; }
    QString token() const { return mToken; }

private:
    QString mToken;
    QString mAccountId;
};

Signer& signer()
{
    static Signer instance;
    return instance;
}

void require(bool good)
{
    if (!good) {
        std::fprintf(stderr, "a call failed; run this inside kelaccount-emulator run\n");
        std::exit(1);
    }
}

const QByteArray& serviceTag()
{
    static const QByteArray tag = QByteArray(400, 'x').toBase64();
    return tag;
}

class Library : public Caller
{
public:
    Library()
    {
        connect(&mHandler, &ServiceSignals::downloadProfileResponse, this,
                [this](const DownloadProfileResponse& answer) { onAnswer(answer.status); });
        connect(&mHandler, &ServiceSignals::emailIdAvailabilityResponse, this,
                [this](int status) { onAnswer(status); });
    }

protected:
    void await(int result, const Done& done, OAuthRequest* handedOut = nullptr)
    {
        require(result == 0);
        mWaiting.emplace(mHandler.lastRequestId(),
                         Waiting{done, std::unique_ptr<OAuthRequest>(handedOut)});
    }
    RESTRequestHandler mHandler;

private:
    struct Waiting
    {
        Done done;
        std::unique_ptr<OAuthRequest> request;
    };

    void onAnswer(int status)
    {
        const auto waiting = mWaiting.find(mHandler.answering().requestId);
        require(waiting != mWaiting.end());
        const Done done = std::move(waiting->second.done);
        mWaiting.erase(waiting);
        done(status == KelAccount::ErrorNone);
    }

    std::unordered_map<int, Waiting> mWaiting;
};

class LibraryProfile : public Library
{
public:
    void call(const Done& done) override
    {
        OAuthRequest* request = nullptr;
        const int result = mHandler.sendDownloadProfileRequest(
            signer(), signer().accountId(), consumerKey(), serverBaseAddress(2), &request);
        await(result, done, request);
    }
};

class LibraryQuestion : public Library
{
public:
    void call(const Done& done) override
    {
        await(mHandler.sendisEmailAddAvailableRequest(signer(), QStringLiteral("bob@example.org"),
                                                      serviceTag(), consumerKey(),
                                                      serverBaseAddress(2)),
              done);
    }
};

struct Message
{
    QNetworkRequest request;
    QByteArray body;
};

Message messageOf(const OAuthRequest& request)
{
    Message message{QNetworkRequest(request.getUrl()), request.getHttpBody().toUtf8()};
    const auto headers = request.getHeaders();
    for (auto it = headers.cbegin(); it != headers.cend(); ++it)
        message.request.setRawHeader(it.key().toLatin1(), it.value().toLatin1());
    message.request.setRawHeader("rest-verb", request.getTypOfRequest().toLatin1());
    // As the library sends it, so that the same bytes come back.
    message.request.setRawHeader("Accept-Encoding", "identity");
    return message;
}

class Manager : public Caller
{
public:
    void provideFor(int calls) override
    {
        while (static_cast<int>(mMessages.size()) < calls)
            mMessages.push_back(make());
    }
    void call(const Done& done) override
    {
        provideFor(1);
        const Message message = std::move(mMessages.front());
        mMessages.pop_front();
        QNetworkReply* const reply = mManager.post(message.request, message.body);
        connect(reply, &QNetworkReply::finished, this, [reply, done] {
            const bool good = reply->error() == QNetworkReply::NoError;
            reply->readAll();
            reply->deleteLater();
            done(good);
        });
    }

protected:
    virtual Message make() = 0;

private:
    QNetworkAccessManager mManager;
    std::deque<Message> mMessages;
};

class PromptManager : public Manager
{
public:
    PromptManager() { connectsPromptly = true; }
    ~PromptManager() override { connectsPromptly = false; }

protected:
    Message make() override
    {
        return messageOf(DownloadProfileRequest(signer(), signer().accountId(), consumerKey(),
                                                serverBaseAddress(2), DownloadProfile));
    }
};

class HandWrittenProfile : public Caller
{
public:
    HandWrittenProfile()
        : mCredentials{OAuthRealm, consumerKey().toLatin1(), consumerSecret().toLatin1() + '&',
                       signer().token().toLatin1()}
    {
        connectsPromptly = true;
        // What a program knows beforehand: where it asks, and how it introduces itself.
        mMessage = messageOf(DownloadProfileRequest(signer(), signer().accountId(), consumerKey(),
                                                    serverBaseAddress(2), DownloadProfile))
                       .request;
        mAddress = mMessage.url().toEncoded();
    }
    ~HandWrittenProfile() override { connectsPromptly = false; }

    void call(const Done& done) override
    {
        QNetworkRequest message = mMessage;
        message.setRawHeader("Authorization", HandWritten::authorization(mAddress, mCredentials));
        QNetworkReply* const reply = mManager.post(message, QByteArray());
        connect(reply, &QNetworkReply::finished, this, [reply, done] {
            const bool good = reply->error() == QNetworkReply::NoError &&
                              HandWritten::readProfile(reply->readAll());
            reply->deleteLater();
            done(good);
        });
    }

private:
    QNetworkAccessManager mManager;
    QNetworkRequest mMessage;
    QByteArray mAddress;
    HandWritten::Credentials mCredentials;
};

class PlainManager : public Manager
{
protected:
    Message make() override
    {
        return messageOf(RetrieveEmailIdAvailabilityRequest(
            signer(), QStringLiteral("bob@example.org"), serviceTag(), consumerKey(),
            serverBaseAddress(2), RetrieveEmailIdAvailability));
    }
};

} // namespace

void signIn()
{
    RESTRequestHandler handler; // installs the proxy for the whole process
    OAuthRequest* request = nullptr;
    QEventLoop loop;
    bool good = false;
    QObject::connect(&handler, &ServiceSignals::signInResponse, &loop,
                     [&](const TokenCreationResponse& answer) {
                         good = answer.status == KelAccount::ErrorNone;
                         signer().setUser(answer);
                         loop.quit();
                     });
    require(handler.sendSignInRequest(signer(), QStringLiteral("alice"), QStringLiteral("secret"),
                                      consumerKey(), serverBaseAddress(2), &request) == 0);
    const std::unique_ptr<OAuthRequest> kept(request);
    loop.exec();
    require(good);
}

std::unique_ptr<Caller> library()
{
    return std::make_unique<LibraryProfile>();
}

std::unique_ptr<Caller> promptManager()
{
    return std::make_unique<PromptManager>();
}

std::unique_ptr<Caller> handWritten()
{
    return std::make_unique<HandWrittenProfile>();
}

std::unique_ptr<Caller> libraryWithDocument()
{
    return std::make_unique<LibraryQuestion>();
}

std::unique_ptr<Caller> plainManager()
{
    return std::make_unique<PlainManager>();
}

std::vector<double> oneByOne(Caller& caller, int count)
{
    std::vector<double> times;
    for (int i = 0; i < count; ++i) {
        QElapsedTimer clock;
        clock.start();
        QEventLoop loop;
        bool good = false;
        caller.call([&](bool succeeded) {
            good = succeeded;
            loop.quit();
        });
        loop.exec();
        require(good);
        times.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
    }
    return times;
}

double atOnce(Caller& caller, int width, int count)
{
    QElapsedTimer clock;
    QEventLoop loop;
    int started = 0;
    int finished = 0;
    Done onDone = [&](bool good) {
        require(good);
        if (++finished == count)
            loop.quit();
        if (started < count) {
            ++started;
            caller.call(onDone);
        }
    };
    clock.start();
    while (started < std::min(width, count)) {
        ++started;
        caller.call(onDone);
    }
    loop.exec();
    return count / (static_cast<double>(clock.nsecsElapsed()) / 1e9);
}

double cpuSeconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

long allocations()
{
    return allocated;
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

} // namespace WarmCalls
