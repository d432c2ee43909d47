// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/accountservice.h"

#include "emulator/common/log.h"
#include "emulator/service/masking.h"
#include "emulator/service/operation.h"
#include "rest/request/servicehosts.h"

namespace KelEmulator {

namespace {

constexpr const char* realm = "https://" KELACCOUNT_HOST_PRODUCTION;
constexpr std::string_view servicePath = "/rest/1.0/";
constexpr std::string_view formType = "application/x-www-form-urlencoded";

Reply refused(int status, const char* code, const char* text, std::string& problem,
              const std::string& why)
{
    problem = why;
    return errorReply(status, code, text);
}

struct ReadDocument
{
    const Operation* operation; ///< the one that the document is meant for
    XmlElement root;
    std::string problem; ///< empty when the document is as it must be
};

ReadDocument readDocument(const Operation& found, const std::string& document)
{
    ReadDocument read{&found, {}, {}};
    if (document.empty()) {
        if (found.layout)
            read.problem = std::string("the document ") + found.layout->name + " is missing";
        return read;
    }
    if (!found.layout) {
        read.problem = "this operation has no document";
        return read;
    }
    if (!readXml(document, read.root, read.problem))
        return read;
    read.operation = &amongAlternatives(found, read.root);
    follows(read.root, *read.operation->layout, read.problem);
    return read;
}

/// Looks the token up. False, with a reply, when the operation may not be done with it.
bool acceptsToken(const Operation& operation, Call& call, Reply& reply, std::string& problem)
{
    constexpr std::string_view ofAccount = "accounts/{";
    if (!operation.needsToken) {
        if (call.token.empty())
            return true;
        reply = refused(400, "invalidMessageFormat", "No token belongs here", problem,
                        "oauth_token is sent with an operation that needs none");
        return false;
    }
    const std::optional<Token> token = call.tables.tokens.find(call.token, call.now);
    std::optional<Account> account;
    if (token)
        account = call.tables.accounts.find(token->account);
    if (!account) {
        reply = refused(401, "invalidAccessToken", "The access token is not valid", problem,
                        call.token.empty() ? "oauth_token is missing from the header"
                                           : "oauth_token is unknown or has expired");
        return false;
    }
    if (std::string_view(operation.path).substr(0, ofAccount.size()) == ofAccount &&
        call.pathValues.front() != account->id()) {
        reply = refused(403, "notAuthorized", "The access token is another account's", problem,
                        "oauth_token is not of the account in the address");
        return false;
    }
    call.account = std::move(*account);
    return true;
}

bool isRestVerb(const std::string& verb)
{
    return verb == "GET" || verb == "POST" || verb == "PUT" || verb == "DELETE";
}

} // namespace

AccountService::AccountService(ServiceSettings settings, std::unique_ptr<Store> store)
    : mClock(settings.clockSkew, settings.clockSpeed), mVerbose(settings.verbose),
      mStore(std::move(store)),
      mCheck(mClock, std::move(settings.consumerKey), std::move(settings.consumerSecret), realm),
      mFaults(mClock)
{
    mFaults.append(settings.faults);
}

Reply AccountService::answer(const WireRequest& request, std::string& problem, Trace& trace)
{
    Reply reply = dispatch(request, problem, trace);
    if (!problem.empty()) {
        trace.steps.push_back({"Refused", problem, false});
        logLine("refused " + request.restVerb.substr(0, 16) + ' ' +
                printableTarget(request.target) + ": " + problem);
    }
    return reply;
}

int AccountService::operationOf(const WireRequest& request)
{
    std::string document;
    std::string problem;
    if (request.rawPath().substr(0, servicePath.size()) != servicePath)
        return 0;
    const Route route = findOperation(request.restVerb, request.rawPath());
    if (route.result != Route::Result::Found)
        return 0;
    readForm(request, document, problem);
    return readDocument(*route.operation, document).operation->number;
}

Reply AccountService::dispatch(const WireRequest& request, std::string& problem, Trace& trace)
{
    if (request.rawPath().substr(0, servicePath.size()) != servicePath) {
        return refused(404, "invalidUrl", "No such address", problem,
                       "every address begins with /rest/1.0/");
    }
    if (!isRestVerb(request.restVerb)) {
        return refused(405, "illegalRequestMethod", "No such method", problem,
                       "the \"rest-verb\" header must be GET, POST, PUT or DELETE");
    }
    if (request.contentType.substr(0, formType.size()) != formType) {
        return refused(415, "unknownContentType", "Send a form", problem,
                       "the content type must be application/x-www-form-urlencoded");
    }
    std::string document;
    std::string why;
    if (!readForm(request, document, why))
        return refused(400, "invalidMessageFormat", "Malformed form", problem, why);
    trace.passed("Address, REST verb, content type and form can be read");
    trace.document = masked(document);
    std::string token;
    if (!mCheck.accepts(request, document, token, why, trace))
        return refused(401, "notAuthorized", "The request is not signed as it must be", problem,
                       why);

    return perform(request, document, token, problem, trace);
}

Reply AccountService::perform(const WireRequest& request, const std::string& document,
                              const std::string& token, std::string& problem, Trace& trace)
{
    Route route = findOperation(request.restVerb, request.rawPath());
    switch (route.result) {
    case Route::Result::UnknownPath:
        return refused(404, "resourceNotFound", "No such resource", problem,
                       "no operation has this address");
    case Route::Result::WrongVerb:
        return refused(405, "illegalRequestMethod", "Not with this method", problem,
                       "no operation has this REST verb at this address");
    case Route::Result::Found:
        break;
    }
    trace.passed("An operation has this verb and address");
    // Read ahead of the lock on the tables; what is wrong with it counts after the token.
    ReadDocument read = readDocument(*route.operation, document);
    return mStore->with([&](Tables& tables) {
        Call call{std::move(route.pathValues),
                  queryItems(request.rawQuery()),
                  std::move(read.root),
                  request.acceptLanguage,
                  mClock.now(),
                  token,
                  {},
                  tables};
        Reply reply;
        if (!acceptsToken(*read.operation, call, reply, problem)) {
            // The reply says what was wrong.
        } else if (!read.problem.empty()) {
            reply =
                refused(400, "invalidMessageFormat", read.problem.c_str(), problem, read.problem);
        } else {
            trace.passed("Token and document are what the operation wants");
            reply = read.operation->answer(call);
        }
        reply.operation = read.operation->number;
        return reply;
    });
}

} // namespace KelEmulator
