// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/devicefacts.h"
#include "rest/reply/servicesignals.h"
#include "rest/request/netrequesttype.h"
#include "rest/request/oauthrequest.h"
#include "rest/request/resturlhelper.h"

#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>

namespace KelRestHandler {

/// The description of an operation. Its request, the body of its send operation, its place in the
/// processor's table and the known roots of replies follow from it. It is a specialisation for the
/// type, in a file with the request's class, and says nothing of what is as in
/// DescriptionDefaults. Each of them has
///  - Request, the class;
///  - verb, the REST verb;
///  - creationFailure, logged when there is no memory for the request.
template <NetRequestType type>
struct Description;

struct DescriptionDefaults
{
    // The address is folder(base) of RestUrlHelper, the identifier and the tail.
    static constexpr int identifier = -1; ///< which of the request's arguments; none
    static constexpr bool tokenIdentifies = false;
    static constexpr char tail[] = "";

    static constexpr bool tokenSigns = false;
    static constexpr int language = -1; ///< which argument is the "Accept-Language"; it is "en"

    // Where there is a document, it is document(arguments...). What it needs besides comes first:
    // the DeviceFacts, or the OAuthRequest.

    /// Elements that the service answers with.
    static constexpr std::array<const char*, 0> roots{};

    /// The signal of ServiceSignals that answers: with a structure, the status alone, or the status
    /// and a value. Structure and value are filled by read(into, element), or, when there is more
    /// to say, by read(into, details, element). What is answered otherwise has answer(processor,
    /// response).
    static constexpr std::nullptr_t signal = nullptr;
    static constexpr std::nullptr_t signalBefore = nullptr; ///< goes out first, with the status
    static constexpr bool takesTokensTime = false; ///< the structure's server time is the token's

    /// Whether anybody could use the answer.
    static bool isOfUse() { return true; }
};

/// "Accept-Language" of the operations whose answers are not shown to anybody, or whose caller
/// gives no language.
inline QString defaultLanguage()
{
    return QStringLiteral("en");
}

/// What every request has from its description.
template <NetRequestType type>
class DescribedRequest : public OAuthRequest
{
public:
    using OAuthRequest::OAuthRequest;

    QString getHttpRequestType() final { return QLatin1String(Description<type>::verb); }
    bool isTokenRequired() final { return Description<type>::tokenSigns; }
};

/// The request of an operation with these arguments, which are kept as the types that stand here.
template <NetRequestType type, class... Arguments>
class RequestOf : public DescribedRequest<type>
{
    using Described = Description<type>;

public:
    RequestOf(ISignatureProvider& provider, Arguments const&... arguments,
              QString const& consumerKey, QString const& baseAddress, NetRequestType number)
        : DescribedRequest<type>(provider, consumerKey, baseAddress, number,
                                 languageAmong(arguments...)),
          mArguments(arguments...), mDevice(deviceToTellOf())
    {
        this->createOAuthRequest();
    }

    QString createXMLMessage() final
    {
        return std::apply([this](const auto&... arguments) { return documentOf(arguments...); },
                          mArguments);
    }

    QString getRestURL() final
    {
        QString address = Described::folder(this->baseAddress());
        if constexpr (Described::tokenIdentifies)
            address += this->provider().getToken(this->getConsumerKey());
        else if constexpr (Described::identifier >= 0)
            address += this->inPath(std::get<Described::identifier>(mArguments));
        return address + QLatin1String(Described::tail);
    }

private:
    template <class D, class = void>
    struct HasDocument : std::false_type
    {
    };
    template <class D>
    struct HasDocument<D, std::void_t<decltype(&D::document)>> : std::true_type
    {
    };

    template <class... First>
    static constexpr bool documentTakes()
    {
        if constexpr (HasDocument<Described>::value)
            return std::is_invocable_v<decltype(&Described::document), First...,
                                       Arguments const&...>;
        return false;
    }

    static DeviceFacts deviceToTellOf()
    {
        if constexpr (documentTakes<const DeviceFacts&>())
            return DeviceFacts::read();
        return {};
    }

    static QString languageAmong(Arguments const&... arguments)
    {
        if constexpr (Described::language >= 0)
            return std::get<Described::language>(std::tie(arguments...));
        return defaultLanguage();
    }

    QString documentOf(Arguments const&... arguments)
    {
        if constexpr (documentTakes<const DeviceFacts&>())
            return Described::document(mDevice, arguments...);
        else if constexpr (documentTakes<OAuthRequest&>())
            return Described::document(*this, arguments...);
        else if constexpr (HasDocument<Described>::value)
            return Described::document(arguments...);
        return {};
    }

    std::tuple<Arguments...> mArguments;
    DeviceFacts mDevice; ///< as it was when the request was made; empty where nothing is told of it
};

} // namespace KelRestHandler
