// SPDX-License-Identifier: LGPL-2.1-or-later
// The deferred answers of calls that were refused.
#include "account/kelaccountsprivate.h"
#include "account/tostatus.h"
#include "common/logging.h"
#include "rest/picture/captchapicture.h"

#include <tuple>
#include <type_traits>
#include <utility>

namespace KelAccount {

namespace {

// Ill-formed, and the compiler names the type, when the rows leave one out or are out of order.
template <KelAccountsPrivate::ResponseType type>
struct RowOf
{
    static constexpr bool isThere = std::get<size_t{type}>(refusals).type == type;
    static_assert(isThere, "this type has no row in refusals, or not in its place");
};

template <size_t... index>
constexpr size_t rowCount(std::index_sequence<index...> /*all*/)
{
    return (size_t{RowOf<KelAccountsPrivate::ResponseType(index)>::isThere} + ... + 0);
}

static_assert(rowCount(std::make_index_sequence<KelAccountsPrivate::EndOfResponseTypes>()) ==
                  std::tuple_size_v<decltype(refusals)>,
              "refusals has a row too many");

template <class... Carried>
void refuse(KelAccountsPrivate* from, void (KelAccountsPrivate::*signal)(ErrorStatus, Carried...),
            ErrorStatus status)
{
    Q_EMIT(from->*signal)(status, std::decay_t<Carried>()...);
}

// Only who makes a picture, a null one too, needs Qt Gui.
void refuse(KelAccountsPrivate* from,
            void (KelAccountsPrivate::*signal)(ErrorStatus, const QPixmap&), ErrorStatus status)
{
    KelRestHandler::withCaptchaPicture(QByteArray(), [from, signal, status](const QPixmap& none) {
        Q_EMIT(from->*signal)(status, none);
    });
}

} // namespace

void KelAccountsPrivate::deferError(Call call, ErrorStatus error)
{
    const auto send = [this, call, error] {
        AnswerDetails details;
        details.status = error;
        answer(call.id, details, [this, call, error] { sendErrorResponse(call.type, error); });
    };
    QMetaObject::invokeMethod(this, send, Qt::QueuedConnection);
}

void KelAccountsPrivate::sendErrorResponse(ResponseType type, int error)
{
    const auto sendIfOfType = [this, type, error](const auto& refusal) {
        if (refusal.type != type)
            return false;
        refuse(this, refusal.signal, toStatus(error));
        return true;
    };
    const bool sent = std::apply(
        [&sendIfOfType](const auto&... rows) { return (sendIfOfType(rows) || ...); }, refusals);
    if (!sent)
        qCWarning(logAccount, "Failed to send some response...!!!! Is client application still "
                              "waiting for this response??");
}

} // namespace KelAccount
