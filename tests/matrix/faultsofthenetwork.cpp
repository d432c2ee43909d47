// SPDX-License-Identifier: LGPL-2.1-or-later
// On the way to the service.
#include "matrix/faultgroups.h"

namespace Matrix {

void addNames(Rows& rows)
{
    const std::string group = "Name resolution";
    rows.push_back({group, "name-unknown", "no such name", Kind::NameUnknown});
    rows.push_back({group, "name-server-fails", "the name server fails", Kind::NameFails});
    rows.push_back({group, "name-slow", "the name comes 200 ms late", Kind::NameSlow});
    rows.push_back(waiting({group, "name-hangs", "the name server hangs", Kind::NameHangs}));
    rows.push_back(
        {group, "name-first-refuses", "two addresses, the first refuses", Kind::FirstRefuses});
    rows.push_back(
        waiting({group, "name-first-drops",
                 "two addresses, the first drops what comes (Qt would try the second after 30 s)",
                 Kind::FirstDrops}));
    rows.push_back(
        {group, "name-many-refuse", "forty addresses, the last is good", Kind::ManyRefuse});
}

void addConnections(Rows& rows)
{
    const std::string group = "Connection";
    rows.push_back({group, "refused", "refused", Kind::Refused});
    rows.push_back(waiting({group, "dropped", "what comes is dropped", Kind::Dropped}));
    rows.push_back({group, "closed", "closed at once", Kind::Accepts, {}, End::Closes});
    rows.push_back({group, "reset", "reset at once", Kind::Accepts, {}, End::Resets});
    rows.push_back(waiting({group, "silent", "nothing comes", Kind::Accepts, {}, End::Hangs}));
    const struct
    {
        const char* name;
        const char* what;
        int bytes;
    } moments[] = {{"0", "before the request", 0},
                   {"20", "in the request line", 20},
                   {"200", "in the request's headers", 200},
                   {"all", "when the request is there", -1}};
    for (const auto& moment : moments) {
        rows.push_back({group,
                        "closed-" + std::string(moment.name),
                        std::string("closed ") + moment.what,
                        Kind::Reads,
                        {},
                        End::Closes,
                        moment.bytes});
        rows.push_back({group,
                        "reset-" + std::string(moment.name),
                        std::string("reset ") + moment.what,
                        Kind::Reads,
                        {},
                        End::Resets,
                        moment.bytes});
        rows.push_back(waiting({group,
                                "hangs-" + std::string(moment.name),
                                std::string("hangs ") + moment.what,
                                Kind::Reads,
                                {},
                                End::Hangs,
                                moment.bytes}));
    }
}

void addProxies(Rows& rows)
{
    const std::string group = "Proxy";
    const auto answers = [&](const char* name, const char* what, const std::string& bytes,
                             End end = End::Closes) {
        Fault fault{group, std::string("proxy-") + name, what, Kind::ProxyAnswers, bytes, end};
        fault.waits = end == End::Hangs;
        rows.push_back(fault);
    };
    rows.push_back({group, "proxy-well", "a proxy that works", Kind::ProxyTunnels, {}, End::Keeps});
    rows.push_back({group, "proxy-unknown", "its name is unknown", Kind::ProxyUnknown});
    rows.push_back({group, "proxy-refused", "it refuses connections", Kind::ProxyRefused});
    // Qt tells of neither, nor of an end in its answer.
    rows.push_back(
        {group, "proxy-closes", "it closes at once", Kind::ProxyAccepts, {}, End::Closes});
    rows.push_back(
        {group, "proxy-resets", "it resets at once", Kind::ProxyAccepts, {}, End::Resets});
    rows.push_back(
        waiting({group, "proxy-hangs", "it says nothing", Kind::ProxyAccepts, {}, End::Hangs}));
    const std::string asks = "HTTP/1.1 407 Who are you\r\nProxy-Authenticate: ";
    answers("asks-basic", "asks for a name and a password",
            asks + "Basic realm=\"p\"\r\nContent-Length: 0\r\n\r\n", End::Keeps);
    answers("asks-closing", "asks and closes",
            asks + "Basic realm=\"p\"\r\nContent-Length: 0\r\n\r\n");
    answers("asks-digest", "asks for a digest",
            asks + "Digest realm=\"p\", nonce=\"n\", qop=\"auth\"\r\nContent-Length: 0\r\n\r\n");
    answers("asks-unknown", "asks in a way nobody knows",
            asks + "Other\r\nContent-Length: 0\r\n\r\n");
    answers("asks-nothing", "407 without saying how",
            "HTTP/1.1 407 No\r\nContent-Length: 0\r\n\r\n");
    for (const int status : {302, 400, 403, 404, 429, 500, 502, 503, 504})
        answers(std::to_string(status).c_str(), ("answers " + std::to_string(status)).c_str(),
                "HTTP/1.1 " + std::to_string(status) + " No\r\nContent-Length: 5\r\n\r\nsorry");
    answers("garbage", "answers garbage", "\x01\x02\x03 garbage \xff\xfe\r\n\r\n");
    answers("page", "answers a page without a head", "<html>Log in first</html>\r\n\r\n");
    answers("half", "closes in its answer", "HTTP/1.1 200 Connection est");
    answers("half-hangs", "hangs in its answer", "HTTP/1.1 200 Connection est", End::Hangs);
    answers("headers-hang", "hangs in its headers", "HTTP/1.1 200 OK\r\nVia: x\r\n", End::Hangs);
    rows.push_back(alone({group, "proxy-endless-line", "an endless line", Kind::ProxyEndless,
                          "HTTP/1.1 200 OK\r\nVia: ", End::Keeps, 0, std::string(4096, 'x')}));
    rows.push_back(alone({group, "proxy-endless-head", "endless headers", Kind::ProxyEndless,
                          "HTTP/1.1 200 OK\r\n", End::Keeps, 0, "Via: a proxy\r\n"}));
    rows.push_back(
        alone({group, "proxy-endless-refusal", "refuses with an endless page", Kind::ProxyEndless,
               "HTTP/1.1 403 No\r\n\r\n", End::Keeps, 0, std::string(4096, 'x')}));
    rows.push_back(
        {group, "proxy-tunnel-closes", "closes the tunnel", Kind::ProxyTunnels, {}, End::Closes});
    rows.push_back(
        {group, "proxy-tunnel-resets", "resets the tunnel", Kind::ProxyTunnels, {}, End::Resets});
    rows.push_back(waiting({group,
                            "proxy-tunnel-hangs",
                            "nothing comes through the tunnel",
                            Kind::ProxyTunnels,
                            {},
                            End::Hangs}));
}

void addTls(Rows& rows)
{
    const std::string group = "TLS";
    const auto certificate = [&](const char* flaw, const char* what) {
        rows.push_back({group, std::string("certificate-") + flaw, what, Kind::Certificate, flaw});
    };
    certificate("self-signed", "certificate signed by itself");
    certificate("other-authority", "by an authority that nobody knows");
    certificate("wrong-name", "for another name");
    certificate("common-name-only", "the name only where it does not count");
    certificate("no-name", "for no name");
    certificate("expired", "ended yesterday");
    certificate("future", "begins tomorrow");
    certificate("for-clients", "for clients, not for servers");
    certificate("not-an-authority", "signed by a certificate that is no authority");
    const auto handshake = [&](const char* name, const char* what, bool waits = false) {
        Fault fault{group, std::string("tls-") + name, what, Kind::Handshake, name};
        fault.waits = waits;
        rows.push_back(fault);
    };
    handshake("garbage", "garbage in its place");
    handshake("plain-http", "HTTP without TLS");
    handshake("alert", "an alert");
    handshake("closed", "closed after the client's hello");
    handshake("reset", "reset after the client's hello");
    handshake("hang", "hangs after the client's hello", true);
    handshake("cut", "closed in the server's hello");
    handshake("cut-hang", "hangs in the server's hello", true);
    handshake("old-protocol", "nothing newer than TLS 1.1");
    rows.push_back(
        alone({group, "tls-endless", "endless records in its place", Kind::Handshake, "endless"}));
}

} // namespace Matrix
