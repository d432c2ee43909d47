// SPDX-License-Identifier: LGPL-2.1-or-later
#include "journey_surroundings.h"

#include "rest/request/servicehosts.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkProxy>
#include <QNetworkReply>

#include <curl/curl.h>

#include <cstdio>
#include <cstdlib>

namespace {

// Without the REST verb in its headers a request is refused, after the same round trip.
constexpr const char* serviceAddress = "https://" KELACCOUNT_HOST_PRODUCTION "/rest/1.0/journey";
constexpr int refused = 405;

QByteArray finished(QNetworkReply* reply)
{
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply->isFinished())
        loop.exec();
    reply->deleteLater();
    return reply->readAll();
}

class BareManager : public Carrier
{
public:
    bool carry(const Exchanges& exchanges) override
    {
        bool good = true;
        for (const int size : exchanges) {
            QNetworkRequest request((QUrl(QLatin1String(serviceAddress))));
            request.setHeader(QNetworkRequest::ContentTypeHeader,
                              QByteArray("application/x-www-form-urlencoded"));
            QNetworkReply* const reply = mManager.post(request, QByteArray(size, 'x'));
            finished(reply);
            good = good &&
                   reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == refused;
        }
        return good;
    }

private:
    QNetworkAccessManager mManager;
};

size_t ignore(char* /*bytes*/, size_t size, size_t count, void* /*nobody*/)
{
    return size * count;
}

class Curl : public Carrier
{
public:
    Curl() : mHandle(curl_easy_init(), &curl_easy_cleanup)
    {
        curl_easy_setopt(mHandle.get(), CURLOPT_URL, serviceAddress);
        curl_easy_setopt(mHandle.get(), CURLOPT_CAINFO, std::getenv("KELACCOUNT_EMULATOR_CA"));
        curl_easy_setopt(mHandle.get(), CURLOPT_WRITEFUNCTION, &ignore);
    }

    bool carry(const Exchanges& exchanges) override
    {
        bool good = true;
        for (const int size : exchanges) {
            const QByteArray body(size, 'x');
            long status = 0;
            curl_easy_setopt(mHandle.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(size));
            curl_easy_setopt(mHandle.get(), CURLOPT_POSTFIELDS, body.constData());
            good = good && curl_easy_perform(mHandle.get()) == CURLE_OK &&
                   curl_easy_getinfo(mHandle.get(), CURLINFO_RESPONSE_CODE, &status) == CURLE_OK &&
                   status == refused;
        }
        return good;
    }

private:
    std::unique_ptr<CURL, void (*)(CURL*)> mHandle;
};

} // namespace

std::unique_ptr<Carrier> Carrier::bareManager()
{
    return std::make_unique<BareManager>();
}

std::unique_ptr<Carrier> Carrier::curl()
{
    return std::make_unique<Curl>();
}

Administration::Administration() : mAddress(qEnvironmentVariable("KELACCOUNT_EMULATOR_ADMIN"))
{
    mManager.setProxy(QNetworkProxy(QNetworkProxy::NoProxy));
}

void Administration::require(const QString& name, bool good)
{
    if (good)
        return;
    std::fprintf(stderr, "journey: \"%s\" failed; run it inside kelaccount-emulator run\n",
                 qPrintable(name));
    std::exit(1);
}

QByteArray Administration::get(const QString& path)
{
    return finished(mManager.get(QNetworkRequest(QUrl(mAddress + path))));
}

bool Administration::post(const QString& path, const QByteArray& body)
{
    QNetworkRequest request(QUrl(mAddress + path));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/json"));
    QNetworkReply* const reply = mManager.post(request, body);
    finished(reply);
    return reply->error() == QNetworkReply::NoError;
}

bool Administration::setLatency(int milliseconds)
{
    return post(QStringLiteral("/network"),
                "{\"latency\": \"" + QByteArray::number(milliseconds) + "ms\"}");
}

QString Administration::captchaText(const QString& id)
{
    return QString::fromUtf8(get(QStringLiteral("/captchas/") + id)).trimmed();
}

void Administration::waitForOperation(int operation, int times)
{
    int found = 0;
    while (found < times) {
        found = 0;
        const QJsonArray requests =
            QJsonDocument::fromJson(get(QStringLiteral("/requests"))).array();
        for (const QJsonValue value : requests) {
            const QJsonObject request = value.toObject();
            found += request.value(QLatin1String("operation")).toInt() == operation ? 1 : 0;
        }
    }
}

int Administration::count(const char* what)
{
    const QJsonObject network = QJsonDocument::fromJson(get(QStringLiteral("/network"))).object();
    return network.value(QLatin1String(what)).toInt();
}

int Administration::roundTrips()
{
    return count("roundTrips");
}

int Administration::handshakes()
{
    return count("handshakes");
}

Exchanges Administration::newExchanges()
{
    Exchanges exchanges;
    const QByteArray text = get(QStringLiteral("/requests?after=%1").arg(mSeen));
    for (const QJsonValue value : QJsonDocument::fromJson(text).array()) {
        const QJsonObject request = value.toObject();
        mSeen = qMax(mSeen, request.value(QLatin1String("number")).toInt());
        exchanges.append(request.value(QLatin1String("bodyBytes")).toInt());
    }
    return exchanges;
}
