// SPDX-License-Identifier: LGPL-2.1-or-later
// A process that makes one post with a bare QNetworkAccessManager to the same address and ends. It
// does not sign, so the emulator answers 401: a whole round trip as well.
#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc > 1)
        return 0; // its start is measured alone
    const QUrl proxy(qEnvironmentVariable("https_proxy"));
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpProxy, proxy.host(), static_cast<quint16>(proxy.port())));
    QNetworkAccessManager manager;
    QNetworkRequest request(QUrl(QStringLiteral(SERVICE_ADDRESS "availability/bob")));
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QStringLiteral("application/x-www-form-urlencoded"));
    QNetworkReply* const reply = manager.post(request, QByteArray());
    QObject::connect(reply, &QNetworkReply::finished, &application, [reply] {
        const bool answered = reply->readAll().contains("<?xml");
        QCoreApplication::exit(answered ? 0 : 1);
    });
    return QCoreApplication::exec();
}
