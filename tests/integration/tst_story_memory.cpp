// SPDX-License-Identifier: LGPL-2.1-or-later
// Looks into the memory of an application three seconds after it has signed a user in, as somebody
// with its core file could.
#include "emulator/emulatorprocess.h"
#include "integration/emulateddevice.h"
#include "integration/keptdata.h"
#include "support/literals.h"
#include "support/processmemory.h"
#include "support/secretsearch.h"
#include "support/sqlitereader.h"

#include <QJsonObject>
#include <QTest>

#include <algorithm>
#include <numeric>

using namespace KelTest;
using namespace KelTest::SecretSearch;

namespace {

const QString consumerSecret = "demo-secret"_s;
// Random, so that nothing else in a process looks like it.
const QString password = "pW9r4kQz7tLm2xVb"_s;

/// How often it lies there, in any form.
int occurrences(pid_t process, const QString& secret)
{
    QList<QByteArray> forms = formsOf(secret);
    std::sort(forms.begin(), forms.end());
    forms.erase(std::unique(forms.begin(), forms.end()), forms.end());
    const QList<int> counts = countInMemory(process, forms);
    return counts.isEmpty() ? -1 : std::accumulate(counts.cbegin(), counts.cend(), 0);
}

} // namespace

class StoryMemory : public EmulatedDevice
{
    Q_OBJECT

private Q_SLOTS:
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
        const auto identities = sqliteRows(storeFile("signon.db"), "SELECT id FROM CREDENTIALS"_s);
        QCOMPARE(identities.size(), 1);
        const QVariantMap session =
            KelTest::KeptData::sessionIn(storedFor(identities.first().first().toInt()));
        const QString token = session.value("Token"_s).toString();
        const QString tokenSecret = session.value("TokenSecret"_s).toString();
        QVERIFY(!token.isEmpty() && !tokenSecret.isEmpty());

        // The facade lives, so this one has to be found; in the program's own text it is no
        // QString.
        const auto process = pid_t(application.processId());
        QVERIFY(countInMemory(process, {utf16(consumerSecret, false)}).value(0) > 0);
        QCOMPARE(occurrences(process, token), 0);
        QCOMPARE(occurrences(process, tokenSecret), 0);
        // Some remain, as docs/security.md says; how many is up to what the memory was used for
        // since.
        qInfo("copies of the password: %d, of the consumer secret: %d",
              occurrences(process, password), occurrences(process, consumerSecret));
        application.closeWriteChannel();
        QVERIFY(application.waitForFinished());
    }
};

QTEST_GUILESS_MAIN(StoryMemory)
#include "tst_story_memory.moc"
