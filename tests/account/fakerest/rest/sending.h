// SPDX-License-Identifier: LGPL-2.1-or-later
// In the place of src/rest/sending.h: send operations write down what they are given, see
// fakeresthandler.h.
#pragma once

#include "rest/restrequesthandler.h"

#include <QVariantList>

#include <type_traits>

namespace KelTest::FakeRestHandler {

/// The arguments end in key and base address. 0 as long as requests are not refused.
int take(KelRestHandler::NetRequestType type, KelRestHandler::ISignatureProvider& signer,
         QVariantList arguments);
/// The request that take() took last, for the caller.
KelRestHandler::OAuthRequest* handOut();

/// Nothing for what only the plugin sends: no test of the orchestrator looks at that.
template <class Argument>
QVariant asVariant(const Argument& argument)
{
    if constexpr (std::is_enum_v<Argument>)
        return int(argument);
    else if constexpr (std::is_constructible_v<QVariant, const Argument&>)
        return QVariant(argument);
    else
        return {};
}

} // namespace KelTest::FakeRestHandler

namespace KelRestHandler {

template <NetRequestType type, class... Arguments>
int RESTRequestHandler::send(ISignatureProvider& provider, const Arguments&... arguments)
{
    using namespace KelTest::FakeRestHandler;
    return take(type, provider, {asVariant(arguments)...});
}

template <NetRequestType type, class... Arguments>
int RESTRequestHandler::send(OAuthRequest** out, ISignatureProvider& provider,
                             const Arguments&... arguments)
{
    const int result = send<type>(provider, arguments...);
    if (result == 0)
        *out = KelTest::FakeRestHandler::handOut();
    return result;
}

} // namespace KelRestHandler
