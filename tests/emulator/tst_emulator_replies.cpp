// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/emulatorprocess.h"
#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"
#include "rest/request/servicehosts.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDateTime>
#include <QDomDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <QtTest>

#include <atomic>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

QByteArray pathOf(const QByteArray& name)
{
    return "/rest/1.0/availability/" + name;
}

QDomElement rootOf(const WireReply& reply)
{
    QDomDocument document;
    return document.setContent(reply.body, true) ? document.documentElement() : QDomElement();
}

} // namespace

class TestEmulatorReplies : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mEmulator.start({"--account"_s, "bob"_s}), mEmulator.log().constData());
    }

    void answersMalformedRequestsWithAnErrorDocument_data()
    {
        const auto row = rows<QByteArray, int, QString, QByteArray>("bytes", "status", "errorCode",
                                                                    "explanation");
        const QString method = "illegalRequestMethod"_s;
        const QString format = "invalidMessageFormat"_s;

        SignedRequest request;
        request.httpMethod = "GET";
        row("GET on the wire", request.bytes(), 405, method, "every request is an HTTP POST");
        request = SignedRequest();
        request.restVerb = "PUT";
        row("another verb", request.bytes(), 405, method, "no operation has this REST verb");
        request.restVerb = "";
        row("no verb", request.bytes(), 405, method, "\"rest-verb\" header");
        request.restVerb = "PATCH";
        row("no such verb", request.bytes(), 405, method, "\"rest-verb\" header");
        row("unknown operation", SignedRequest("/rest/1.0/nothing").bytes(), 404,
            "resourceNotFound", "no operation has this address");
        row("another base", SignedRequest("/rest/2.0/availability/bob").bytes(), 404, "invalidUrl",
            "every address begins with /rest/1.0/");
        request = SignedRequest();
        request.contentType = "text/xml";
        row("not a form", request.bytes(), 415, "unknownContentType",
            "application/x-www-form-urlencoded");

        SignedRequest form;
        form.document = "<a/>";
        const auto formRow = [&](const char* name, const QByteArray& body,
                                 const char* explanation) {
            const QByteArray good = form.bytes();
            QByteArray bytes = good.left(good.indexOf("Content-Length"));
            bytes += "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
            row(name, bytes, 400, format, explanation);
        };
        formRow("bare document", "<a/>", "does not begin with the form field");
        formRow("another field", "Document=%3Ca%2F%3E", "does not begin with the form field");
        formRow("two fields", "XMLContent=%3Ca%2F%3E&a=b", "more than the one field");
        formRow("empty field", "XMLContent=", "is empty");
        formRow("not encoded", "XMLContent=<a/>", "not percent-encoded");
        formRow("lower-case digits", "XMLContent=%3ca%2f%3e", "not percent-encoded");
        formRow("plus", "XMLContent=%3Ca+b%2F%3E", "not percent-encoded");

        row("no HTTP", "Hello\r\n\r\n", 400, format, "refused a request: status 400");
        row("no length", "POST /rest/1.0/a HTTP/1.1\r\nHost: a\r\n\r\n", 411, format,
            "Content-Length header is missing");
        row("long address", SignedRequest(pathOf(QByteArray(20000, 'a'))).bytes(), 414,
            "invalidUrl", "refused a request: status 414");
        const auto headRow = [&](const char* name, const QByteArray& line, int status,
                                 const char* explanation) {
            const QByteArray head = SignedRequest().bytes();
            QByteArray bytes = head.left(head.indexOf("Content-Length"));
            bytes += line + "\r\n\r\n";
            row(name, bytes, status, format, explanation);
        };
        headRow("pieces", "Transfer-Encoding: chunked", 411, "Content-Length header is missing");
        headRow("length and pieces", "Content-Length: 5\r\nTransfer-Encoding: chunked", 411,
                "instead of the Transfer-Encoding header");
        headRow("two lengths", "Content-Length: 5\r\nContent-Length: 5", 400, "status 400");
        headRow("negative length", "Content-Length: -1", 400, "status 400");
        headRow("length with a unit", "Content-Length: 5 bytes", 400, "status 400");
        headRow("length past every number", "Content-Length: 99999999999999999999", 400,
                "status 400");
        headRow("empty length", "Content-Length: ", 400, "status 400");
        headRow("long body", "Content-Length: 16777217", 413,
                "the body is too long (16777217 bytes)");
        headRow("header without a name", ": value", 400, "status 400");
        headRow("line that is no header", "Hello", 400, "status 400");
        headRow("many headers", "Content-Length: 0" + "\r\nName: value"_ba.repeated(6000), 400,
                "status 400");
        row("another protocol", SignedRequest().bytes().replace(" HTTP/1.1\r\n", " HTTP/2.0\r\n"),
            400, format, "refused a request: status 400");
        request = SignedRequest();
        request.consumerKey = QByteArray(20000, 'k');
        row("long header", request.bytes(), 400, format, "refused a request: status 400");
    }
    void answersMalformedRequestsWithAnErrorDocument()
    {
        const auto [bytes, status, errorCode, explanation] =
            fetch<QByteArray, int, QString, QByteArray>("bytes", "status", "errorCode",
                                                        "explanation");
        WireClient client;
        QVERIFY(client.open(mEmulator));
        const WireReply reply = client.ask(bytes);
        QCOMPARE(reply.status, status);
        QVERIFY(!reply.header("Date").isEmpty());
        QCOMPARE(rootOf(reply).firstChildElement("errorCode"_s).text(), errorCode);
        QVERIFY2(mEmulator.logHas(explanation), mEmulator.log().constData());
        QCOMPARE(ask(SignedRequest()).status, 422); // bob has an account here
    }

    void datesEveryReplyByItsClock_data()
    {
        const auto row = rows<int>("skew");
        row("true", 0);
        row("an hour ahead", 3600);
        row("ten days back", -864000);
    }
    void datesEveryReplyByItsClock()
    {
        QFETCH(int, skew);
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--clock-skew=%1"_s.arg(skew)}));
        WireClient client;
        QVERIFY(client.open(emulator));
        const qint64 before = QDateTime::currentSecsSinceEpoch() + skew;
        // Refused or not, a reply has the date.
        const WireReply reply = client.ask(SignedRequest().bytes());
        const qint64 after = QDateTime::currentSecsSinceEpoch() + skew;
        QCOMPARE(reply.headers.count("Date: "), 1);
        const QString text = QString::fromLatin1(reply.header("Date"));
        QVERIFY2(text.endsWith(" GMT"_s), qPrintable(text));
        QDateTime date = QLocale(QLocale::English, QLocale::UnitedStates)
                             .toDateTime(text.chopped(4), "ddd, dd MMM yyyy HH:mm:ss"_s);
        date.setTimeSpec(Qt::UTC);
        QVERIFY2(date.isValid(), qPrintable(text));
        QVERIFY(date.toSecsSinceEpoch() >= before && date.toSecsSinceEpoch() <= after);
    }

    void keepsAConnectionForManyRequests()
    {
        constexpr int many = 500;
        WireClient client;
        QVERIFY(client.open(mEmulator));
        for (int number = 0; number < many; ++number) {
            const QByteArray name = "user" + QByteArray::number(number);
            QCOMPARE(client.ask(SignedRequest(pathOf(name)).bytes()).status, 200);
        }
    }

    void answersRequestsThatComeTogether()
    {
        WireClient client;
        QVERIFY(client.open(mEmulator));
        SignedRequest refused;
        refused.document = "<a/>";
        QByteArray last = SignedRequest(pathOf("carol")).bytes();
        last.replace("\r\n\r\n", "\r\nConnection: close\r\n\r\n");
        QVERIFY(client.send(refused.bytes() + SignedRequest().bytes() + last));
        const WireReply replies = client.receiveToEnd();
        QVERIFY(replies.closed);
        const int first = replies.raw.indexOf("HTTP/1.1 400 ");
        const int second = replies.raw.indexOf("HTTP/1.1 422 ");
        const int third = replies.raw.indexOf("HTTP/1.1 200 ");
        QVERIFY2(first == 0 && second > first && third > second, replies.raw.constData());
        QCOMPARE(replies.raw.count("HTTP/1.1 "), 3);
    }

    void closesWhenTheClientAsksForIt()
    {
        for (const char* end :
             {"1.1\r\nConnection: close\r\n", "1.1\r\nconnection: Close\r\n",
              "1.1\r\nConnection: close, TE\r\n", "1.1\r\nConnection: keep-alive, close\r\n",
              "1.0\r\n", "1.0\r\nConnection: close\r\n",
              "1.0\r\nConnection: keep-alive, close\r\n"}) {
            WireClient client;
            QVERIFY(client.open(mEmulator));
            QVERIFY(client.send(SignedRequest(pathOf("carol")).bytes().replace("1.1\r\n", end)));
            const WireReply reply = client.receiveToEnd();
            QVERIFY2(reply.closed, end);
            QCOMPARE(reply.status, 200);
            QCOMPARE(reply.header("Connection"), "close"_ba);
            QCOMPARE(reply.body.size(), reply.announcedLength());
        }
    }

    void givesLeaveToSendABody()
    {
        SignedRequest request;
        request.document = "<a/>";
        QByteArray head = request.bytes();
        const int bodyAt = head.indexOf("\r\n\r\n") + 4;
        const QByteArray body = head.mid(bodyAt);
        head = head.left(bodyAt - 2) + "Expect: 100-continue\r\n\r\n";
        WireClient client;
        QVERIFY(client.open(mEmulator));
        QVERIFY(client.send(head));
        QVERIFY(client.somethingComes(30000));
        QVERIFY(client.send(body));
        QVERIFY(client.send(QByteArray(SignedRequest().bytes())
                                .replace("\r\n\r\n", "\r\nConnection: close\r\n\r\n")));
        const WireReply replies = client.receiveToEnd();
        QVERIFY2(replies.raw.startsWith("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 400 "),
                 replies.raw.constData());
        QVERIFY(replies.raw.contains("HTTP/1.1 422 "));
    }

    void servesManyConnectionsAtOnce()
    {
        constexpr int connections = 64;
        constexpr int requestsEach = 10;
        std::atomic<int> open{0};
        std::atomic<int> good{0};
        std::vector<std::thread> threads;
        for (int number = 0; number < connections; ++number) {
            threads.emplace_back([&] {
                WireClient client;
                const bool connected = client.open(mEmulator);
                ++open;
                // Nobody asks before everybody is connected.
                const QDeadlineTimer deadline(30000);
                while (open < connections && !deadline.hasExpired())
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                for (int request = 0; connected && request < requestsEach; ++request)
                    good += client.ask(SignedRequest(pathOf("carol")).bytes()).status == 200;
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(good.load(), connections * requestsEach);
    }

    void refusesProxyRequestsOtherThanTunnels()
    {
        QTcpSocket socket;
        socket.connectToHost("127.0.0.1"_s, mEmulator.proxyPort());
        QVERIFY(socket.waitForConnected());
        socket.write("GET http://" KELACCOUNT_HOST_PRODUCTION "/ HTTP/1.1\r\n\r\n");
        QVERIFY(socket.waitForDisconnected());
        QVERIFY(socket.readAll().startsWith("HTTP/1.1 405 "));
    }

    void readsWhatItRefuses()
    {
        // A connection that is closed with bytes unread is reset, and with it goes the answer of
        // whoever sends all before reading. Qt's sockets look at the answer meanwhile.
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(mEmulator.proxyPort());
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        QCOMPARE(::connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        const QByteArray all =
            "POST http://localhost/ HTTP/1.1\r\n\r\n" + QByteArray(20 * 1024 * 1024, 'x');
        QCOMPARE(::send(client, all.constData(), size_t(all.size()), MSG_NOSIGNAL), all.size());
        QByteArray answer(100, '\0');
        QVERIFY(::recv(client, answer.data(), size_t(answer.size()), 0) > 0);
        QVERIFY2(answer.startsWith("HTTP/1.1 405 "), answer);
        ::close(client);
    }

    // "ö" is one of the service's letters; what follows clears the screen of a terminal.
    void whatAClientSentIsNoOrderToTheTerminal()
    {
        const QByteArray letter = "\xC3\xB6";
        const QByteArray order = "\xC2\x9B"
                                 "2J";
        WireClient client;
        QVERIFY(client.open(mEmulator));
        const QByteArray request =
            SignedRequest().bytes().replace("availability/bob", "availability/" + letter + order);
        QCOMPARE(client.ask(request).status, 401);
        const QByteArray output = EmulatorProcess::run({"log"_s}, mEmulator.environment()).output;
        QVERIFY2(output.contains("availability/" + letter + "\\x9b2J"), output);
        QVERIFY(!output.contains(order));
        QVERIFY(mEmulator.logHas("availability/" + letter + "\\x9b2J"));
        QVERIFY(!mEmulator.log().contains(order));
    }

    void listsRequestsWithoutBodies()
    {
        QCOMPARE(mEmulator.admin("DELETE", "/requests"_s).status, 200);
        QVERIFY(mEmulator.requests().isEmpty());
        SignedRequest request(pathOf("carol"));
        request.document = "<a/>";
        QCOMPARE(ask(request).status, 400);
        const QJsonArray requests = mEmulator.requests();
        QCOMPARE(requests.size(), 1);
        const QJsonObject entry = requests.first().toObject();
        QCOMPARE(entry.value("verb"_s).toString(), "GET"_s);
        QCOMPARE(entry.value("target"_s).toString(), "/rest/1.0/availability/carol"_s);
        QCOMPARE(entry.value("host"_s).toString(), QStringLiteral(KELACCOUNT_HOST_PRODUCTION));
        QCOMPARE(entry.value("status"_s).toInt(), 400);
        QCOMPARE(entry.value("operation"_s).toInt(), 3);
        QCOMPARE(entry.value("bodyBytes"_s).toInt(), 21); // XMLContent=%3Ca%2F%3E
        QCOMPARE(entry.value("problem"_s).toString(), "this operation has no document"_s);
    }

private:
    WireReply ask(const SignedRequest& request)
    {
        WireClient client;
        return client.open(mEmulator) ? client.ask(request.bytes()) : WireReply();
    }

    EmulatorProcess mEmulator;
};

QTEST_GUILESS_MAIN(TestEmulatorReplies)
#include "tst_emulator_replies.moc"
