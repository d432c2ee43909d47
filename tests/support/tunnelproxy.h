// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QNetworkProxy>
#include <QTcpServer>
#include <QTcpSocket>

/// An HTTP proxy on loopback that tunnels every host to one port of this machine.
class TunnelProxy : public QObject
{
    Q_OBJECT

public:
    explicit TunnelProxy(quint16 target);

    quint16 port() const { return mServer.serverPort(); }
    int tunnels() const { return mTunnels; }
    /// How many it was asked for.
    int asked() const { return mAsked; }
    /// Says nothing to whoever asks from now on.
    void hang(bool hangs) { mHangs = hangs; }
    /// Closes the connection of whoever asks from now on, without a word.
    void hangUp(bool hangsUp) { mHangsUp = hangsUp; }
    /// Opens tunnels only for this "Proxy-Authorization:".
    void demand(const QByteArray& authorization) { mDemanded = authorization; }
    /// Answers every CONNECT with these bytes instead of a tunnel, and closes.
    void refuseWith(const QByteArray& answer) { mRefusal = answer; }

private:
    void onConnection();
    void tunnel(QTcpSocket* client);

    quint16 mTarget;
    QByteArray mDemanded;
    QByteArray mRefusal;
    int mTunnels = 0;
    int mAsked = 0;
    bool mHangs = false;
    bool mHangsUp = false;
    QTcpServer mServer;
};
