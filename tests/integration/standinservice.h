// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "operations/facadecalls.h"
#include "support/scriptedserver.h"

#include <QStringList>
#include <QVector>

#include <functional>

/// An account service without TLS in this process, which the whole library talks to: only the table
/// of the servers is replaced.
namespace KelTest {

/// One operation, from the call to the signals.
using ServedOperation = facadecalls::Operation;

const QVector<ServedOperation>& servedOperations();

/// What goes wrong with one request.
enum class Disturbance { None, Delay, Hang, Close, CloseInHeaders, CloseInBody, NotXml, Status500 };

class StandInService
{
public:
    explicit StandInService(const QHostAddress& address = QHostAddress::LocalHost);

    /// Under another name of this machine, for facades and clients that are initialised after it.
    void callItself(const QString& host);

    /// Decides about every request; without it all is well.
    std::function<Disturbance(const WireRequest&)> disturb;
    /// Answers every request in the service's place.
    std::function<Reaction(const WireRequest&)> replyBy;

    const QList<WireRequest>& requests() const { return mServer.requests(); }
    int openConnections() const { return mServer.openConnections(); }
    /// How many have brought a request.
    int usedConnections() const { return mServer.usedConnections(); }
    void closeConnections() { mServer.closeConnections(); }
    /// Requests for something that no operation asks for.
    QStringList problems() const { return mProblems + mServer.problems(); }

private:
    Reaction answer(const WireRequest& request);

    QStringList mProblems;
    ScriptedServer mServer;
};

} // namespace KelTest
