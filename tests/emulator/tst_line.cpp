// SPDX-License-Identifier: LGPL-2.1-or-later
// What is counted as a round trip, between two ends that do what they are told.
#include "emulator/wire/line.h"

#include <QtTest>

#include <sys/socket.h>

#include <array>
#include <memory>
#include <optional>

using namespace KelEmulator;

namespace {

/// A client, and who serves it.
struct Ends
{
    explicit Ends(Network& network)
    {
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            return;
        client = Descriptor(ends[0]);
        accepted = Descriptor(ends[1]);
        line = Line::make(accepted.number(), network);
    }

    bool asks() { return passes(client.number(), line->farEnd()); }
    bool answers()
    {
        line->answers();
        return saysMore();
    }
    bool saysMore() { return passes(line->farEnd(), client.number()); }

    static bool passes(int from, int to)
    {
        char byte = 'x';
        return ::send(from, &byte, 1, MSG_NOSIGNAL) == 1 && ::recv(to, &byte, 1, 0) == 1;
    }

    Descriptor client;
    Descriptor accepted;
    std::unique_ptr<Line> line;
};

bool readsEnd(int descriptor)
{
    char byte = 0;
    return ::recv(descriptor, &byte, 1, 0) == 0;
}

} // namespace

class TestLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void countsOpeningAndAnswers()
    {
        Network network;
        Ends ends(network);
        QVERIFY(ends.asks() && ends.asks());
        QCOMPARE(network.round(), 0);
        QVERIFY(ends.answers());
        QCOMPARE(network.round(), 2);
        QVERIFY(ends.saysMore());
        QCOMPARE(network.round(), 2);
        QVERIFY(ends.asks() && ends.answers());
        QCOMPARE(network.round(), 3);
    }

    void countsNothingThatWasNotAskedFor()
    {
        Network network;
        Ends ends(network);
        QVERIFY(ends.asks() && ends.answers());
        QCOMPARE(network.round(), 2);
        // The next question is under way when what is said beside it arrives.
        char byte = 'x';
        QCOMPARE(::send(ends.client.number(), &byte, 1, 0), ssize_t(1));
        QVERIFY(ends.saysMore());
        QCOMPARE(::recv(ends.line->farEnd(), &byte, 1, 0), ssize_t(1));
        QCOMPARE(network.round(), 2);
        QVERIFY(ends.answers());
        QCOMPARE(network.round(), 3);
    }

    void countsQuestionsAtTheSameTimeOnce()
    {
        Network network;
        Ends first(network);
        Ends second(network);
        QVERIFY(first.asks() && second.asks());
        QVERIFY(first.answers() && second.answers());
        QCOMPARE(network.round(), 2);
        QVERIFY(first.asks() && second.asks());
        QVERIFY(second.answers() && first.answers());
        QCOMPARE(network.round(), 3);
        // One behind the other they are two.
        QVERIFY(first.asks() && first.answers());
        QVERIFY(second.asks() && second.answers());
        QCOMPARE(network.round(), 5);
    }

    void countsALaterConnectionBehindTheEarlier()
    {
        Network network;
        Ends first(network);
        QVERIFY(first.asks() && first.answers());
        Ends second(network);
        QVERIFY(second.asks() && second.answers());
        QCOMPARE(network.round(), 4);
    }

    void endsBothWays()
    {
        Network network;
        std::optional<Ends> ends(network);
        QVERIFY(ends->asks());
        QCOMPARE(::shutdown(ends->client.number(), SHUT_WR), 0);
        QVERIFY(readsEnd(ends->line->farEnd()));
        // The other direction goes on.
        QVERIFY(ends->answers());
        ends->line.reset();
        QVERIFY(readsEnd(ends->client.number()));
    }

    void deliversWhatWasSaidBeforeTheEnd()
    {
        Network network;
        NetworkConditions conditions;
        conditions.latency = NetworkConditions::Milliseconds(50);
        network.setConditions(conditions);
        Ends ends(network);
        QVERIFY(ends.asks());
        const std::string text(100000, 'y');
        size_t got = 0;
        std::thread reader([&] {
            std::array<char, 4096> buffer;
            ssize_t some = 0;
            while ((some = ::recv(ends.client.number(), buffer.data(), buffer.size(), 0)) > 0)
                got += static_cast<size_t>(some);
        });
        const ssize_t sent = ::send(ends.line->farEnd(), text.data(), text.size(), MSG_NOSIGNAL);
        ends.line.reset(); // its end
        ends.accepted.reset();
        reader.join();
        QCOMPARE(sent, ssize_t(text.size()));
        QCOMPARE(got, text.size());
    }

    void endsWithAClientThatIsGone()
    {
        Network network;
        NetworkConditions conditions;
        conditions.latency = NetworkConditions::Milliseconds(10000);
        network.setConditions(conditions);
        Ends ends(network);
        QCOMPARE(::send(ends.client.number(), "x", 1, 0), ssize_t(1));
        QCOMPARE(::shutdown(ends.accepted.number(), SHUT_RDWR), 0);
        QVERIFY(readsEnd(ends.line->farEnd()));
    }
};

QTEST_GUILESS_MAIN(TestLine)
#include "tst_line.moc"
