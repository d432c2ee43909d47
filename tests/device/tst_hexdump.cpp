// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/hexdump.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char indented = ' ';
constexpr char guard = '\x7F';

using Stored = int (*)(char**, const void*, unsigned, int, const void*);

// What the function writes into a buffer of exactly the size that it says it needs.
QByteArray stored(Stored print, bool ascii, const QByteArray& data, int indentation,
                  const void* withIndentation)
{
    const std::size_t size = hexDumpSize(static_cast<unsigned>(data.size()), indentation,
                                         withIndentation != nullptr, ascii);
    QByteArray buffer(static_cast<int>(size) + 16, guard);
    char* cursor = buffer.data();
    if (print(&cursor, data.constData(), static_cast<unsigned>(data.size()), indentation,
              withIndentation) != 1)
        return "failed";
    const int written = static_cast<int>(cursor - buffer.data());
    if (*cursor != '\0' || written + 1 != static_cast<int>(size))
        return "wrong size";
    if (buffer.mid(written + 1) != QByteArray(16, guard))
        return "wrote past the end";
    return buffer.left(written);
}

} // namespace

class TestHexDump : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linesAreLaidOutAsOnPaper_data()
    {
        const auto row = rows<QByteArray, int, bool, QByteArray, QByteArray>(
            "data", "indentation", "withIndentation", "withAscii", "withoutAscii");

        row("nothing", {}, 2, true, {}, {});
        row("one byte", "A", 0, true, "41                                              A\n",
            "41                                              \n");
        row("three bytes, indented", QByteArray("\x00\xC3z", 3), 2, true,
            "  00 C3 7A                                        ..z\n",
            "  00 C3 7A                                        \n");
        row("indentation suppressed", QByteArray("\x00\xC3z", 3), 2, false,
            "00 C3 7A                                        ..z\n",
            "00 C3 7A                                        \n");
        row("negative indentation", "0", -3, true,
            "30                                              0\n",
            "30                                              \n");
        row("a full line", "0123456789abcdef", 0, true,
            "30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66 0123456789abcdef\n",
            "30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66 \n");
        row("a line and a byte, indented", "0123456789abcdef!", 1, true,
            " 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66 0123456789abcdef\n"
            " 21                                              .\n",
            " 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66 \n"
            " 21                                              \n");
    }
    void linesAreLaidOutAsOnPaper()
    {
        const auto [data, indentation, withIndentation] =
            fetch<QByteArray, int, bool>("data", "indentation", "withIndentation");
        const void* pointer = withIndentation ? &indented : nullptr;
        QTEST(stored(print_hex_stored, true, data, indentation, pointer), "withAscii");
        QTEST(stored(print_hex_stored_no_ascii, false, data, indentation, pointer), "withoutAscii");
    }

    void everyByteHasItsColumns()
    {
        // "0" to "Z" has digits, capitals and what stands between them; "[" to "`" are left out.
        const QByteArray shown =
            "0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
        for (int value = 0; value < 256; ++value) {
            const QByteArray byte(1, static_cast<char>(value));
            const QByteArray line = stored(print_hex_stored, true, byte, 0, nullptr);
            QCOMPARE(line.size(), 50);
            QCOMPARE(line.left(3), byte.toHex().toUpper() + ' ');
            QCOMPARE(line.mid(3, 45), QByteArray(45, ' '));
            QCOMPARE(line.mid(48), (shown.contains(byte) ? byte : "."_ba) + '\n');
        }
    }

    void storedDumpsFollowEachOther()
    {
        char buffer[200];
        char* cursor = buffer;
        QCOMPARE(print_hex_stored_no_ascii(&cursor, "\x01", 1, 0, nullptr), 1);
        QCOMPARE(print_hex_stored(&cursor, "\x02", 1, 0, nullptr), 1);
        const QByteArray blanks(45, ' ');
        QCOMPARE(QByteArray(buffer), "01 " + blanks + "\n02 " + blanks + ".\n");
    }

    void standardOutputGetsTheDump()
    {
        QTemporaryDir folder;
        const QByteArray path = QFile::encodeName(folder.filePath("output"_s));
        std::fflush(stdout);
        const int before = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
        const int file = open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        dup2(file, STDOUT_FILENO);
        const int result = print_hex("ab", 2, 1, &indented);
        std::fflush(stdout);
        dup2(before, STDOUT_FILENO);
        close(before);
        close(file);
        QFile written(folder.filePath("output"_s));
        QVERIFY(written.open(QIODevice::ReadOnly));
        QCOMPARE(result, 1);
        QCOMPARE(written.readAll(), " 61 62 " + QByteArray(42, ' ') + "ab\n");
    }

    void aFileIsAppendedTo()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath("dump"_s);
        const QByteArray name = QFile::encodeName(path);
        QCOMPARE(print_hex_file(name.constData(), 1, "x", 1, 0, nullptr), 1);
        QCOMPARE(print_hex_file(name.constData(), -5, "y", 1, 0, nullptr), 1);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray blanks(45, ' ');
        QCOMPARE(file.readAll(), "78 " + blanks + "x\n79 " + blanks + "y\n");
    }

    void aDisabledFileIsLeftAlone()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath("dump"_s);
        QCOMPARE(print_hex_file(QFile::encodeName(path).constData(), 0, "x", 1, 0, nullptr), 1);
        QVERIFY(!QFile::exists(path));
        QCOMPARE(print_hex_file(nullptr, 0, nullptr, 1, 0, nullptr), 1);
    }

    void nullArgumentsAreRefused()
    {
        char buffer[100] = "";
        char* cursor = buffer;
        char* none = nullptr;
        QCOMPARE(print_hex(nullptr, 1, 0, nullptr), 0);
        QCOMPARE(print_hex_file(nullptr, 1, "x", 1, 0, nullptr), 0);
        QCOMPARE(print_hex_file("/dev/null", 1, nullptr, 1, 0, nullptr), 0);
        QCOMPARE(print_hex_stored(nullptr, "x", 1, 0, nullptr), 0);
        QCOMPARE(print_hex_stored(&none, "x", 1, 0, nullptr), 0);
        QCOMPARE(print_hex_stored(&cursor, nullptr, 1, 0, nullptr), 0);
        QCOMPARE(print_hex_stored_no_ascii(&cursor, nullptr, 1, 0, nullptr), 0);
        QVERIFY(cursor == buffer);
    }

    void aFileThatCannotBeOpenedIsReported()
    {
        QCOMPARE(print_hex_file("/dev/null/dump", 1, "x", 1, 0, nullptr), 0);
        // Opens, but takes nothing.
        QCOMPARE(print_hex_file("/dev/full", 1, "x", 1, 0, nullptr), 0);
    }
};

QTEST_GUILESS_MAIN(TestHexDump)
#include "tst_hexdump.moc"
