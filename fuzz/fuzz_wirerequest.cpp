// SPDX-License-Identifier: LGPL-2.1-or-later
// A request as it comes to the emulated service: head, empty line, body.
#include "fuzztarget.h"

#include "emulator/oauth/authorization.h"
#include "emulator/service/accountservice.h"
#include "emulator/service/xmlelement.h"
#include "emulator/wire/requesthead.h"

#include <string>

namespace KelFuzz::WireRequests {

namespace {

using namespace KelEmulator;

std::unique_ptr<AccountService> makeService()
{
    ServiceSettings settings;
    settings.consumerKey = "key";
    settings.consumerSecret = "secret";
    std::string problem;
    auto store = Store::open(":memory:", problem);
    require(store != nullptr);
    return std::make_unique<AccountService>(std::move(settings), std::move(store));
}

WireRequest requestOf(const RequestHead& head, const std::string& body)
{
    WireRequest request;
    request.target = head.target();
    request.host = head.header("Host");
    request.authorization = head.header("Authorization");
    request.restVerb = head.header("rest-verb");
    request.contentType = head.header("Content-Type");
    request.acceptLanguage = head.header("Accept-Language");
    request.body = body;
    return request;
}

void run(const uint8_t* data, size_t size)
{
    static const auto service = makeService();
    const std::string text(reinterpret_cast<const char*>(data), size);
    const size_t end = text.find(RequestHead::end);
    const size_t bodyAt = end == std::string::npos ? text.size() : end + RequestHead::end.size();
    RequestHead head;
    const int status = head.read(text.substr(0, bodyAt));
    require(status == 0 || (status >= 400 && status <= 499));
    const std::string body = text.substr(bodyAt);

    XmlElement root;
    std::string problem;
    require(readXml(body, root, problem) == problem.empty());
    if (status != 0)
        return;
    require(!head.method().empty() && !head.target().empty());
    const WireRequest request = requestOf(head, body);
    Authorization authorization;
    problem.clear();
    require(readAuthorization(request.authorization, authorization, problem) == problem.empty());
    // Nobody knows the secret, so nothing is ever done.
    problem.clear();
    Trace trace;
    const Reply reply = service->answer(request, problem, trace);
    require(!problem.empty() && reply.status >= 400);
}

} // namespace

} // namespace KelFuzz::WireRequests

KEL_FUZZ_TARGET(wirerequest, KelFuzz::WireRequests::run)
