// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/common/percentencoding.h"
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "rest/request/servicehosts.h"

namespace KelEmulator {

namespace {

constexpr const char* siteAddress = "https://" KELACCOUNT_HOST_PRODUCTION;

/// The items that clients may send, in this order; the last one they must.
constexpr const char* queryNames[] = {"lang", "country", "format"};

bool isInOrder(const NamedValues& query)
{
    size_t next = 0;
    for (const char* name : queryNames) {
        if (next < query.size() && query[next].first == name && !query[next].second.empty())
            ++next;
    }
    return next > 0 && next == query.size() && query.back().first == "format";
}

} // namespace

Reply serviceQuery(const Call& call)
{
    const std::string& service = call.pathValues.front();
    if (!Accounts::isWellFormed(service))
        return errorReply(404, "resourceNotFound", "There is no such service");
    const bool isKnownFormat = !call.query.empty() && (call.query.back().second == "html" ||
                                                       call.query.back().second == "text");
    if (!isInOrder(call.query) || !isKnownFormat) {
        return errorReply(400, "invalidUrl",
                          "The query has lang, country and format=html or format=text, in this "
                          "order, the first two only with a value");
    }

    std::string query;
    for (const auto& [name, text] : call.query)
        query += (query.empty() ? "?" : "&") + name + '=' + percentEncode(text);
    const auto page = [&](const std::string& path) { return siteAddress + path + query; };
    const std::string ownPath = "/services/" + percentEncode(service);
    return success("serviceQueryResponse",
                   xmlElement("serviceUrl", siteAddress + ownPath) +
                       xmlElement("tosUrl", page("/terms")) +
                       xmlElement("privacyPolicyUrl", page("/privacy")) +
                       xmlElement("serviceSpecificTosUrl", page(ownPath + "/terms")));
}

} // namespace KelEmulator
