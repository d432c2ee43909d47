// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/accountservice.h"

#include "emulator/log.h"
#include "emulator/operation.h"
#include "emulator/options.h"
#include "rest/servicehosts.h"

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

bool isRestVerb(const std::string& verb)
{
    return verb == "GET" || verb == "POST" || verb == "PUT" || verb == "DELETE";
}

} // namespace

AccountService::AccountService(const Options& options, std::unique_ptr<Accounts> accounts)
    : mClock(options.clockSkew), mVerbose(options.verbose), mAccounts(std::move(accounts)),
      mCheck(mClock, options.consumerKey, options.consumerSecret, realm)
{
    mFaults.append(options.faults);
}

Reply AccountService::answer(const WireRequest& request, std::string& problem)
{
    Reply reply = dispatch(request, problem);
    if (!problem.empty()) {
        logLine("refused " + request.restVerb.substr(0, 16) + ' ' +
                printableTarget(request.target) + ": " + problem);
    }
    return reply;
}

Reply AccountService::dispatch(const WireRequest& request, std::string& problem)
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
    std::string token;
    if (!mCheck.accepts(request, document, token, why))
        return refused(401, "notAuthorized", "The request is not signed as it must be", problem,
                       why);

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
    return route.operation->answer({std::move(route.pathValues), queryItems(request.rawQuery()),
                                    std::move(document), std::move(token), *mAccounts});
}

} // namespace KelEmulator
