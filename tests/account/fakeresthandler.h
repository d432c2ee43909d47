// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/restrequesthandler.h"

#include <QString>
#include <QVariantList>
#include <QVector>

#include <functional>

namespace KelTest {

/// What the orchestrator handed to the REST layer.
struct SentRequest
{
    KelRestHandler::NetRequestType type;
    QVariantList arguments; ///< besides signer, key and address
    KelRestHandler::ISignatureProvider* signer;
    QString consumerKey;
    QString baseAddress;
};

/// Replaces RESTRequestHandler: nothing is sent, everything is written down, and answers are what
/// the test emits from latest().
namespace FakeRestHandler {

void reset(); ///< nothing sent yet, and nothing is refused
void refuseRequests();
const QVector<SentRequest>& sent();
/// The handler of the orchestrator that was made last.
KelRestHandler::RESTRequestHandler& latest();

/// The number of the last, and of those that were handed out how many are not deleted yet.
int lastRequestId();
int requestsAlive();

/// Emits a signal of latest() as the answer to that request; without this, to none that is known.
void answer(const KelRestHandler::AnsweredRequest& request,
            const std::function<void()>& emitSignal);
/// Which requests the orchestrator gave up.
const QVector<int>& abandoned();

} // namespace FakeRestHandler
} // namespace KelTest
