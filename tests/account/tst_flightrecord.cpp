// SPDX-License-Identifier: LGPL-2.1-or-later
// What is kept of what was recorded, what is written of that, and when.
#include "account/calls.h"
#include "account/recording/tracefile.h"
#include "account/recording/writers.h"
#include "common/flightrecord.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <kelaccount/flightrecorder.h>

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <thread>

using namespace KelAccount;
using namespace KelTest;
using FlightRecord::Event;
using FlightRecord::Moment;
using FlightRecord::Recorded;

namespace {

// The seventh of the second source.
constexpr quint64 callNumber = 0x200000007;
constexpr qint64 ms = 1000000;

/// A call of so many milliseconds, a moment a row.
std::vector<Recorded> callToTheService()
{
    return {
        {{Moment::Made, callNumber, -1, 0, 0, "isUserIdAvailable"}, 10 * ms},
        {{Moment::Signed, 0, 4, 3}, 11 * ms},
        {{Moment::Posted, 0, 4}, 12 * ms},
        {{Moment::Requested, callNumber, 4}, 13 * ms},
        {{Moment::Connected, 0, 4}, 32 * ms},
        {{Moment::Sent, 0, 4}, 35 * ms},
        {{Moment::FirstByte, 0, 4, 200}, 75 * ms},
        {{Moment::Read, 0, 4, 0, 200}, 80 * ms},
        {{Moment::Answered, callNumber, -1, 0}, 81 * ms},
    };
}

QJsonArray entriesOf(const std::vector<Recorded>& kept, qint64 now = 1000 * ms)
{
    const QByteArray har = harOf(recordedCalls(kept), now);
    return QJsonDocument::fromJson(har)
        .object()
        .value("log"_s)
        .toObject()
        .value("entries"_s)
        .toArray();
}

QJsonObject timingsOf(const QJsonValue& entry)
{
    return entry.toObject().value("timings"_s).toObject();
}

QJsonArray eventsOf(const std::vector<Recorded>& kept, qint64 now = 1000 * ms)
{
    const QByteArray trace = traceOf(recordedCalls(kept), now);
    return QJsonDocument::fromJson(trace).object().value("traceEvents"_s).toArray();
}

/// To be compared with what was written by hand.
QByteArray textOf(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

/// What the "b" event of this name says besides its time.
QByteArray argumentsOf(const QJsonArray& events, const QString& name)
{
    for (const QJsonValue& value : events) {
        const QJsonObject event = value.toObject();
        if (event.value("name"_s) == name && event.value("ph"_s) == "b"_s)
            return textOf(event.value("args"_s).toObject());
    }
    return "no such event";
}

QStringList outlineOf(const QJsonArray& events)
{
    QStringList lines;
    for (const QJsonValue& value : events) {
        const QJsonObject event = value.toObject();
        lines.append(
            "%1 %2 %3"_s.arg(event.value("ph"_s).toString(), event.value("name"_s).toString())
                .arg(event.value("ts"_s).toDouble() / 1000));
    }
    return lines;
}

} // namespace

class TestFlightRecord : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The variable is read once.
    void initTestCase()
    {
        // Nobody has made a call yet.
        QCOMPARE(FlightRecord::newSource(), quint64(1));
        QVERIFY(mFolder.isValid());
        qputenv("KELACCOUNT_TRACE", QFile::encodeName(mFolder.filePath("trace.har"_s)));
        TraceFile::open();
    }

    // The first of all, where this is the first test of the process.
    void eachIsKeptAtOnce()
    {
        const std::size_t before = FlightRecord::kept().size();
        FlightRecord::record({Moment::Made, callNumber});
        const std::vector<Recorded> kept = FlightRecord::kept();
        QCOMPARE(kept.size(), std::min(before + 1, FlightRecord::capacity));
        QCOMPARE(kept.back().event.call, callNumber);
        // Of no request, which have numbers from 0 on.
        QCOMPARE(kept.back().event.request, -1);
        QCOMPARE(kept.back().event.status, 0);
        QCOMPARE(kept.back().event.detail, 0);
    }

