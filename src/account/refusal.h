// SPDX-License-Identifier: LGPL-2.1-or-later
// How calls are refused: each type of them by a signal of its own, which stands in a table.
#pragma once

#include "rest/picture/captchapicture.h"

#include <kelaccount/errorstatus.h>

#include <QByteArray>

#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

namespace KelAccount {

/// A call of this type is refused by this signal, with the status and nothing in whatever else it
/// carries.
template <class Type, class Sender, class... Carried>
struct Refusal
{
    Type type;
    void (Sender::*signal)(ErrorStatus, Carried...);
};
template <class Type, class Sender, class... Carried>
Refusal(Type, void (Sender::*)(ErrorStatus, Carried...)) -> Refusal<Type, Sender, Carried...>;

template <class Type, class Sender, class... Carried>
void refuse(Sender& sender, const Refusal<Type, Sender, Carried...>& refusal, ErrorStatus status)
{
    (sender.*refusal.signal)(status, std::decay_t<Carried>()...);
}

/// Only who makes a picture, a null one too, needs Qt Gui.
template <class Type, class Sender>
void refuse(Sender& sender, const Refusal<Type, Sender, const QPixmap&>& refusal,
            ErrorStatus status)
{
    KelRestHandler::withCaptchaPicture(
        {}, [&](const QPixmap& none) { (sender.*refusal.signal)(status, none); });
}

/// Emits the signal of the type. False when the table has none.
template <class Sender, class Type, class... Rows>
bool refuseBy(const std::tuple<Rows...>& table, Sender& sender, Type type, ErrorStatus status)
{
    const auto refuseIfOfType = [&](const auto& row) {
        if (row.type != type)
            return false;
        refuse(sender, row, status);
        return true;
    };
    return std::apply([&](const auto&... rows) { return (refuseIfOfType(rows) || ...); }, table);
}

/// Whether the table has a row for each type up to `end`, in their order. Its declaration ends
/// with a static_assert of this.
template <class Type, class... Rows>
constexpr bool coversAllUpTo(Type end, const std::tuple<Rows...>& table)
{
    std::size_t next = 0;
    const auto isNext = [&next](Type type) { return type == Type(next++); };
    return std::apply([&](const Rows&... rows) { return (isNext(rows.type) && ...); }, table) &&
           next == std::size_t(end);
}

} // namespace KelAccount
