// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/connection.h"

#include "emulator/common/log.h"
#include "emulator/service/accountservice.h"

#include <chrono>

namespace KelEmulator {

namespace {

constexpr size_t longestBody = 16 * 1024 * 1024;
constexpr size_t manyRequests = 1000000000;
constexpr time_t longTime = 24 * 60 * 60;
/// The library matches paths by regular expression; every request is handed over under this one.
constexpr const char* anyPath = "/";

std::int64_t microsecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() -
                                                                 start)
        .count();
}

/// Whether a request is processed at all. One whose connection closes without a byte counts as
/// never seen, so that a client who sends the same bytes again finds its nonce unused.
bool reachesService(const Fault& fault)
{
    return fault.kind != Fault::Kind::CloseBeforeHeaders && fault.kind != Fault::Kind::WrongHost;
}

/// Stands for the answer that a request not processed has not.
Reply lostReply()
{
    Reply reply;
    reply.status = 0;
    reply.outcome = "not processed";
    return reply;
}

void put(httplib::Response& response, Reply&& reply)
{
    response.status = reply.status;
    if (!reply.body.empty())
        response.set_header("Content-Type", reply.contentType);
    response.body = std::move(reply.body);
}

/// The reply with a comment of so many bytes in it, made while it is sent.
void putHuge(httplib::Response& response, const Reply& reply, std::uint64_t bytes)
{
    const size_t rootEnd = reply.body.rfind("</");
    const size_t cut = rootEnd == std::string::npos ? reply.body.size() : rootEnd;
    const std::string head = reply.body.substr(0, cut) + "<!--";
    const std::string tail = "-->" + reply.body.substr(cut);
    const std::uint64_t total = head.size() + bytes + tail.size();
    const auto provide = [=](size_t offset, size_t, httplib::DataSink& sink) {
        static const std::string filling(32768, 'x');
        if (offset < head.size())
            return sink.write(head.data() + offset, head.size() - offset);
        const std::uint64_t fillingEnd = head.size() + bytes;
        if (offset < fillingEnd)
            return sink.write(filling.data(), static_cast<size_t>(std::min<std::uint64_t>(
                                                  filling.size(), fillingEnd - offset)));
        const auto at = static_cast<size_t>(offset - fillingEnd);
        return sink.write(tail.data() + at, tail.size() - at);
    };
    response.status = reply.status;
    response.set_content_provider(static_cast<size_t>(total), reply.contentType, provide);
}

} // namespace

Connection::Connection(AccountService& service, TlsStream& stream,
                       std::function<void(bool)> setBusy)
    : mService(service), mStream(stream), mSetBusy(std::move(setBusy))
{
    // Without a listening socket the library believes that it is shutting down, and cuts long
    // bodies.
    svr_sock_ = stream.socket();
    set_keep_alive_max_count(manyRequests);
    set_keep_alive_timeout(longTime);
    set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        return beforeBody(request, response);
    });
    set_error_handler([this](const httplib::Request& request, httplib::Response& response) {
        completeError(request, response);
    });
    Post(anyPath,
         [this](const httplib::Request& request, httplib::Response& response,
                const httplib::ContentReader& content) { answer(request, response, content); });
}

Connection::~Connection()
{
    svr_sock_ = INVALID_SOCKET;
}

void Connection::run()
{
    bool closed = false;
    while (!closed && mStream.waitForRequest()) {
        mSetBusy(true);
        mAnswered = false;
        mStream.begin(mService.clock().httpDate());
        const bool good = process_request(mStream, false, closed,
                                          [this](httplib::Request& request) { prepare(request); });
        // What was not read to its end would be taken for the next request.
        closed = closed || !mStream.flush() || !good || !mAnswered;
        // A certificate shows only in a new connection.
        closed = closed || mService.faults().wrongHostIsNext();
        mSetBusy(false);
    }
}

void Connection::prepare(httplib::Request& request)
{
    mMethod = request.method;
    request.path = anyPath;
    request.ranges.clear();
    // Replies go out as they are, not compressed.
    request.headers.erase("Accept-Encoding");
}

