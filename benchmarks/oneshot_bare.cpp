// SPDX-License-Identifier: LGPL-2.1-or-later
// A process that makes one post with a bare QNetworkAccessManager and ends: the request of
// oneshot_kelaccount, made and signed beforehand by oneshot_request. It takes the bytes of the
// reply.
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
    const QList<QByteArray> lines = qgetenv("ONESHOT_REQUEST").split('\n');
    QNetworkRequest request(QUrl(QString::fromLatin1(lines.value(0))));
    for (const QByteArray& line : lines.mid(1)) {
        const int colon = line.indexOf(": ");
        if (colon > 0)
            request.setRawHeader(line.left(colon), line.mid(colon + 2));
    }
    QNetworkReply* const reply = manager.post(request, QByteArray());
    QObject::connect(reply, &QNetworkReply::finished, &application, [reply] {
        const bool answered =
            reply->error() == QNetworkReply::NoError && reply->readAll().contains("<?xml");
        QCoreApplication::exit(answered ? 0 : 1);
    });
    return QCoreApplication::exec();
}
