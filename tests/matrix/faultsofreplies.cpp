// SPDX-License-Identifier: LGPL-2.1-or-later
// In what the service says.
#include "matrix/faultgroups.h"

namespace Matrix {

void addHeads(Rows& rows)
{
    const std::string group = "Head of the reply";
    const auto answers = [&](const char* name, const char* what, const std::string& bytes,
                             End end = End::Keeps) {
        Fault fault{group, std::string("head-") + name, what, Kind::Answers, bytes, end};
        fault.waits = end == End::Hangs;
        rows.push_back(fault);
    };
    rows.push_back({group, "head-slow", "a piece of it each 10 ms", Kind::Slow,
                    ok + "X-Slow: yes\r\n" + lengthAndBody, End::Keeps, 10});
    rows.push_back(waiting({group, "head-too-slow", "a header each 20 ms, for ever", Kind::Endless,
                            ok, End::Keeps, 20, "X-More: x\r\n"}));
    rows.push_back(alone({group, "head-endless-line", "an endless line", Kind::Endless,
                          "HTTP/1.1 200 ", End::Keeps, 0, std::string(4096, 'x')}));
    rows.push_back(alone({group, "head-endless", "endless headers", Kind::Endless, ok, End::Keeps,
                          0, "X-More: and more\r\n"}));
    rows.push_back(alone({group,
                          "head-endless-100",
                          "100 for ever",
                          Kind::Endless,
                          {},
                          End::Keeps,
                          0,
                          "HTTP/1.1 100 Continue\r\n\r\n"}));
    answers("garbage", "garbage", "\x01\x02\x03\xff\xfe garbage\r\n\r\n", End::Closes);
    answers("zeros", "zeros", std::string(64, '\0') + "\r\n\r\n", End::Closes);
    answers("empty-lines", "empty lines", "\r\n\r\n\r\n\r\n", End::Closes);
    answers("no-head", "a document without a head", "{body}", End::Closes);
    answers("other-protocol", "another protocol", "SSH-2.0-server\r\n", End::Closes);
    answers("http-0.9", "HTTP/0.9", "HTTP/0.9 200 OK\r\n" + lengthAndBody, End::Closes);
    answers("http-1.0", "HTTP/1.0", "HTTP/1.0 200 OK\r\n" + lengthAndBody, End::Closes);
    answers("http-2", "HTTP/2.0", "HTTP/2.0 200 OK\r\n" + lengthAndBody, End::Closes);
    answers("http-9", "HTTP/9.9", "HTTP/9.9 200 OK\r\n" + lengthAndBody, End::Closes);
    answers("no-status", "no status", "HTTP/1.1 \r\n" + lengthAndBody, End::Closes);
    answers("status-text", "a status that is no number", "HTTP/1.1 abc OK\r\n" + lengthAndBody,
            End::Closes);
    answers("status-0", "status 0", "HTTP/1.1 000 OK\r\n" + lengthAndBody, End::Closes);
    answers("status-negative", "status -1", "HTTP/1.1 -1 OK\r\n" + lengthAndBody, End::Closes);
    answers("status-huge", "status 99999", "HTTP/1.1 99999 OK\r\n" + lengthAndBody, End::Closes);
    answers("100-then-200", "100, then the answer",
            "HTTP/1.1 100 Continue\r\n\r\n" + ok + lengthAndBody);
    answers("103-then-200", "103, then the answer",
            "HTTP/1.1 103 Early Hints\r\n\r\n" + ok + lengthAndBody);
    answers("100-alone", "100 alone", "HTTP/1.1 100 Continue\r\n\r\n", End::Hangs);
    answers("101", "another protocol is agreed on",
            "HTTP/1.1 101 Switching\r\nUpgrade: x\r\nConnection: Upgrade\r\n\r\n", End::Closes);
    answers("cut-line", "closed in the first line", "HTTP/1.1 20", End::Closes);
    answers("cut", "closed in the headers", ok + "Content-Len", End::Closes);
    answers("reset", "reset in the headers", ok + "Content-Len", End::Resets);
    answers("hangs", "hangs in the headers", ok + "Content-Len", End::Hangs);
    answers("no-length", "no length; closed", ok + "\r\n{body}", End::Closes);
    answers("no-length-open", "no length; stays open", ok + "\r\n{body}", End::Hangs);
    answers("two-lengths", "two lengths", ok + "Content-Length: 1\r\n" + lengthAndBody,
            End::Closes);
    answers("length-and-chunked", "a length, and in pieces",
            ok + "Transfer-Encoding: chunked\r\nContent-Length: {length}\r\n\r\n{body}",
            End::Closes);
    answers("length-negative", "length -5", ok + "Content-Length: -5\r\n\r\n{body}", End::Closes);
    answers("length-text", "a length that is no number", ok + "Content-Length: many\r\n\r\n{body}",
            End::Closes);
    answers("length-huge", "a length of 31 digits",
            ok + "Content-Length: 1000000000000000000000000000000\r\n\r\n{body}", End::Closes);
    answers("length-4g", "a length of 4 GiB", ok + "Content-Length: 4294967296\r\n\r\n{body}",
            End::Closes);
    answers("bare-newlines", "lines without a carriage return",
            "HTTP/1.1 200 OK\nContent-Length: {length}\n\n{body}");
    answers("folded", "a header on two lines", ok + "X-Folded: one\r\n two\r\n" + lengthAndBody);
    answers("zero-byte", "a zero in a header",
            ok + std::string("X-Zero: a\0b\r\n", 13) + lengthAndBody);
    answers("no-colon", "a header without a colon", ok + "Nothing\r\n" + lengthAndBody);
    answers("long-header", "a header of 64 KiB",
            ok + "X-Long: " + std::string(65536, 'x') + "\r\n" + lengthAndBody);
    answers("many-headers", "a thousand headers", [] {
        std::string bytes = ok;
        for (int i = 0; i < 1000; ++i)
            bytes += "X-" + std::to_string(i) + ": x\r\n";
        return bytes + lengthAndBody;
    }());
    answers("challenge", "asks for another authentication",
            "HTTP/1.1 401 No\r\nWWW-Authenticate: NTLM\r\nWWW-Authenticate: "
            "Negotiate\r\nContent-Length: 0\r\n\r\n");
    answers("wait", "asks to wait for ever",
            "HTTP/1.1 503 No\r\nRetry-After: 99999999999999999999\r\n"
            "Content-Length: 0\r\n\r\n");
}

void addStatuses(Rows& rows)
{
    const std::string group = "HTTP status";
    for (const int status :
         {201, 202, 203, 204, 205, 206, 207, 226, 299, 300, 301, 302, 303, 304, 305, 307,
          308, 399, 400, 401, 402, 403, 404, 405, 406, 407, 408, 409, 410, 411, 412, 413,
          414, 415, 416, 417, 418, 421, 422, 423, 424, 425, 426, 428, 429, 431, 451, 499,
          500, 501, 502, 503, 504, 505, 506, 507, 508, 510, 511, 520, 599, 600, 999}) {
        const std::string number = std::to_string(status);
        const bool hasBody = status != 204 && status != 304;
        rows.push_back({group, "status-" + number, number + " without a document", Kind::Answers,
                        "HTTP/1.1 " + number + " Status\r\n" +
                            (hasBody ? "Content-Length: 4\r\n\r\nnone" : "\r\n")});
    }
    for (const int status : {301, 302, 303, 307, 308}) {
        const std::string number = std::to_string(status);
        rows.push_back(
            {group, "status-" + number + "-elsewhere", number + " to another host", Kind::Answers,
             "HTTP/1.1 " + number +
                 " Moved\r\nLocation: https://elsewhere.example/\r\nContent-Length: 0\r\n\r\n"});
    }
    for (const int status : {400, 404, 500, 503}) {
        const std::string number = std::to_string(status);
        rows.push_back({group, "status-" + number + "-success",
                        number + " with the document of a success", Kind::Answers,
                        "HTTP/1.1 " + number + " Status\r\n" + lengthAndBody});
    }
}

void addBodies(Rows& rows)
{
    const std::string group = "Body of the reply";
    const auto answers = [&](const char* name, const char* what, const std::string& bytes,
                             End end = End::Keeps) {
        Fault fault{group, std::string("body-") + name, what, Kind::Answers, bytes, end};
        fault.waits = end == End::Hangs;
        rows.push_back(fault);
    };
    answers("cut", "closed before its end", ok + "Content-Length: 100000\r\n\r\n{body}",
            End::Closes);
    answers("reset", "reset before its end", ok + "Content-Length: 100000\r\n\r\n{body}",
            End::Resets);
    answers("hangs", "hangs before its end", ok + "Content-Length: 100000\r\n\r\n{body}",
            End::Hangs);
    answers("none", "nothing of it comes; closed", ok + "Content-Length: 100\r\n\r\n", End::Closes);
    answers("none-hangs", "nothing of it comes; stays open", ok + "Content-Length: 100\r\n\r\n",
            End::Hangs);
    answers("longer", "longer than announced", ok + lengthAndBody + std::string(3000, 'x'),
            End::Closes);
    answers("shorter", "announced to be 20 bytes", ok + "Content-Length: 20\r\n\r\n{body}",
            End::Closes);
    answers("empty", "empty", ok + "Content-Length: 0\r\n\r\n");
    rows.push_back({group, "body-slow", "a piece of it each 10 ms", Kind::Slow, ok + lengthAndBody,
                    End::Keeps, 10});
    rows.push_back(waiting({group, "body-too-slow", "a blank each 20 ms, for ever", Kind::Endless,
                            ok + "Content-Length: 100000\r\n\r\n", End::Keeps, 20, " "}));
    for (const int status : {200, 401, 404, 500}) {
        const std::string number = std::to_string(status);
        rows.push_back(alone({group, "body-endless-" + number, number + " with an endless body",
                              Kind::Endless, "HTTP/1.1 " + number + " Status\r\n\r\n", End::Keeps,
                              0, std::string(16384, 'x')}));
    }
    rows.push_back(alone({group, "body-9m", "9 MB", Kind::Made, "9 MB"}));
    rows.push_back(alone({group, "body-chunked-endless", "in pieces, for ever", Kind::Endless,
                          chunked, End::Keeps, 0, "1000\r\n" + std::string(4096, 'x') + "\r\n"}));
    rows.push_back({group, "body-chunked", "in pieces, as it should be", Kind::Made, "chunked"});
    answers("chunked-size", "in pieces of a size that is no number",
            chunked + "zzz\r\n{body}\r\n0\r\n\r\n", End::Closes);
    answers("chunked-negative", "in pieces of a negative size",
            chunked + "-5\r\n{body}\r\n0\r\n\r\n", End::Closes);
    answers("chunked-huge", "a piece of 16 digits",
            chunked + "FFFFFFFFFFFFFFFF\r\n{body}\r\n0\r\n\r\n", End::Closes);
    answers("chunked-cut", "closed in a piece", chunked + "1000\r\n{body}", End::Closes);
    answers("chunked-hangs", "hangs in a piece", chunked + "1000\r\n{body}", End::Hangs);
    answers("chunked-plain", "said to be in pieces, and is not", chunked + "{body}", End::Closes);
    answers("encoding-unknown", "in an encoding nobody knows",
            ok + "Content-Encoding: zz\r\n" + lengthAndBody);
    answers("gzip-garbage", "said to be gzip, and is not",
            ok + "Content-Encoding: gzip\r\n" + lengthAndBody);
    rows.push_back({group, "body-gzip", "the answer as gzip", Kind::Made, "gzip"});
    rows.push_back(
        alone({group, "body-gzip-bomb", "256 MiB in 1 MB of gzip", Kind::Made, "gzip bomb"}));
    rows.push_back(alone(
        {group, "body-deflate-bomb", "256 MiB in 1 MB of deflate", Kind::Made, "deflate bomb"}));
}

void addDocuments(Rows& rows)
{
    const std::string group = "Document";
    const auto body = [&](const char* name, const char* what, const std::string& text,
                          int status = 200) {
        rows.push_back({group, std::string("document-") + name, what, Kind::Answers,
                        "HTTP/1.1 " + std::to_string(status) +
                            " Status\r\nContent-Type: text/xml\r\nContent-Length: " +
                            std::to_string(text.size()) + "\r\n\r\n" + text});
    };
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    const std::string space = " xmlns=\"https://account.example/schemas/rest/v1_0\"";
    const auto error = [&](const std::string& code) {
        return declaration + "<errorResponse" + space + "><errorCode>" + code +
               "</errorCode></errorResponse>";
    };
    body("plain-text", "plain text", "no XML");
    body("json", "JSON", "{\"status\": \"ok\"}");
    body("page", "a portal's page",
         "<!DOCTYPE html><html><head><title>Log in</title></head><body>Hello<br></body></html>");
    body("wrong-root", "another root", declaration + "<somethingElse" + space + "/>");
    body("no-namespace", "without a namespace",
         declaration + "<errorResponse><errorCode>x</errorCode></errorResponse>");
    body("root-only", "an empty root", declaration + "<x/>");
    body("declaration-only", "a declaration alone", declaration);
    body("cut", "ends before its end", declaration + "<errorResponse" + space + "><errorCode>");
    body("two-roots", "two roots", declaration + "<a/><b/>");
    body("not-utf8", "no UTF-8", declaration + "<a>\xff\xfe\xfa</a>");
    body("utf16", "UTF-16", std::string("\xff\xfe<\0a\0/\0>\0", 10));
    body("zero", "a zero in it", declaration + "<a>" + std::string(1, '\0') + "</a>");
    body("doctype", "a document type", declaration + "<!DOCTYPE a><a/>");
    body("external-entity", "an entity from a file",
         declaration + "<!DOCTYPE a [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><a>&e;</a>");
    body("error-in-success", "an error with status 200", error("usernameReserved"));
    body("error-unknown", "an error that nobody knows", error("somethingNew"), 400);
    body("error-empty", "an error without a code", error(""), 400);
    body("error-server", "an error with status 500", error("internalError"), 500);
    body("error-token", "the token is not taken", error("invalidAccessToken"), 401);
    body("error-key", "the key is not taken", error("notAuthorized"), 401);
    body("error-locked", "the account is locked", error("accountLocked"), 403);
    const auto made = [&](const char* name, const char* what, const char* how) {
        rows.push_back({group,
                        std::string("document-") + name,
                        what,
                        Kind::Made,
                        how,
                        End::Keeps,
                        0,
                        {},
                        false,
                        true});
    };
    made("entity-bomb", "entities of entities of entities", "entity bomb");
    made("characters", "more than 2 MiB of characters", "characters");
    made("markups", "more than 10,000 tags", "markups");
    made("attributes", "65 attributes of one tag", "attributes");
    made("depth", "257 elements within one another", "depth");
    made("depth-100000", "100,000 elements within one another", "great depth");
    made("long-value", "a value of a million characters", "long value");
    made("dates", "impossible dates", "dates");
    Fault bomb{group, "document-picture-bomb", "a picture that says it has 900 megapixels",
               Kind::Made, "picture bomb"};
    bomb.alone = bomb.picture = true;
    rows.push_back(bomb);
    Fault garbage{group, "document-picture-garbage", "a picture that is none", Kind::Made,
                  "picture garbage"};
    garbage.picture = true;
    rows.push_back(garbage);
}

} // namespace Matrix
