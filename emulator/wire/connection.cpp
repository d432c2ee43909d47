// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/connection.h"

#include "emulator/common/log.h"
#include "emulator/service/accountservice.h"
#include "emulator/service/masking.h"
#include "emulator/wire/replyshaper.h"
#include "emulator/wire/statustext.h"
#include "emulator/wire/tlsstream.h"

#include <algorithm>
#include <chrono>

namespace KelEmulator {

namespace {

constexpr std::uint64_t longestBody = std::uint64_t{16} * 1024 * 1024;

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

/// A body with a filling of any size, made while it is sent.
struct Body
{
    std::string_view begin;
    std::uint64_t filling = 0;
    std::string_view end;

    std::uint64_t size() const { return begin.size() + filling + end.size(); }
};

/// Puts an empty comment in front of the document's last tag. Returns where its text goes.
size_t openComment(std::string& document)
{
    constexpr std::string_view begin = "<!--";
    constexpr std::string_view end = "-->";
    const size_t at = std::min(document.rfind("</"), document.size());
    document.insert(at, std::string(begin).append(end));
    return at + begin.size();
}

bool writeSome(TlsStream& stream, std::string_view text, std::uint64_t& left)
{
    const std::string_view some = text.substr(0, std::min<std::uint64_t>(left, text.size()));
    left -= some.size();
    return stream.write(some);
}

bool writeBody(TlsStream& stream, const Body& body, std::uint64_t bytes)
{
    static const std::string filling(32768, 'x');
    bool good = writeSome(stream, body.begin, bytes);
    for (std::uint64_t left = body.filling; good && left > 0 && bytes > 0;) {
        const std::string_view some =
            std::string_view(filling).substr(0, std::min<std::uint64_t>(left, filling.size()));
        left -= some.size();
        good = writeSome(stream, some, bytes);
    }
    return good && writeSome(stream, body.end, bytes);
}

} // namespace

Connection::Connection(AccountService& service, TlsStream& stream,
                       std::function<void(bool)> setBusy)
    : mService(service), mStream(stream), mSetBusy(std::move(setBusy))
{
}

void Connection::run()
{
    bool goesOn = true;
    while (goesOn && mStream.waitForRequest()) {
        mSetBusy(true);
        // A certificate shows only in a new connection.
        goesOn = serveRequest() && !mService.faults().wrongHostIsNext();
        mSetBusy(false);
    }
}

bool Connection::serveRequest()
{
    std::string text;
    if (!mStream.readThrough(RequestHead::end, RequestHead::longest, text))
        return false;
    const int status = mHead.read(std::move(text));
    if (status != 0) {
        const bool isLong = status == 414;
        refuse(status, isLong ? "invalidUrl" : "invalidMessageFormat",
               isLong ? "The address is too long" : "Malformed request",
               "refused a request: status " + std::to_string(status) + " (target of " +
                   std::to_string(mHead.target().size()) + " bytes)");
        return false;
    }
    std::string body;
    if (!readBody(body))
        return false;
    return answer(mHead.withBody(std::move(body)));
}

bool Connection::readBody(std::string& body)
{
    const std::string refused =
        "refused " + mHead.method().substr(0, 16) + ' ' + printableTarget(mHead.target());
    if (mHead.method() != "POST") {
        refuse(405, "illegalRequestMethod",
               "Every request is an HTTP POST; rest-verb names the method",
               refused +
                   ": every request is an HTTP POST; the \"rest-verb\" header names the method");
        return false;
    }
    const std::optional<std::uint64_t> length = mHead.bodyLength();
    if (!length || mHead.hasHeader("Transfer-Encoding")) {
        refuse(411, "invalidMessageFormat", "A length is needed",
               refused + (length ? ": a length is needed instead of the Transfer-Encoding header"
                                 : ": the Content-Length header is missing"));
        return false;
    }
    if (*length > longestBody) {
        refuse(413, "invalidMessageFormat", "The body is too long",
               refused + ": the body is too long (" + std::to_string(*length) + " bytes)");
        return false;
    }
    if (mHead.wantsLeave() && !(mStream.write("HTTP/1.1 100 Continue\r\n\r\n") && mStream.flush()))
        return false;
    return mStream.read(static_cast<size_t>(*length), body);
}

/// The connection ends after that: what was not read to its end would be taken for the next
/// request.
void Connection::refuse(int status, const char* code, const char* text, const std::string& why)
{
    logLine(why);
    send(errorReply(status, code, text), {}, false);
}

bool Connection::answer(WireRequest wire)
{
    const auto start = std::chrono::steady_clock::now();
    FaultQueue& faults = mService.faults();
    const Fault fault =
        faults.takeForRequest(faults.asksForOperation() ? AccountService::operationOf(wire) : 0);
    RequestRecord record;
    Reply reply =
        reachesService(fault) ? mService.answer(wire, record.problem, record.trace) : lostReply();
    record.microseconds = microsecondsSince(start);
    record.verb = wire.restVerb.substr(0, 16);
    record.target = printableTarget(wire.target);
    record.host = wire.host.substr(0, 256);
    record.bodyBytes = wire.body.size();
    record.reply = maskedReply(reply.body);
    // Ahead of the answer: whoever has the answer finds the request in the log.
    log(std::move(record), reply, fault);
    applyFault(fault, reply);
    return send(std::move(reply), fault, mHead.keepsConnection());
}

void Connection::log(RequestRecord record, const Reply& reply, const Fault& fault)
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
    mService.requests().append(std::move(record));
}

void Connection::applyFault(const Fault& fault, Reply& reply)
{
    constexpr int forEver = -1;
    switch (fault.kind) {
    case Fault::Kind::Delay:
        mStream.waitWhileConnected(static_cast<int>(fault.value));
        break;
    case Fault::Kind::Hang:
        mStream.waitWhileConnected(forEver);
        break;
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
}

bool Connection::send(Reply reply, const Fault& fault, bool keeps)
{
    const bool isHuge = fault.kind == Fault::Kind::HugeBody;
    const size_t fillingAt = isHuge ? openComment(reply.body) : reply.body.size();
    const std::string_view document = reply.body;
    const Body body{document.substr(0, fillingAt), isHuge ? fault.value : 0,
                    document.substr(fillingAt)};
    std::string headers = "HTTP/1.1 " + std::to_string(reply.status) + ' ' +
                          statusText(reply.status) + "\r\nDate: " + mService.clock().httpDate() +
                          "\r\n";
    if (body.size() > 0)
        headers += "Content-Type: " + reply.contentType + "\r\n";
    if (!keeps)
        headers += "Connection: close\r\n";
    headers +=
        "Content-Length: " + std::to_string(announcedLength(fault, body.size())) + "\r\n\r\n";
    const ReplyShape shape = shapeOf(fault, headers.size(), body.size());
    headers.resize(static_cast<size_t>(shape.headerBytes));
    const bool sent = mStream.write(headers) && writeBody(mStream, body, shape.bodyBytes);
    return sent && mStream.flush() && keeps && !shape.closes;
}

} // namespace KelEmulator