httplib::Server::HandlerResponse Connection::beforeBody(const httplib::Request& request,
                                                        httplib::Response& response)
{
    if (mMethod != "POST") {
        put(response, errorReply(405, "illegalRequestMethod",
                                 "Every request is an HTTP POST; rest-verb names the method"));
        logLine("refused " + mMethod + ' ' + printableTarget(request.target) +
                ": every request is an HTTP POST; the \"rest-verb\" header names the method");
        return HandlerResponse::Handled;
    }
    if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
        put(response, errorReply(411, "invalidMessageFormat", "A length is needed"));
        logLine("refused POST " + printableTarget(request.target) +
                ": the Content-Length header is missing");
        return HandlerResponse::Handled;
    }
    return HandlerResponse::Unhandled;
}

bool Connection::readBody(const httplib::ContentReader& content, std::string& body) const
{
    return content([&body](const char* data, size_t length) {
        if (length > longestBody - body.size())
            return false;
        body.append(data, length);
        return true;
    });
}

void Connection::answer(const httplib::Request& request, httplib::Response& response,
                        const httplib::ContentReader& content)
{
    WireRequest wire;
    if (!readBody(content, wire.body)) {
        put(response, errorReply(413, "invalidMessageFormat", "The body is cut or too long"));
        return;
    }
    mAnswered = true;
    const auto start = std::chrono::steady_clock::now();
    const RequestHead& head = mStream.head();
    wire.target = request.target;
    wire.host = head.header("Host");
    wire.authorization = head.header("Authorization");
    wire.restVerb = head.header("rest-verb");
    wire.contentType = head.header("Content-Type");
    wire.acceptLanguage = head.header("Accept-Language");

    const Fault fault = mService.faults().takeForRequest();
    RequestRecord record;
    Reply reply = reachesService(fault) ? mService.answer(wire, record.problem) : lostReply();
    record.microseconds = microsecondsSince(start);
    record.verb = wire.restVerb.substr(0, 16);
    record.target = printableTarget(wire.target);
    record.host = wire.host.substr(0, 256);
    record.bodyBytes = wire.body.size();
    finish(std::move(record), std::move(reply), fault, response);
}

bool Connection::applyFault(const Fault& fault, Reply& reply)
{
    constexpr int forEver = -1;
    switch (fault.kind) {
    case Fault::Kind::Delay:
        mStream.waitWhileConnected(static_cast<int>(fault.value));
        break;
    case Fault::Kind::Hang:
        mStream.waitWhileConnected(forEver);
        return false;
    case Fault::Kind::WrongHost:
        // The certificate is for the next connection: the client has to make one.
        return false;
    case Fault::Kind::Status:
        reply.status = static_cast<int>(fault.value);
        reply.contentType = "text/plain";
        reply.body = fault.value == 204 || fault.value == 304 ? "" : "An ordered status.\n";
        break;
    case Fault::Kind::NotXml:
        reply.status = 200;
        reply.body = "This is no XML document.\n";
        break;
    default:
        break;
    }
    return true;
}

void Connection::finish(RequestRecord record, Reply reply, const Fault& fault,
                        httplib::Response& response)
{
    const bool hasFault = fault.kind != Fault::Kind::None;
    record.fault = hasFault ? faultText(fault) : std::string();
    record.outcome = reply.outcome;
    record.operation = reply.operation;
    record.status =
        fault.kind == Fault::Kind::Status ? static_cast<int>(fault.value) : reply.status;
    if (mService.isVerbose()) {
        logLine(record.verb + ' ' + record.target + ": " + std::to_string(record.status) + ' ' +
                record.outcome + (hasFault ? ", fault " + record.fault : std::string()) + ", " +
                std::to_string(record.microseconds) + " us");
    }
    // Ahead of the answer: whoever has the answer finds the request in the log.
    mService.requests().append(std::move(record));

    mStream.shaper().setFault(fault);
    if (!applyFault(fault, reply)) {
        mStream.shaper().setFault({Fault::Kind::CloseBeforeHeaders, 0});
        reply.body.clear();
    }
    if (fault.kind == Fault::Kind::HugeBody)
        putHuge(response, reply, fault.value);
    else
        put(response, std::move(reply));
}

void Connection::completeError(const httplib::Request& request, httplib::Response& response)
{
    // Only replies that the library made itself have neither document nor length yet.
    if (mAnswered || !response.body.empty())
        return;
    Reply reply = response.status == 414
                      ? errorReply(414, "invalidUrl", "The address is too long")
                      : errorReply(response.status, "invalidMessageFormat", "Malformed request");
    logLine("refused a request: status " + std::to_string(response.status) + " (target of " +
            std::to_string(request.target.size()) + " bytes)");
    put(response, std::move(reply));
}

} // namespace KelEmulator
