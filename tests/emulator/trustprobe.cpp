// SPDX-License-Identifier: LGPL-2.1-or-later
// Posts one request to the service through the proxy of the environment, as any Qt program would,
// and prints the reply's network error and HTTP status.
#include "rest/request/servicehosts.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTimer>

#include <cstdio>

int main(int count, char** arguments)
{
    QCoreApplication application(count, arguments);
    const QUrl proxy(QString::fromLocal8Bit(qgetenv("https_proxy")));
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpProxy, proxy.host(), static_cast<quint16>(proxy.port(0))));
    QNetworkAccessManager manager;
    QNetworkRequest request(
        QUrl(QStringLiteral("https://" KELACCOUNT_HOST_PRODUCTION "/rest/1.0/availability/bob")));
    request.setRawHeader("Content-Type", "application/x-www-form-urlencoded");
    QNetworkReply* const reply = manager.post(request, QByteArray());
    QObject::connect(reply, &QNetworkReply::finished, &application, [&application, reply] {
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        std::printf("error %d status %d\n", static_cast<int>(reply->error()), status);
        application.quit();
    });
    QTimer::singleShot(30000, &application, [] { QCoreApplication::exit(1); });
    return application.exec();
}