    void whatWasRecordedIsKeptInItsOrder()
    {
        FlightRecord::record({Moment::Made, callNumber, -1, 0, 0, "isUserIdAvailable"});
        FlightRecord::record({Moment::Read, 0, -2147483647, -1, -302});
        const std::vector<Recorded> kept = FlightRecord::kept();
        QVERIFY(kept.size() >= 2);
        const Recorded& made = kept[kept.size() - 2];
        const Recorded& read = kept.back();
        QVERIFY(made.event.moment == Moment::Made);
        QCOMPARE(made.event.call, callNumber);
        QCOMPARE(made.event.request, -1);
        QCOMPARE(QByteArray(made.event.name), QByteArray("isUserIdAvailable"));
        QVERIFY(read.event.moment == Moment::Read);
        QCOMPARE(read.event.call, quint64(0));
        QCOMPARE(read.event.request, -2147483647);
        QCOMPARE(read.event.status, -1);
        QCOMPARE(read.event.detail, -302);
        QVERIFY(!read.event.name);
        QVERIFY(made.nanoseconds <= read.nanoseconds);
        QVERIFY(read.nanoseconds <= FlightRecord::now());
    }

    void theOldestMakeRoom()
    {
        constexpr int more = 100;
        const int all = int(FlightRecord::capacity) + more;
        for (int i = 1; i <= all; ++i)
            FlightRecord::record({Moment::Posted, 0, i});
        const std::vector<Recorded> kept = FlightRecord::kept();
        QCOMPARE(kept.size(), FlightRecord::capacity);
        for (std::size_t i = 0; i < kept.size(); ++i)
            QCOMPARE(kept[i].event.request, int(i) + more + 1);
    }

    // Each writes numbers that belong together; one that was read in the middle would not.
    void threadsWriteAtTheSameTimeAndNothingIsReadInHalves()
    {
        constexpr int rounds = 100;
        std::atomic<bool> goOn{true};
        const auto write = [&](int thread) {
            for (int i = 0; goOn; ++i)
                FlightRecord::record(
                    {Moment::Step, quint64(i & 0xffff), thread, i & 0xffff, i & 0xffff});
        };
        std::thread one(write, 1);
        std::thread other(write, 2);
        int read = 0;
        bool belongTogether = true;
        bool isOneOfThem = true;
        for (int round = 0; round < rounds || read == 0; ++round) {
            for (const Recorded& recorded : FlightRecord::kept()) {
                const Event& event = recorded.event;
                isOneOfThem = isOneOfThem && recorded.nanoseconds > 0;
                if (event.moment != Moment::Step)
                    continue;
                ++read;
                belongTogether = belongTogether && event.call == quint64(event.status) &&
                                 event.status == event.detail;
            }
        }
        goOn = false;
        one.join();
        other.join();
        QVERIFY(belongTogether);
        QVERIFY(isOneOfThem);
        // Only what met the other thread, a round behind, is missing.
        QVERIFY(FlightRecord::kept().size() > FlightRecord::capacity / 2);
    }

    void sourcesHaveNumbersOfTheirOwn()
    {
        const quint64 source = FlightRecord::newSource();
        QVERIFY(source != 0);
        QCOMPARE(FlightRecord::newSource(), source + 1);
        QCOMPARE(recordedNumber(callNumber), "2.7"_s);
        QCOMPARE(recordedNumber(0), QString());
    }

