// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/literals.h"
#include "support/scriptedserver.h"
#include "support/tunnelproxy.h"

#include <QNetworkProxy>

#include <memory>

/// The service on loopback: as it is, behind TLS, or behind TLS and a proxy.
struct Service
{
    enum Way { Plain, Tls, Tunnelled };

    /// With a certificate, and its key, where there is TLS.
    explicit Service(Way way, const QSslConfiguration& certificate = QSslConfiguration())
        : server(certificate),
          proxy(way == Tunnelled ? std::make_unique<TunnelProxy>(server.port()) : nullptr)
    {
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
        if (proxy)
            useProxyAs(QString(), QString());
    }
    ~Service() { QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy)); }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    void useProxyAs(const QString& user, const QString& password) const
    {
        QNetworkProxy::setApplicationProxy(
            QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1"_s, proxy->port(), user, password));
    }

    QString base() const { return proxy ? "https://service.example/rest/1.0/"_s : server.base(); }

    ScriptedServer server;
    std::unique_ptr<TunnelProxy> proxy;
};
