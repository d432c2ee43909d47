// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/obcservicetag.h"
#include "device/testtagserver.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

#include <sys/resource.h>
#include <unistd.h>

using namespace KelTest;

namespace {

// Leaves no descriptor free while it lives.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &mBefore);
        const int next = dup(STDIN_FILENO);
        close(next);
        const rlimit none = {static_cast<rlim_t>(next), mBefore.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &mBefore); }
    Q_DISABLE_COPY(NoDescriptors)

private:
    rlimit mBefore = {};
};

} // namespace

class TestObcServiceTag : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TagServerAddress::setProgram({});
        setStartedServerOptions({});
    }

    void cleanup()
    {
        // Whatever a test started is gone after it.
        QVERIFY(!hasChildren());
    }

    void anErrorOnEntryOrNoneTouchesNothing()
    {
        unsigned error = 1;
        for (unsigned* const given : {&error, static_cast<unsigned*>(nullptr)}) {
            char tag[8] = "before";
            unsigned length = 77;
            QCOMPARE(ObC_ServiceTag("key", 3, tag, &length, sizeof tag, given), 0);
            QCOMPARE(error, 1U);
            QCOMPARE(length, 77U);
            QCOMPARE(tag, "before");
        }
    }

    void aNullArgumentIsReported_data()
    {
        const auto row = rows<bool, bool, bool>("withKey", "withTag", "withLength");
        row("no key", false, true, true);
        row("no tag buffer", true, false, true);
        row("no tag length", true, true, false);
        row("nothing", false, false, false);
    }
    void aNullArgumentIsReported()
    {
        const auto [withKey, withTag, withLength] =
            fetch<bool, bool, bool>("withKey", "withTag", "withLength");
        ThreadTagServer server("\x01tag"_ba);
        QVERIFY(server.isReady());
        char tag[8];
        unsigned length = 77;
        unsigned error = 0;
        // A length that is too long as well: a null pointer is the first thing looked for.
        QCOMPARE(ObC_ServiceTag(withKey ? "key" : nullptr, 501, withTag ? tag : nullptr,
                                withLength ? &length : nullptr, sizeof tag, &error),
                 0);
        QCOMPARE(error, 0x2001U);
        QCOMPARE(length, withLength ? 0U : 77U);
        QCOMPARE(server.connections(), 0);
    }

    // The length of the key is looked at before any socket is made.
    void aMissingSocketIsReported()
    {
        const QByteArray key(501, 'k');
        for (const unsigned keyLength : {501U, 3U}) {
            char tag[8];
            unsigned length = 77;
            unsigned error = 0;
            int result = -1;
            {
                const NoDescriptors none;
                result =
                    ObC_ServiceTag(key.constData(), keyLength, tag, &length, sizeof tag, &error);
            }
            QCOMPARE(result, 0);
            QCOMPARE(error, keyLength == 501 ? 0x2002U : 0x2003U);
            QCOMPARE(length, 0U);
        }
    }

    void theFrameIsWrittenAsOnTheWire_data()
    {
        const auto row = rows<QByteArray, QByteArray>("key", "head");
        row("10 bytes", "0123456789", QByteArray::fromHex("00C3000D30000A"));
        row("no byte", "", QByteArray::fromHex("00C30003300000"));
        row("253 bytes", QByteArray(253, 'a'), QByteArray::fromHex("00C301003000FD"));
        row("500 bytes", QByteArray(500, 'z'), QByteArray::fromHex("00C301F73001F4"));
    }
    void theFrameIsWrittenAsOnTheWire()
    {
        const auto [key, head] = fetch<QByteArray, QByteArray>("key", "head");
        ThreadTagServer server("\x01tag"_ba);
        QVERIFY(server.isReady());
        const TagOutcome outcome = askForTag(key);
        QCOMPARE(outcome.result, 1);
        QCOMPARE(outcome.error, 0U);
        QCOMPARE(outcome.tag, "tag"_ba);
        QCOMPARE(server.frames(), QByteArrayList{head + key});
    }

    void theReplyIsReadAsOnTheWire_data()
    {
        const auto row =
            rows<QByteArray, int, unsigned, QByteArray>("reply", "result", "error", "tag");
        const auto hex = [](const char* digits) { return QByteArray::fromHex(digits); };
        row("failure like a client's", hex("0000002001"), 0, 0x2001U, {});
        row("big-endian failure", hex("0001020304"), 0, 0x01020304U, {});
        row("largest failure", hex("00FFFFFFFF"), 0, 0xFFFFFFFFU, {});
        row("failure and more", hex("00000000070908"), 0, 7U, {});
        row("failure without number", hex("00"), 0, 0U, {});
        row("failure with half a number", hex("000102"), 0, 0x01020000U, {});
        row("status 1 alone", hex("01"), 1, 0U, {});
        row("status 255 alone", hex("FF"), 1, 0U, {});
        row("status 128 and tag", hex("80616200FF"), 1, 0U, hex("616200FF"));
        row("closed without reply", {}, 0, 0x2005U, {});
    }
    void theReplyIsReadAsOnTheWire()
    {
        const auto [reply, result, error, tag] =
            fetch<QByteArray, int, unsigned, QByteArray>("reply", "result", "error", "tag");
        ThreadTagServer server(reply);
        QVERIFY(server.isReady());
        const TagOutcome outcome = askForTag();
        QCOMPARE(outcome.result, result);
        QCOMPARE(outcome.error, error);
        QCOMPARE(outcome.length, static_cast<unsigned>(tag.size()));
        QCOMPARE(outcome.tag, tag);
    }

    void aReplyOfAnySizeFitsOrIsDropped_data()
    {
        const auto row = rows<int, int>("replyBytes", "tagBytes");
        row("1", 1, 0);
        row("2", 2, 1);
        row("2999", 2999, 2998);
        row("3000", 3000, 2999);
        row("3001", 3001, 0);
        row("4095", 4095, 0);
        row("4096", 4096, 0);
        // One read takes 4096 of them, which is too much already.
        row("60000", 60000, 0);
    }
    void aReplyOfAnySizeFitsOrIsDropped()
    {
        const auto [replyBytes, tagBytes] = fetch<int, int>("replyBytes", "tagBytes");
        RunningTagServer server({"--reply-bytes"_s, QString::number(replyBytes)});
        QVERIFY(server.isReady());
        const TagOutcome outcome = askForTag();
        QCOMPARE(outcome.result, 1);
        QCOMPARE(outcome.error, 0U);
        QCOMPARE(outcome.length, static_cast<unsigned>(tagBytes));
        QCOMPARE(outcome.tag, QByteArray(tagBytes, 'T'));
    }

    void aTagAsLongAsTheBufferIsDropped_data()
    {
        const auto row = rows<int, QByteArray>("capacity", "tag");
        row("one byte to spare", 4, "tag");
        row("just as long", 3, {});
        row("none", 0, {});
        row("negative", -1, {});
    }
    void aTagAsLongAsTheBufferIsDropped()
    {
        const auto [capacity, tag] = fetch<int, QByteArray>("capacity", "tag");
        ThreadTagServer server("\x01tag"_ba);
        QVERIFY(server.isReady());
        QByteArray buffer(8, '\x5A');
        unsigned length = 77;
        unsigned error = 0;
        QCOMPARE(ObC_ServiceTag("key", 3, buffer.data(), &length, capacity, &error), 1);
        QCOMPARE(length, static_cast<unsigned>(tag.size()));
        QCOMPARE(buffer, tag + QByteArray(8 - tag.size(), '\x5A'));
    }
};

QTEST_GUILESS_MAIN(TestObcServiceTag)
#include "tst_obcservicetag.moc"