    void aRequestIsAnEntryWithItsStages()
    {
        const QJsonArray entries = entriesOf(callToTheService());
        QCOMPARE(entries.size(), 1);
        const QJsonObject entry = entries.first().toObject();
        QCOMPARE(timingsOf(entry), QJsonObject({{"blocked"_s, 2.0},
                                                {"dns"_s, -1},
                                                {"connect"_s, 20.0},
                                                {"ssl"_s, -1},
                                                {"send"_s, 3.0},
                                                {"wait"_s, 40.0},
                                                {"receive"_s, 5.0}}));
        QCOMPARE(entry.value("time"_s).toDouble(), 70.0);
        QCOMPARE(entry.value("_call"_s).toString(), "2.7"_s);
        QCOMPARE(entry.value("_request"_s).toInt(), 4);
        QCOMPARE(entry.value("_operation"_s).toString(), "isUserIdAvailable"_s);
        QCOMPARE(entry.value("_operationNumber"_s).toInt(), 3);
        QCOMPARE(entry.value("_status"_s), QJsonValue(0));
        QVERIFY(!entry.contains("_error"_s));
        QCOMPARE(entry.value("response"_s).toObject().value("status"_s).toInt(), 200);
    }

    // HAR 1.2 wants all of these, and nothing in them is of the user.
    void anEntryHasWhatReadersOfHarWant_data()
    {
        columns<int, QByteArray, QByteArray>("moments", "request", "response");
        row("to the service", 9,
            R"({"bodySize":-1,"cookies":[],"headers":[],"headersSize":-1,"httpVersion":"HTTP/1.1",)"
            R"("method":"POST","queryString":[],"url":"https://left-out.invalid/isUserIdAvailable"})"_ba,
            R"({"bodySize":-1,"content":{"comment":"left out","mimeType":"x-unknown","size":0},)"
            R"("cookies":[],"headers":[],"headersSize":-1,"httpVersion":"HTTP/1.1","redirectURL":"",)"
            R"("status":200,"statusText":"ZorKeLDefs::ErrorNone"})"_ba);
        row("not sent", 1,
            R"({"bodySize":-1,"cookies":[],"headers":[],"headersSize":-1,"httpVersion":"",)"
            R"("method":"CALL","queryString":[],"url":"https://left-out.invalid/isUserIdAvailable"})"_ba,
            R"({"bodySize":-1,"content":{"comment":"left out","mimeType":"x-unknown","size":0},)"
            R"("cookies":[],"headers":[],"headersSize":-1,"httpVersion":"","redirectURL":"",)"
            R"("status":0,"statusText":""})"_ba);
    }
    void anEntryHasWhatReadersOfHarWant()
    {
        const auto [moments, request, response] =
            fetch<int, QByteArray, QByteArray>("moments", "request", "response");
        std::vector<Recorded> kept = callToTheService();
        kept.resize(std::size_t(moments));
        const QJsonObject entry = entriesOf(kept).first().toObject();
        QCOMPARE(textOf(entry.value("request"_s).toObject()), request);
        QCOMPARE(textOf(entry.value("response"_s).toObject()), response);
        QCOMPARE(textOf(entry.value("cache"_s).toObject()), "{}"_ba);
    }

