// SPDX-License-Identifier: LGPL-2.1-or-later
// A request as it comes to the emulated service: head, empty line, body. What nobody can guess is
// put in: the same request comes a second time as one that is signed.
#include "fuzztarget.h"

#include "emulator/oauth/authorization.h"
#include "emulator/oauth/signature.h"
#include "emulator/service/accountservice.h"
#include "emulator/service/administration.h"
#include "emulator/service/xmlelement.h"
#include "emulator/wire/requesthead.h"

#include <ctime>
#include <string>

namespace KelFuzz::WireRequests {

namespace {

using namespace KelEmulator;

constexpr auto consumerSecret = "secret";
constexpr std::int64_t timeOfRequests = 1700000000;

std::unique_ptr<AccountService> makeService()
{
    ServiceSettings settings;
    settings.consumerKey = "key";
    settings.consumerSecret = consumerSecret;
    std::string problem;
    auto store = Store::open(":memory:", problem);
    require(store != nullptr);
    return std::make_unique<AccountService>(std::move(settings), std::move(store));
}

// A user whose token requests may name.
void fillTables(AccountService& service)
{
    std::string problem;
    require(
        addAccounts(service.store(), R"({"userName": "alice", "password": "secret1"})", problem));
}

struct User
{
    std::string account;
    std::string token;
};

User signIn(AccountService& service)
{
    return service.store().with([&](Tables& tables) {
        const std::optional<Account> account = findAccount(tables, "alice");
        require(account.has_value());
        return User{account->id(), tables.tokens.create(account->key, service.clock().now()).token};
    });
}

void replace(std::string& text, std::string_view name, const std::string& value)
{
    const size_t at = text.find(name);
    if (at != std::string::npos)
        text.replace(at, name.size(), value);
}

// In the form of the service's, with a nonce of its own and the signature that fits.
WireRequest signedOf(WireRequest request, const std::string& document, const std::string& token)
{
    static unsigned nonce = 0;
    const auto header = [&](const std::string& signature) {
        return R"(OAuth realm="https://account.example"", oauth_consumer_key="key", oauth_nonce=")" +
               std::to_string(nonce) + R"(", oauth_timestamp="1700000000", oauth_signature=")" +
               signature + R"(", oauth_signature_method="HMAC-SHA1", oauth_version="1.0")" +
               (token.empty() ? "" : R"(, oauth_token=")" + token);
    };
    ++nonce;
    Authorization authorization;
    std::string problem;
    request.authorization = header("AAAA");
    require(readAuthorization(request.authorization, authorization, problem));
    request.authorization =
        header(expectedSignature({request, authorization, document}, consumerSecret));
    return request;
}

void run(const uint8_t* data, size_t size)
{
    static const auto service = makeService();
    service->clock().setSkew(timeOfRequests - std::time(nullptr));
    service->store().with([](Tables& tables) { tables.clear(); });
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
    const WireRequest request = head.withBody(body);
    Authorization authorization;
    problem.clear();
    require(readAuthorization(request.authorization, authorization, problem) == problem.empty());
    // Nobody knows the secret, so nothing is ever done.
    problem.clear();
    Trace trace;
    const Reply refusal = service->answer(request, problem, trace);
    require(!problem.empty() && refusal.status >= 400);

    std::string document;
    if (!readForm(request, document, problem))
        return;
    fillTables(*service);
    const User user = signIn(*service);
    // An address may name them.
    WireRequest good = request;
    replace(good.target, "ACCOUNT", user.account);
    replace(good.target, "TOKEN", user.token);
    const Reply reply = service->answer(
        signedOf(good, document, authorization.token ? user.token : std::string()), problem, trace);
    require(reply.status >= 200 && reply.status <= 599);
}

} // namespace

} // namespace KelFuzz::WireRequests

KEL_FUZZ_TARGET(wirerequest, KelFuzz::WireRequests::run)
