// SPDX-License-Identifier: LGPL-2.1-or-later
// Looks into the memory of an application three seconds after it has signed a user in, as somebody
// with its core file could.
#include "emulator/emulatorprocess.h"
#include "integration/emulateddevice.h"
#include "integration/keptdata.h"
#include "support/literals.h"
#include "support/secretsearch.h"
#include "support/sqlitereader.h"

#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>

using namespace KelTest;
using namespace KelTest::SecretSearch;

namespace {

const QString consumerSecret = "demo-secret"_s;
// Random, so that nothing else in a process looks like it.
const QString password = "pW9r4kQz7tLm2xVb"_s;

// All that a process can write to: heap, stacks, data.
QByteArrayList writableMemory(qint64 process)
{
    const QString folder = "/proc/%1/"_s.arg(process);
    QFile maps(folder + "maps"_s);
    QFile memory(folder + "mem"_s);
    QByteArrayList parts;
    if (!maps.open(QIODevice::ReadOnly) ||
        !memory.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return parts;
    static const QRegularExpression range("^([0-9a-f]+)-([0-9a-f]+) rw"_s);
    const QStringList lines = QString::fromLatin1(maps.readAll()).split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        const auto match = range.match(line);
        if (!match.hasMatch())
            continue;
        const qint64 start = match.captured(1).toLongLong(nullptr, 16);
        const qint64 size = match.captured(2).toLongLong(nullptr, 16) - start;
        // A sanitizer's own books are terabytes that it never uses.
        constexpr qint64 largest = 1LL << 30;
        if (size < largest && memory.seek(start))
            parts.append(memory.read(size));
    }
    return parts;
}

int occurrences(const QByteArrayList& memory, const QString& secret)
{
    QList<QByteArray> forms = formsOf(secret);
    std::sort(forms.begin(), forms.end());
    forms.erase(std::unique(forms.begin(), forms.end()), forms.end());
    int count = 0;
    for (const QByteArray& part : memory) {
        for (const QByteArray& form : qAsConst(forms))
            count += part.count(form);
    }
    return count;
}

} // namespace

class StoryMemory : public EmulatedDevice
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(isInside()); }

    void anApplicationNeverHasTheToken()
    {
        QVERIFY(!addAccount({{"userName"_s, "kim"_s}, {"password"_s, password}}).isEmpty());
        BoundProcess application;
        application.start(QStringLiteral(KELACCOUNT_MEMORY_PROBE), {"kim"_s});
        application.write(password.toUtf8() + '\n');
        QVERIFY(application.waitForReadyRead());
        QCOMPARE(application.readLine(), "0\n"_ba);
        // What is to be freed once the answer is told is freed.
        QTest::qWait(3000);
        const QByteArrayList memory = writableMemory(application.processId());
        application.closeWriteChannel();
        QVERIFY(application.waitForFinished());

        const auto identities = sqliteRows(storeFile("signon.db"), "SELECT id FROM CREDENTIALS"_s);
        QCOMPARE(identities.size(), 1);
        const QVariantMap session =
            KelTest::KeptData::sessionIn(storedFor(identities.first().first().toInt()));
        const QString token = session.value("Token"_s).toString();
        const QString tokenSecret = session.value("TokenSecret"_s).toString();
        QVERIFY(!token.isEmpty() && !tokenSecret.isEmpty());

        // The facade lives, so this one has to be found.
        QVERIFY(occurrences(memory, consumerSecret) > 0);
        QCOMPARE(occurrences(memory, token), 0);
        QCOMPARE(occurrences(memory, tokenSecret), 0);
        // Some remain, as docs/security.md says; how many is up to what the memory was used for
        // since.
        qInfo("copies of the password: %d, of the consumer secret: %d",
              occurrences(memory, password), occurrences(memory, consumerSecret));
    }
};

QTEST_GUILESS_MAIN(StoryMemory)
#include "tst_story_memory.moc"