    void aDocumentSaysWhatItIsAndWhoMadeIt()
    {
        const QJsonObject har = QJsonDocument::fromJson(harOf({}, 0)).object();
        QCOMPARE(textOf(har),
                 R"({"log":{"creator":{"name":"libaccounts-kel","version":")" KELACCOUNT_VERSION
                 R"("},"entries":[],"version":"1.2"}})"_ba);
        const QJsonObject trace = QJsonDocument::fromJson(traceOf({}, 0)).object();
        QCOMPARE(textOf(trace),
                 R"({"displayTimeUnit":"ms","otherData":{"version":")" KELACCOUNT_VERSION
                 R"("},"traceEvents":[]})"_ba);
    }

    void anEntryBeginsWhenItsCallWasMade()
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const QString written =
            entriesOf({{{Moment::Made, callNumber, -1, 0, 0, "close"}, FlightRecord::now()}})
                .first()
                .toObject()
                .value("startedDateTime"_s)
                .toString();
        const QRegularExpression form("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z$"_s);
        QVERIFY2(form.match(written).hasMatch(), qPrintable(written));
        const QDateTime begun = QDateTime::fromString(written, Qt::ISODateWithMs);
        constexpr qint64 secondsAtMost = 60;
        QVERIFY2(qAbs(begun.secsTo(now)) < secondsAtMost, qPrintable(written));
    }

    void aConnectionThatStoodCostsNothing()
    {
        std::vector<Recorded> kept = callToTheService();
        kept.erase(kept.begin() + 4);
        const QJsonObject timings = timingsOf(entriesOf(kept).first());
        QCOMPARE(timings.value("connect"_s).toDouble(), -1.0);
        QCOMPARE(timings.value("send"_s).toDouble(), 23.0);
    }

    // What was not reached took no time; where it ended is seen by what is the last to have taken
    // any.
    void whatFailsEndsInTheStageThatItReached_data()
    {
        columns<int, double, double, double, double>("reached", "connect", "send", "wait",
                                                     "receive");
        row("no connection", 4, 30.0, 0.0, 0.0, 0.0);
        row("connected", 5, 20.0, 10.0, 0.0, 0.0);
        row("sent", 6, 20.0, 3.0, 7.0, 0.0);
    }
    void whatFailsEndsInTheStageThatItReached()
    {
        QFETCH(int, reached);
        std::vector<Recorded> kept = callToTheService();
        kept.resize(std::size_t(reached));
        kept.push_back({{Moment::Read, 0, 4, QNetworkReply::RemoteHostClosedError}, 42 * ms});
        kept.push_back({{Moment::Answered, callNumber, -1, 402}, 43 * ms});
        const QJsonObject entry = entriesOf(kept).first().toObject();
        const QJsonObject timings = timingsOf(entry);
        QFETCH(double, connect);
        QFETCH(double, send);
        QFETCH(double, wait);
        QFETCH(double, receive);
        QCOMPARE(timings.value("connect"_s).toDouble(), connect);
        QCOMPARE(timings.value("send"_s).toDouble(), send);
        QCOMPARE(timings.value("wait"_s).toDouble(), wait);
        QCOMPARE(timings.value("receive"_s).toDouble(), receive);
        QCOMPARE(entry.value("_error"_s).toString(), "RemoteHostClosedError"_s);
        QCOMPARE(entry.value("_status"_s).toInt(), 402);
        QCOMPARE(entry.value("response"_s).toObject().value("statusText"_s).toString(),
                 "ZorKeLDefs::ErrorRemoteHostClosed"_s);
    }

    void aCallWithoutARequestIsAnEntry()
    {
        const QJsonArray entries =
            entriesOf({{{Moment::Made, callNumber, -1, 0, 0, "downloadProfile"}, 10 * ms},
                       {{Moment::Answered, callNumber, -1, 802}, 15 * ms}});
        QCOMPARE(entries.size(), 1);
        const QJsonObject entry = entries.first().toObject();
        QCOMPARE(entry.value("_status"_s).toInt(), 802);
        QCOMPARE(entry.value("time"_s).toDouble(), 5.0);
        QVERIFY(!entry.contains("_request"_s));
    }

    void whatIsUnderWayHasNoStatus()
    {
        std::vector<Recorded> kept = callToTheService();
        kept.resize(6);
        const QJsonObject entry = entriesOf(kept, 95 * ms).first().toObject();
        QVERIFY(!entry.contains("_status"_s));
        QCOMPARE(timingsOf(entry).value("wait"_s).toDouble(), 60.0);
        QCOMPARE(outlineOf(eventsOf(kept, 95 * ms)).last(), "e isUserIdAvailable 95"_s);
        QCOMPARE(textOf(eventsOf(kept, 95 * ms).last().toObject().value("args"_s).toObject()),
                 "{}"_ba);
    }

    void whatIsAbandonedIsSaidToBe()
    {
        std::vector<Recorded> kept = callToTheService();
        kept.resize(6);
        kept.push_back({{Moment::Abandoned, callNumber}, 40 * ms});
        kept.push_back({{Moment::TakenBack, 0, 4}, 41 * ms});
        const QJsonObject entry = entriesOf(kept).first().toObject();
        QCOMPARE(entry.value("_abandoned"_s), QJsonValue(true));
        QCOMPARE(entry.value("_error"_s).toString(), "OperationCanceledError"_s);
        QCOMPARE(timingsOf(entry).value("wait"_s).toDouble(), 6.0);
        const QJsonObject last = eventsOf(kept).last().toObject();
        QCOMPARE(textOf(last.value("args"_s).toObject()), R"({"abandoned":true})"_ba);
    }

    // Its beginning was overwritten.
    void aCallWhoseBeginningIsGoneIsLeftOut()
    {
        std::vector<Recorded> kept = callToTheService();
        kept.erase(kept.begin());
        QVERIFY(entriesOf(kept).isEmpty());
        QVERIFY(eventsOf(kept).isEmpty());
    }

    void theStagesOfACallAreNestedInIt()
    {
        const QJsonArray events = eventsOf(callToTheService());
        QCOMPARE(outlineOf(events),
                 QStringList({"b isUserIdAvailable 10"_s, "b looked at 10"_s, "e looked at 11"_s,
                              "b signed 11"_s, "e signed 12"_s, "b posted 12"_s, "e posted 32"_s,
                              "b connected 32"_s, "e connected 35"_s, "b sent 35"_s, "e sent 75"_s,
                              "b being received 75"_s, "e being received 80"_s, "b read 80"_s,
                              "e read 81"_s, "e isUserIdAvailable 81"_s}));
        for (const QJsonValue& event : events) {
            QCOMPARE(event.toObject().value("id"_s).toString(), "2.7"_s);
            QCOMPARE(event.toObject().value("cat"_s).toString(), "call"_s);
        }
        const QJsonObject result = events.last().toObject().value("args"_s).toObject();
        QCOMPARE(result.value("status"_s), QJsonValue(0));
    }

    void aStageSaysWhatIsKnownOfIt()
    {
        const QJsonArray events = eventsOf(callToTheService());
        QCOMPARE(argumentsOf(events, "isUserIdAvailable"_s), "{}"_ba);
        QCOMPARE(argumentsOf(events, "signed"_s), R"({"operationNumber":3,"request":4})"_ba);
        QCOMPARE(argumentsOf(events, "posted"_s), R"({"request":4})"_ba);
        QCOMPARE(argumentsOf(events, "being received"_s), R"({"httpStatus":200,"request":4})"_ba);
        QCOMPARE(argumentsOf(events, "read"_s), R"({"httpStatus":200,"request":4})"_ba);
    }

    void aStageThatFailedSaysHow()
    {
        const QJsonArray events =
            eventsOf({{{Moment::Made, callNumber, -1, 0, 0, "isUserIdAvailable"}, 10 * ms},
                      {{Moment::Requested, callNumber, 4}, 13 * ms},
                      {{Moment::Read, 0, 4, QNetworkReply::RemoteHostClosedError, 0}, 42 * ms},
                      {{Moment::Step, callNumber, -1, 17, 0, "Opening"}, 43 * ms},
                      {{Moment::Step, callNumber, -1, 0, 0, "Removing"}, 44 * ms},
                      {{Moment::Replied, callNumber, -1, 403}, 45 * ms}});
        QCOMPARE(argumentsOf(events, "read"_s),
                 R"({"error":"RemoteHostClosedError","httpStatus":0,"request":4})"_ba);
        QCOMPARE(argumentsOf(events, "Opening"_s), R"({"status":17})"_ba);
        QCOMPARE(argumentsOf(events, "Removing"_s), "{}"_ba);
        QCOMPARE(argumentsOf(events, "replied"_s), R"({"status":403})"_ba);
    }

    void aCallThroughTheSessionShowsThePlugin()
    {
        const QJsonArray events =
            eventsOf({{{Moment::Made, callNumber, -1, 0, 0, "downloadProfile"}, 10 * ms},
                      {{Moment::Opening, callNumber}, 11 * ms},
                      {{Moment::Opened, callNumber, -1, 1}, 12 * ms},
                      {{Moment::Queued, callNumber}, 13 * ms},
                      {{Moment::WithPlugin, callNumber}, 14 * ms},
                      {{Moment::Replied, callNumber, -1, 403}, 15 * ms},
                      {{Moment::Answered, callNumber, -1, 403}, 16 * ms}});
        QStringList begun = outlineOf(events).filter(QRegularExpression("^b "_s));
        QCOMPARE(begun, QStringList({"b downloadProfile 10"_s, "b looked at 10"_s,
                                     "b session being opened 11"_s, "b session open 12"_s,
                                     "b queued for the plugin 13"_s, "b with the plugin 14"_s,
                                     "b replied 15"_s}));
        QCOMPARE(
            events.last().toObject().value("args"_s).toObject().value("statusName"_s).toString(),
            "ZorKeLDefs::ErrorHostNotFound"_s);
    }

    // As of a process in which nothing but refused calls is made, by the method with the longest
    // name.
    void aFileIsBounded()
    {
        Calls calls;
        for (std::size_t i = 0; i < FlightRecord::capacity; ++i)
            calls.make("resetPasswordUsingSecurityQuestion");
        constexpr int bound = 2 * 1024 * 1024;
        for (const auto format : {RecordingFormat::Har, RecordingFormat::TraceEvents}) {
            const QByteArray recording = flightRecording(format);
            QVERIFY(recording.contains("resetPasswordUsingSecurityQuestion"));
            QVERIFY(recording.size() < bound);
        }
    }

    // Before its signal is emitted: the application may end in the slot.
    void aCallThatFailsIsInTheFileAtOnce()
    {
        Calls one;
        Calls other;
        const CallId succeeds = one.make("succeeds");
        const CallId fails = other.make("fails");
        one.answer({succeeds, 0}, [&] { QVERIFY(written(succeeds).isEmpty()); });
        other.answer({fails, 403}, [&] {
            QCOMPARE(written(fails).value("_operation"_s).toString(), "fails"_s);
            QCOMPARE(written(fails).value("_status"_s).toInt(), 403);
        });
        QCOMPARE(written(succeeds).value("_operation"_s).toString(), "succeeds"_s);
        QVERIFY(recordedNumber(fails) != recordedNumber(succeeds));
    }

    // Whoever comes while another one writes does not wait, and what he knows is written all the
    // same.
    void threadsWriteOneFile()
    {
        constexpr int rounds = 20;
        Calls calls;
        const auto write = [&](CallId call) {
            for (int i = 0; i < rounds; ++i) {
                FlightRecord::record({Moment::Answered, call, -1, i});
                TraceFile::write();
            }
        };
        const MessageLog complaints;
        const CallId one = calls.make("one");
        const CallId other = calls.make("other");
        std::thread first(write, one);
        std::thread second(write, other);
        first.join();
        second.join();
        for (const CallId call : {one, other})
            QCOMPARE(written(call).value("_status"_s).toInt(), rounds - 1);
        QCOMPARE(complaints.all(), QStringList());
    }

private:
    /// The entry of a call in the file.
    QJsonObject written(CallId call) const
    {
        QFile file(mFolder.filePath("trace.har"_s));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const QJsonObject log =
            QJsonDocument::fromJson(file.readAll()).object().value("log"_s).toObject();
        for (const QJsonValue& entry : log.value("entries"_s).toArray()) {
            if (entry.toObject().value("_call"_s).toString() == recordedNumber(call))
                return entry.toObject();
        }
        return {};
    }

    QTemporaryDir mFolder;
};

QTEST_GUILESS_MAIN(TestFlightRecord)
#include "tst_flightrecord.moc"
